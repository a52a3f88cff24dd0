#pragma once

#include "Mis/NamCommon.h"
#include "Mis/Unix/DirectoryLock.h"

#include <list>
#include <memory>
#include <string>

class SavedFile;

/// The state of a run. parseCommandLine and runPlugSetter set it; upgrade adds to bakFiles.

/// A file that was saved: where it belongs and where its copy is. What this run has saved itself is open in `file`; it
/// is restored through that, whatever stands at the two names.
struct BackupEntry {
    VFileName live;
    VFileName copy;
    std::shared_ptr<SavedFile> file = {};
};

enum RegType { registerPlugin = 0, unregisterPlugin = 1 };

extern int regType;
extern std::string plugName;        ///< as given on the command line
extern std::string installationDir; ///< ends in the separator
extern std::string backupDir;       ///< ends in the separator; at first as given, then this node's directory below that
extern std::string logFileName;     ///< in the installation directory
extern char agentName[65];          ///< this machine's node name
extern std::list<BackupEntry*> bakFiles; ///< owned; in the order of saving

extern DirectoryLock installationLock; ///< on installationDir, during a run

namespace csl {

/// Names of the agent's files.
struct Files {
    static constexpr const char* GLOBAL = "Global.qxc";
};

} // namespace csl
