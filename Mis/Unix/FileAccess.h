#pragma once

#include <optional>
#include <string>

#include <sys/types.h>

class FileStatus;

/// Who may read a file: what another file that holds the same secrets is given.
struct FileAccess {
    uid_t owner;
    gid_t group;
    mode_t mode; ///< permission bits; always with reading and writing for the owner
};

/// That of a file with this status. The bits of the group play another part where the file has an access control list,
/// and are left out then.
FileAccess sys_accessOf(int descriptor, const FileStatus& status);
FileAccess sys_accessOf(const std::string& path, const FileStatus& status);

/// Gives an open file with this status, which is still empty and readable by its owner only, the owner and the bits of
/// `access`. Where the owner cannot be set, only the file's own owner can read it.
void sys_giveAccess(int descriptor, const FileStatus& status, const FileAccess& access);

/// Takes from an open file with this status the bits by which more could read it than `access` lets; adds none. The
/// owner stays. Returns: false when the bits could not be changed.
bool sys_narrowAccess(int descriptor, const FileStatus& status, const FileAccess& access);
