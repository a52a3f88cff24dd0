#include "PlugSetter/CopyDirectory.h"

#include "Mis/Report.h"
#include "Mis/Unix/Dsk.h"
#include "Mis/Unix/FileStatus.h"
#include "Mis/Unix/SafeOpen.h"
#include "Mis/Unix/Synchronise.h"
#include "PlugSetter/Guard.h"

#include <algorithm>
#include <cerrno>
#include <utility>

void CopyDirectory::Open(const std::string& copy, DirectoryLock& first) {
    if (!TryToOpen(copy, first) && !TryToOpen(copy, first)) {
        err_fail(msgUnexpected, copyLabel);
    }
}

/// Returns: false when the directory was deleted or replaced meanwhile.
bool CopyDirectory::TryToOpen(const std::string& copy, DirectoryLock& first) {
    const std::string name = sys_directoryOf(copy);
    OpenedFile directory = sys_openDirectory(name);
    if (!directory.IsOpen() && !directory.isRefused) {
        if (dsk_makeDirectories(name, m_changed) < 0) {
            err_fail(msgCopyDirectoryNotMade, name.c_str());
        }
        directory = sys_openDirectory(name);
    }
    if (!directory.IsOpen()) {
        if (directory.error == ENOENT) {
            return false;
        }
        err_fail(msgCannotCreate, copy.c_str());
    }
    if (!m_lock.AcquireBehind(first, std::move(directory.file))) {
        err_fail(msgUnexpected, copyLabel);
    }
    return FileStatus::Of(name).IsSameAs(directory.status);
}

bool CopyDirectory::Synchronise() const noexcept {
    return sys_synchronise(Number()) && std::all_of(m_changed.begin(), m_changed.end(), sys_synchroniseDirectory);
}
