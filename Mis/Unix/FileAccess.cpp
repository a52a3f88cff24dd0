#include "Mis/Unix/FileAccess.h"

#include "Mis/Unix/FileStatus.h"

#include <cerrno>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

constexpr const char* accessList = "system.posix_acl_access";

constexpr mode_t forOwner = 0600;
constexpr mode_t ownerBits = 0700;
constexpr mode_t groupBits = 0070;
constexpr mode_t readBits = 0444;

bool MeansNoList(int error) noexcept {
    return error == ENODATA || error == ENOTSUP || error == ENOSYS;
}

/// `length` is what asking for the length of the file's access control list returned, with errno of that call.
bool HasList(ssize_t length) noexcept {
    return length >= 0 || !MeansNoList(errno);
}

FileAccess AccessOf(const FileStatus& status, bool hasList) {
    const mode_t mode = status.Permissions() | forOwner;
    return {status.Owner(), status.Group(), hasList ? mode & ownerBits : mode};
}

/// The permission bits of an open file with this status, less those for group and others that `access` lacks, or by
/// which somebody whom `access` shuts out could read the file.
mode_t NarrowBits(int descriptor, const FileStatus& status, const FileAccess& access) {
    mode_t allowed = access.mode | ownerBits;
    if (HasList(fgetxattr(descriptor, accessList, nullptr, 0))) {
        allowed = ownerBits;
    } else if ((access.mode & readBits) != readBits) {
        const bool sameGroup = status.Group() == access.group;
        allowed = sameGroup ? allowed & (ownerBits | groupBits) : ownerBits;
    }
    return status.Permissions() & allowed;
}

bool IsOurs(const FileStatus& status, const FileAccess& access) noexcept {
    return status.BelongsHere() || status.Owner() == access.owner;
}

} // namespace

FileAccess sys_accessOf(int descriptor, const FileStatus& status) {
    return AccessOf(status, HasList(fgetxattr(descriptor, accessList, nullptr, 0)));
}

FileAccess sys_accessOf(const std::string& path, const FileStatus& status) {
    return AccessOf(status, HasList(getxattr(path.c_str(), accessList, nullptr, 0)));
}

FileAccess sys_underUmask(FileAccess access) noexcept {
    const mode_t mask = umask(forOwner);
    umask(mask);
    access.mode &= ~mask | forOwner;
    return access;
}

bool sys_giveAccess(int descriptor, const FileStatus& status, const FileAccess& access) {
    const bool belongs = status.Owner() == access.owner && status.Group() == access.group;
    const bool given = belongs || fchown(descriptor, access.owner, access.group) == 0;
    // The directory may have given the file a list, which the group's bits would put in force.
    const bool hasNoList = fremovexattr(descriptor, accessList) == 0 || MeansNoList(errno);
    return fchmod(descriptor, given && hasNoList ? access.mode : access.mode & ownerBits) == 0;
}

bool sys_isAsClose(int descriptor, const FileStatus& status, const std::optional<FileAccess>& access) {
    return access ? IsOurs(status, *access) && NarrowBits(descriptor, status, *access) == status.Permissions()
                  : status.BelongsHere();
}

bool sys_narrowAccess(int descriptor, const FileStatus& status, const FileAccess& access) {
    const mode_t narrow = NarrowBits(descriptor, status, access);
    return IsOurs(status, access) && (narrow == status.Permissions() || fchmod(descriptor, narrow) == 0);
}
