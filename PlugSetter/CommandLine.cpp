#include "PlugSetter/CommandLine.h"

#include "Mis/NamCommon.h"
#include "Mis/VString.h"
#include "PlugSetter/Globals.h"
#include "Plugins/IPluginsCommon.h"

#include <cstdio>
#include <string_view>

namespace {

enum Argument { argAction = 1, argName, argInstallationDir, argBackupDir, argLogFileName, argumentCount };

bool ParseAction(const char* action) {
    if (qx_stricmp(action, "-r") == 0) {
        regType = registerPlugin;
        return true;
    }
    if (qx_stricmp(action, "-u") == 0) {
        regType = unregisterPlugin;
        return true;
    }
    return false;
}

std::string Quoted(int argc, char** argv) {
    std::string text;
    for (int i = 1; i < argc; ++i) {
        text += " \"";
        text += argv[i];
        text += '"';
    }
    return text;
}

void Usage() {
    std::puts("To be used from installation only");
    std::puts("Usage: PlugSetter [-r|-u] \"name\" \"installationDir\" \"backupDir\" \"logFileName\"");
    std::puts("\n\nExample: \n     PlugSetter.exe -r \"CLUSTER\" \"C:\\Tarnix\" \"C:\\Tmp\" \"install.xlog\"");
}

/// An argument that is empty, such as that of an unset variable, would stand for the root directory.
bool RefuseEmpty(std::string_view argument, const char* name) {
    const bool isEmpty = argument.empty() || argument == "\\";
    if (isEmpty) {
        std::printf("ERROR: %s directory is empty\n", name);
    }
    return isEmpty;
}

} // namespace

void formatDirectoryName(std::string& dir) {
    const char separator = VFileName("", -1, false).GetPathSeparator();
    if (!dir.ends_with(separator)) {
        dir += separator;
    }
}

bool parseCommandLine(int argc, char** argv, std::string& text) {
    if (argc < argumentCount || !ParseAction(argv[argAction])) {
        Usage();
        return false;
    }
    plugName = argv[argName];
    if (string2code(plugName) == Plugins::UNDEFINED) {
        std::printf("ERROR: invalid Plug-in Name %s\n", plugName.c_str());
        return false;
    }
    installationDir = argv[argInstallationDir];
    if (installationDir.ends_with('\\')) {
        installationDir.pop_back();
    }
    backupDir = argv[argBackupDir];
    logFileName = argv[argLogFileName];
    text = Quoted(argc, argv);

    formatDirectoryName(installationDir);
    formatDirectoryName(backupDir);
    if (qx_stricmp(installationDir.c_str(), backupDir.c_str()) == 0) {
        std::printf("ERROR: backup directory cannot be the same as the installation directory - %s\n",
                    installationDir.c_str());
        return false;
    }
    return !RefuseEmpty(argv[argInstallationDir], "installation") && !RefuseEmpty(argv[argBackupDir], "backup");
}
