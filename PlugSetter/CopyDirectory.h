#pragma once

#include "Mis/Unix/DirectoryLock.h"

#include <string>
#include <vector>

/// The directory of a copy. It stays open and locked, so that it is one and the same directory for the whole run,
/// whatever its name leads to by then.
class CopyDirectory {
public:
    /// Opens the directory of the file `copy`, and makes it if it is missing. Locks it behind `first`. If a neighbour
    /// has deleted or replaced it meanwhile, all this is done once more. Throws a pointer to VI18NError (error): UTIL
    /// 4341 (directory), after logging DISK 4341, when it cannot be made; BSTR 4145 (`copy`) when it cannot be opened
    /// or is a link of another user than root and this one; UTIL 7947 ("backupFile()") when another run holds it for
    /// too long, or when it is deleted or replaced again.
    void Open(const std::string& copy, DirectoryLock& first);

    int Number() const noexcept { return m_lock.Number(); }
    /// Synchronises the directory and those that got an entry because it was made. Returns: false when that failed.
    bool Synchronise() const noexcept;

private:
    bool TryToOpen(const std::string& copy, DirectoryLock& first);

    DirectoryLock m_lock;
    std::vector<std::string> m_changed;
};
