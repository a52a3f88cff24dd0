#include "PlugSetter/Run.h"

#include "Mis/Log.h"
#include "Mis/LogAccess.h"
#include "Mis/Report.h"
#include "Mis/Unix/Dsk.h"
#include "Mis/Unix/FileAccess.h"
#include "Mis/Unix/FileStatus.h"
#include "Mis/Unix/SysClientUnix.h"
#include "PlugSetter/Backup.h"
#include "PlugSetter/CommandLine.h"
#include "PlugSetter/ExitCodes.h"
#include "PlugSetter/Globals.h"
#include "PlugSetter/KeptRecords.h"
#include "PlugSetter/Paths.h"
#include "PlugSetter/Process.h"
#include "PlugSetter/Upgrade.h"
#include "classlib/File.h"

#include <cstdio>
#include <string>

namespace {

/// True when deleting the entry `path` would take the configuration away. A symbolic link to it or a further hard link
/// of it may be deleted.
bool HoldsConfiguration(const std::string& path, const FileStatus& entry) {
    const std::string configuration = runPaths().configuration;
    // A directory can only be deleted when it is empty, so there is nothing below it.
    return entry.IsDirectory() ? sys_isSameEntry(path, configuration) : sys_leadsThrough(configuration, path);
}

/// Deletes what stands at `place`, which ends in the separator: a file, a link or an empty directory, but never the
/// configuration. Returns: 1 or 0. The callers test for less than 0, which never comes: a directory that is missing or
/// in use is no failure.
int DeletePlace(std::string place) {
    place.pop_back();
    const FileStatus entry = FileStatus::OfEntry(place);
    if (entry.GetPresence() == Presence::missing || HoldsConfiguration(place, entry)) {
        return 0;
    }
    const bool isDeleted = entry.IsDirectory() ? sys_removeDirectory(place.c_str()) : sys_remove(place.c_str());
    return isDeleted ? 1 : 0;
}

/// Opens the log. If that would empty the configuration, the run goes on without one.
void OpenLog() {
    const Paths paths = runPaths();
    const FileStatus configuration = FileStatus::Of(paths.configuration);
    if (sys_isSameFile(paths.log, paths.configuration, configuration)) {
        return;
    }
    // A record may repeat a line of the configuration, so nobody else may read the log.
    if (configuration.GetPresence() != Presence::missing) {
        g_logAccess = sys_accessOf(paths.configuration, configuration);
    }
    constexpr int truncate = 1;
    batutil_LogOpen(installationDir.c_str(), logFileName.c_str(), truncate, false);
    // A configuration that is made from now on may be closed to those who can read this log. No file has this access,
    // so upgrade does not load it.
    g_logAccess = g_logAccess.value_or(FileAccess());
}

/// Keeps the backup directory in `savedBackupDir` and makes backupDir this node's directory below it.
void PrepareBackupDir(std::string& savedBackupDir) {
    if (DeletePlace(backupDir) < 0) {
        err_fail(msgBackupDirInTheWay, backupDir.c_str());
    }
    sys_getnodename(agentName, sizeof agentName - 1);
    savedBackupDir = backupDir;
    backupDir += agentName;
    formatDirectoryName(backupDir);
}

/// Returns: true when nothing failed. Otherwise `error` says why, unless it was an exception that is no error object.
bool MakeChange(std::string& savedBackupDir, VI18NError& error) {
    try {
        OpenLog();
        PrepareBackupDir(savedBackupDir);
        upgrade();
        return true;
    } catch (VI18NError& thrown) {
        err_attempt([&] { error = thrown; });
    } catch (...) {
        const auto thrown = err_caught();
        if (dynamic_cast<VI18NError*>(thrown.get()) != nullptr) {
            err_attempt([&] { error.CopyFrom(thrown.get()); });
        }
    }
    return false;
}

void ReportError(VI18NError& error) {
    if (!error.IsError()) {
        error = *err_make(msgUnknownFailure);
    }
    I18NMessage::Message::LogMsg(*error.GetMessage());
}

void CleanUp(const std::string& savedBackupDir) {
    if (!savedBackupDir.empty() && DeletePlace(savedBackupDir) < 0) {
        msg_log(msgBackupDirLeftBehind, savedBackupDir.c_str());
    }
}

void ReportOutcome(bool success, const std::string& commandLine) {
    if (success) {
        msg_log(msgSucceeded);
        return;
    }
    msg_log(msgFailed);
    msg_log(msgCommandLine, commandLine.c_str());
}

void ForgetBackups() noexcept {
    for (BackupEntry* entry : bakFiles) {
        delete entry;
    }
    bakFiles.clear();
}

int RunGuarded(const std::string& commandLine, const KeptRecords& kept) {
    std::string savedBackupDir;
    VI18NError error;
    const bool success = MakeChange(savedBackupDir, error);
    if (!success) {
        err_attempt([&] { ReportError(error); });
        err_attempt(rollback);
    }
    err_attempt([&] { CleanUp(savedBackupDir); });
    err_attempt([&] { ReportOutcome(success, commandLine); });
    batutil_FlushLog();
    batutil_LogClose();
    g_logAccess.reset();
    ForgetBackups();
    if (!success) {
        kept.Show();
    }
    return success ? exitSuccess : exitFailure;
}

/// Runs while no other run works in the installation directory. Creates that if it is missing.
int RunAlone(const std::string& commandLine) {
    KeptRecords kept;
    if (!txccl::File::exists(installationDir)) {
        dsk_credir(nullptr, installationDir.c_str(), 0, nullptr);
    }
    installationLock = {};
    if (!installationLock.Acquire(installationDir)) {
        std::printf("ERROR: another run holds the installation directory - %s\n", installationDir.c_str());
        return exitFailure;
    }
    const int exitCode = RunGuarded(commandLine, kept);
    installationLock = {};
    return exitCode;
}

} // namespace

int runPlugSetter(int argc, char** argv) {
    int exitCode = exitFailure;
    const bool isReported = err_attempt([&] {
        prepareProcess();
        std::string commandLine;
        if (parseCommandLine(argc, argv, commandLine)) {
            exitCode = RunAlone(commandLine);
        }
    });
    if (!isReported) {
        std::fputs("Message cannot be logged\n", stderr);
    }
    return exitCode;
}
