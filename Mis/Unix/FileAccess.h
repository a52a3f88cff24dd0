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

/// The access of the file with this status. When the file has an access control list, which may shut out some whom
/// the bits let in, or when the system cannot tell, only the owner's bits are taken.
FileAccess sys_accessOf(int descriptor, const FileStatus& status);
FileAccess sys_accessOf(const std::string& path, const FileStatus& status);

/// Gives an open file with this status, still empty and readable by its owner alone, the owner, the group and the bits
/// of `access`, and takes away an access control list. If that cannot be done, nobody but the owner can read the file.
void sys_giveAccess(int descriptor, const FileStatus& status, const FileAccess& access);

/// Takes away the permission bits of an open file with this status by which others could do more with it than `access`
/// lets them. Adds none. An owner who is neither root nor the user of this process nor that of `access` loses the file
/// to this user. Returns: false when it could not be done.
bool sys_narrowAccess(int descriptor, const FileStatus& status, const FileAccess& access);
