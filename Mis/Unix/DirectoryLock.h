#pragma once

#include "Mis/Unix/Descriptor.h"

#include <string>

/// An advisory lock on a directory, by which runs of this program take turns. It leaves no file, and the system
/// releases it with the process, however that ends.
class DirectoryLock {
public:
    /// Waits up to a minute while another process holds the lock. Returns: false when it still does then. A directory
    /// that cannot be locked for any other reason is no failure: the run goes on without a lock.
    bool Acquire(const std::string& directory);

private:
    Descriptor m_directory;
};
