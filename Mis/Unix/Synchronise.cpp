#include "Mis/Unix/Synchronise.h"

#include "Mis/Unix/Descriptor.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace {

bool MeansLoss(int error) noexcept {
    return error == EIO || error == ENOSPC || error == EDQUOT;
}

} // namespace

bool sys_synchronise(int descriptor) noexcept {
    return fsync(descriptor) == 0 || !MeansLoss(errno);
}

bool sys_synchroniseDirectory(const std::string& directory) noexcept {
    const Descriptor entries(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return entries.IsOpen() ? sys_synchronise(entries.Number()) : !MeansLoss(errno);
}
