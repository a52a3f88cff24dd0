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

/// The bytes from the start for which the file has blocks without a gap. None of them must be asked for: on a full disk
/// some file systems refuse even blocks that the file has already.
off_t OwnRoom(int file, const FileStatus& status, off_t block) noexcept {
    const off_t hole = lseek(file, 0, SEEK_HOLE);
    const bool isEmpty = hole < 0 && errno == ENXIO;
    const bool isWhole = (isEmpty || hole >= status.Size()) && status.Allocated() >= status.Size();
    return isWhole ? RoundedUp(status.Size(), block) : 0;
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
    const off_t own = OwnRoom(file, status, block);
    if (length <= own || fallocate(file, FALLOC_FL_KEEP_SIZE, own, length - own) == 0) {
        return true;
    }
    return CannotReserve(errno) && FreeSpaceSuffices(system, RoundedUp(length, block) - status.Allocated());
}
