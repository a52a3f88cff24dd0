#include "Mis/Unix/DirectoryLock.h"

#include <cerrno>
#include <ctime>

#include <fcntl.h>
#include <sys/file.h>

bool DirectoryLock::Acquire(const std::string& directory) {
    constexpr timespec pause = {0, 10'000'000};
    constexpr int mostPauses = 6000; // a minute
    m_directory = Descriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (int pauses = 0; flock(m_directory.Number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK; ++pauses) {
        if (pauses == mostPauses) {
            return false;
        }
        nanosleep(&pause, nullptr);
    }
    return true;
}
