#include "Mis/Unix/Room.h"

#include "Mis/Unix/FileStatus.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

off_t RoundedUp(off_t length, off_t block) noexcept {
    return (length + block - 1) / block * block;
}

bool HasHole(int file, off_t length) noexcept {
    const off_t hole = lseek(file, 0, SEEK_HOLE);
    return hole >= 0 && hole < length;
}

/// True when no new block is needed. None must be asked for then: on a full disk some file systems refuse even blocks
/// that the file has already.
bool OwnBlocksSuffice(int file, const FileStatus& status, off_t length, off_t block) noexcept {
    const off_t inside = std::min(length, status.Size());
    return length <= RoundedUp(status.Size(), block) && inside <= status.Allocated() && !HasHole(file, inside);
}

bool CannotReserve(int error) noexcept {
    return error == EOPNOTSUPP || error == ENOSYS || error == ENODEV;
}

/// A file system that reports no size reports no free space either, so there is nothing to compare.
bool FreeSpaceSuffices(const struct statvfs& system, off_t needed) noexcept {
    return system.f_blocks == 0 || needed <= 0 ||
           static_cast<unsigned long long>(needed) <= 1ULL * system.f_bavail * system.f_frsize;
}

} // namespace

bool sys_reserve(int file, const FileStatus& status, off_t length) noexcept {
    struct statvfs system = {};
    fstatvfs(file, &system);
    const auto block = static_cast<off_t>(std::max<unsigned long>(system.f_frsize, 1));
    if (OwnBlocksSuffice(file, status, length, block) || fallocate(file, FALLOC_FL_KEEP_SIZE, 0, length) == 0) {
        return true;
    }
    return CannotReserve(errno) && FreeSpaceSuffices(system, RoundedUp(length, block) - status.Allocated());
}
