#include "Mis/Unix/FileAccess.h"

#include "Mis/Unix/FileStatus.h"

#include <cerrno>

#include <sys/xattr.h>
#include <unistd.h>

namespace {

constexpr const char* accessList = "system.posix_acl_access";

constexpr mode_t forOwner = 0600;
constexpr mode_t ownerBits = 0700;
constexpr mode_t groupBits = 0070;
constexpr mode_t readBits = 0444;

/// `length` is what asking for the length of the file's access control list returned, with errno of that call.
FileAccess AccessOf(const FileStatus& status, ssize_t length) {
    const bool hasList = length >= 0 || (errno != ENODATA && errno != ENOTSUP && errno != ENOSYS);
    const mode_t mode = status.Permissions() | forOwner;
    return {status.Owner(), status.Group(), hasList ? mode & ~groupBits : mode};
}

} // namespace

FileAccess sys_accessOf(int descriptor, const FileStatus& status) {
    return AccessOf(status, fgetxattr(descriptor, accessList, nullptr, 0));
}

FileAccess sys_accessOf(const std::string& path, const FileStatus& status) {
    return AccessOf(status, getxattr(path.c_str(), accessList, nullptr, 0));
}

void sys_giveAccess(int descriptor, const FileStatus& status, const FileAccess& access) {
    const bool belongs = status.Owner() == access.owner && status.Group() == access.group;
    const bool given = belongs || fchown(descriptor, access.owner, access.group) == 0;
    // If this fails, the file keeps the bits it was made with, which let nobody else read it.
    static_cast<void>(fchmod(descriptor, given ? access.mode : access.mode & ownerBits));
}

bool sys_narrowAccess(int descriptor, const FileStatus& status, const FileAccess& access) {
    mode_t allowed = access.mode | ownerBits;
    if ((access.mode & readBits) != readBits) {
        const bool sameGroup = status.Group() == access.group;
        allowed = sameGroup ? allowed & (ownerBits | groupBits) : ownerBits;
    }
    const mode_t narrow = status.Permissions() & allowed;
    return narrow == status.Permissions() || fchmod(descriptor, narrow) == 0;
}
