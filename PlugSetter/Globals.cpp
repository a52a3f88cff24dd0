#include "PlugSetter/Globals.h"

int regType = registerPlugin;
std::string plugName;
std::string installationDir;
std::string backupDir;
char agentName[65] = {};
std::list<BackupEntry*> bakFiles;
