#include "PlugSetter/Backup.h"

#include "Mis/Report.h"
#include "Mis/Unix/Dsk.h"
#include "Mis/Unix/FileAccess.h"
#include "Mis/Unix/FileStatus.h"
#include "Mis/Unix/SysClientUnix.h"
#include "Mis/Unix/WholeFile.h"
#include "PlugSetter/FileCopy.h"
#include "PlugSetter/Globals.h"
#include "PlugSetter/Guard.h"
#include "PlugSetter/Process.h"
#include "classlib/FilenameHelper.h"

#include <algorithm>
#include <cstdint>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

void DeleteSource(const std::string& directory, const std::string& fileName) {
    // Not sys_delete, which would take "*" or "?" in the name for a pattern. The answer is never below 0, so this
    // branch never runs: a source that cannot be deleted is not reported.
    const int result = sys_remove((directory + fileName).c_str()) ? 1 : 0;
    if (result < 0) {
        msg_log(msgSourceNotDeleted, txccl::FilenameHelper::join(directory, fileName).c_str());
    }
}

/// Writes the copy over the live file, as a save does. Returns: false when that failed; a copy that cannot be read
/// leaves the live file as it was.
bool WriteBack(const std::string& copy, const FileStatus& status, const std::string& live) {
    FileContent content;
    if (!status.IsRegular() || sys_readFile(copy.c_str(), UINT64_MAX, content) < 1 ||
        dsk_credir(nullptr, sys_directoryOf(live).c_str(), 0, nullptr) < 0) {
        return false;
    }
    const FileAccess access = sys_accessOf(copy, status);
    holdSignals();
    return sys_writeFile(live, std::string(content.Text()), &access) == static_cast<long>(content.size);
}

bool Restore(const BackupEntry* entry) {
    const std::string live(entry->live.GetName());
    const std::string copy(entry->copy.GetName());
    const FileStatus status = FileStatus::Of(copy);
    if (status.GetPresence() == Presence::missing) {
        return !entry->liveWasOpened;
    }
    if (sys_holdsSame(live, copy)) {
        utimensat(AT_FDCWD, live.c_str(), nullptr, 0);
        return true;
    }
    return WriteBack(copy, status, live) && sys_holdsSame(live, copy);
}

bool RestoreAll() noexcept {
    bool restored = false;
    err_attempt([&] { restored = std::all_of(bakFiles.begin(), bakFiles.end(), Restore); });
    return restored;
}

} // namespace

void backupFile(std::string srcDir, std::string fileName, std::string dstDir, std::string dstName,
                bool deleteSource) try {
    const std::string source = srcDir + fileName;
    switch (FileStatus::Of(source).GetPresence()) {
    case Presence::missing: return;
    case Presence::unknown: err_fail(msgUnexpected, copyLabel);
    case Presence::present: break;
    }
    copyFile(source, dstDir + (dstName.empty() ? fileName : dstName));
    if (deleteSource) {
        DeleteSource(srcDir, fileName);
    }
} catch (...) {
    throwAsError(copyLabel);
}

void rollback() {
    if (RestoreAll()) {
        msg_log(msgRolledBack);
    } else {
        msg_log(msgRollbackFailed, "", "", "");
    }
}
