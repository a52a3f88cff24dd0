#include "Mis/Unix/DirectoryLock.h"

#include "Mis/Unix/FileStatus.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>

namespace {

bool IsHeldByAnother(int directory) noexcept {
    return flock(directory, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

} // namespace

bool DirectoryLock::Acquire(const std::string& directory) {
    m_directory = Descriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return AcquireBehind(*this, std::move(m_directory));
}

bool DirectoryLock::AcquireBehind(DirectoryLock& first, Descriptor directory) {
    m_directory = std::move(directory);
    while (IsHeldByAnother(Number())) {
        const bool isHeldHere = &first != this && FileStatus::Of(Number()).IsSameAs(FileStatus::Of(first.Number()));
        if (isHeldHere) {
            return true;
        }
        if (!first.m_patience.Wait()) {
            return false;
        }
    }
    return true;
}
