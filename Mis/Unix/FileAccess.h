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

    bool operator==(const FileAccess&) const = default;
};

/// The access of the file with this status. When the file has an access control list, which may shut out some whom
/// the bits let in, or when the system cannot tell, only the owner's bits are taken.
FileAccess sys_accessOf(int descriptor, const FileStatus& status);
FileAccess sys_accessOf(const std::string& path, const FileStatus& status);

/// `access` less the bits that the umask takes from new files. Reading and writing by the owner stay.
FileAccess sys_underUmask(FileAccess access) noexcept;

/// Gives an open file with this status, still empty, the owner, the group and the bits of `access`, and takes away an
/// access control list. If the owner and group cannot be set or the list not taken away, the file gets no bits but
/// those for its owner. Returns: false when the bits could not be set; the file keeps those that it has.
bool sys_giveAccess(int descriptor, const FileStatus& status, const FileAccess& access);

/// True when an open file with this status belongs to root, to the user of this process or to the owner of `access`,
/// has no permission bit for group or others that `access` lacks, and nobody whom `access` shuts out can read it.
/// Without `access` only the owner is asked.
bool sys_isAsClose(int descriptor, const FileStatus& status, const std::optional<FileAccess>& access);

/// Takes away the permission bits by which sys_isAsClose would be false of an open file with this status; none are
/// added. Returns: false when the file belongs to neither root nor the user of this process nor the owner of `access`,
/// or when the bits could not be set.
bool sys_narrowAccess(int descriptor, const FileStatus& status, const FileAccess& access);
