#include "PlugSetter/Paths.h"

#include "PlugSetter/Globals.h"
#include "classlib/FilenameHelper.h"

Paths runPaths() {
    return {installationDir + csl::Files::GLOBAL, txccl::FilenameHelper::join(installationDir, logFileName),
            backupDir + csl::Files::GLOBAL};
}
