#pragma once

#include "Mis/Unix/Descriptor.h"
#include "Mis/Unix/Patience.h"

#include <string>

/// An advisory lock on a directory, by which runs of this program take turns. It leaves no file behind, and the system
/// releases it when the process ends, in whatever way.
///
/// Acquiring waits while another process holds the lock, and answers false when that still holds it after a minute. A
/// lock that is acquired behind a first one shares its minute. A directory that cannot be locked for another reason is
/// no failure: the run goes on without a lock.
class DirectoryLock {
public:
    bool Acquire(const std::string& directory);
    /// Takes over an open directory and locks it. If it is that of `first`, the lock is held already.
    bool AcquireBehind(DirectoryLock& first, Descriptor directory);

    /// The open directory, still owned here; below 0 for none.
    int Number() const noexcept { return m_directory.Number(); }

private:
    Descriptor m_directory;
    Patience m_patience;
};
