#pragma once

#include "Mis/Unix/Descriptor.h"

#include <string>

/// An advisory lock on a directory, by which runs of this program take turns. It leaves no file behind, and the system
/// releases it when the process ends, in whatever way.
class DirectoryLock {
public:
    /// Waits up to a minute while another process holds the lock. Returns: false when it is still held after that. A
    /// directory that cannot be locked for another reason is no failure: the run goes on without a lock.
    bool Acquire(const std::string& directory);

private:
    Descriptor m_directory;
};
