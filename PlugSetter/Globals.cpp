#include "PlugSetter/Globals.h"

int regType = registerPlugin;
std::string plugName;
std::string installationDir;
std::string backupDir;
std::string logFileName;
char agentName[65] = {};
std::list<BackupEntry*> bakFiles;
DirectoryLock installationLock;
