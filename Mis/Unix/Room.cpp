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

/// True when the file has blocks for all its bytes, without a gap.
bool HasAllBlocks(int file, const FileStatus& status) noexcept {
    const off_t hole = lseek(file, 0, SEEK_HOLE);
    const bool isEmpty = hole < 0 && errno == ENXIO;
    return (isEmpty || hole >= status.Size()) && status.Allocated() >= status.Size();
}

/// EPERM and EACCES are what the filters of containers answer to a call that they do not let through.
bool CannotReserve(int error) noexcept {
    return error == EOPNOTSUPP || error == ENOSYS || error == ENODEV || error == EINVAL || error == EPERM ||
           error == EACCES;
}

/// A file system that reports no size reports no free space either, so there is nothing to compare.
bool FreeSpaceSuffices(const struct statvfs& system, off_t needed) noexcept {
    return system.f_blocks == 0 || needed <= 0 ||
           static_cast<unsigned long long>(needed) <= 1ULL * system.f_bavail * system.f_frsize;
}

} // namespace

bool sys_reserve(int file, const FileStatus& status, off_t length) noexcept {
    const bool hasAll = HasAllBlocks(file, status);
    if (hasAll && length <= status.Size()) {
        return true;
    }
    struct statvfs system = {};
    fstatvfs(file, &system);
    const auto block = static_cast<off_t>(std::max<unsigned long>(system.f_frsize, 1));
    // The file's own blocks must not be asked for: on a full disk some file systems refuse even these.
    const off_t own = hasAll ? RoundedUp(status.Size(), block) : 0;
    if (length <= own || fallocate(file, FALLOC_FL_KEEP_SIZE, own, length - own) == 0) {
        return true;
    }
    return CannotReserve(errno) && FreeSpaceSuffices(system, RoundedUp(length, block) - status.Allocated());
}
