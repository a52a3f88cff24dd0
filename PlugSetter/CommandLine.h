#pragma once

#include <string>

/// Checks the arguments and sets regType, plugName, installationDir, backupDir and logFileName. A backslash at
/// the end of the installation directory is dropped; then both directories end in the separator. Sets `text` to all
/// arguments, each after a blank and in quotes. Returns: false when the run must not go on, after saying why on
/// standard output.
bool parseCommandLine(int argc, char** argv, std::string& text);

/// Makes `dir` end in the platform's path separator.
void formatDirectoryName(std::string& dir);
