#include "PlugSetter/Backup.h"

#include "Mis/Report.h"
#include "Mis/Unix/SysClientUnix.h"
#include "PlugSetter/Globals.h"
#include "PlugSetter/Guard.h"
#include "PlugSetter/SavedFile.h"
#include "classlib/FilenameHelper.h"

#include <algorithm>
#include <string>

namespace {

void DeleteSource(const std::string& directory, const std::string& fileName) {
    // The answer is never below 0, so this branch never runs: a source that cannot be deleted is not reported.
    const int result = sys_remove((directory + fileName).c_str()) ? 1 : 0;
    if (result < 0) {
        msg_log(msgSourceNotDeleted, txccl::FilenameHelper::join(directory, fileName).c_str());
    }
}

bool Restore(const BackupEntry* entry) {
    if (entry->file != nullptr) {
        return entry->file->Restore();
    }
    return SavedFile::Restore(std::string(entry->live.GetName()), std::string(entry->copy.GetName()));
}

bool RestoreAll() noexcept {
    bool restored = false;
    err_attempt([&] { restored = std::all_of(bakFiles.begin(), bakFiles.end(), Restore); });
    return restored;
}

} // namespace

void backupFile(std::string srcDir, std::string fileName, std::string dstDir, std::string dstName,
                bool deleteSource) try {
    SavedFile file(srcDir + fileName);
    switch (file.Open()) {
    case Presence::missing: return;
    case Presence::unknown: err_fail(msgUnexpected, copyLabel);
    case Presence::present: break;
    }
    file.CopyTo(dstDir + (dstName.empty() ? fileName : dstName), installationLock);
    // A source that somebody has changed or replaced meanwhile exists nowhere else.
    if (deleteSource && file.IsUntouched()) {
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
