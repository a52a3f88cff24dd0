#pragma once

#include <optional>
#include <string>

#include <sys/types.h>

class FileStatus;

/// Who may read a file. Other files that hold its secrets, such as a copy or a log, are given the same.
struct FileAccess {
    uid_t owner;
    gid_t group;
    mode_t mode; ///< permission bits; the owner can always read and write
};

/// The access of the file with this status. The bits of the group are left out when the file has an access control list
/// or when the system cannot tell, because with a list they are not the rights of the group.
FileAccess sys_accessOf(int descriptor, const FileStatus& status);
FileAccess sys_accessOf(const std::string& path, const FileStatus& status);

/// Gives an open file with this status, still empty and readable by its owner alone, the owner, the group and the bits
/// of `access`. If owner and group cannot be set, nobody but the present owner can read the file.
void sys_giveAccess(int descriptor, const FileStatus& status, const FileAccess& access);

/// Takes away the bits of an open file with this status that would let more users read it than `access` does. Adds
/// none, and leaves the owner alone. Returns: false when the bits could not be changed.
bool sys_narrowAccess(int descriptor, const FileStatus& status, const FileAccess& access);
