#pragma once

#include <string>

/// True when `path` leads to something; symbolic links are followed.
bool doesFileExist(const char* path);

/// The directory of this program, with the trailing separator; empty when the system does not tell.
std::string prs_getprogramsdir();

/// Sets ORACLE_HOME in the environment of this process.
void SetOracleHome(const char* directory);
