#pragma once

#include <string>

/// Writes the usage text to standard output.
void usage();

/// Checks the arguments, sets regType, plugName, installationDir, backupDir, the two directories ready for use, and
/// logFileName, and puts all arguments into `text`, each quoted and after a blank. Returns: false, after telling why on
/// standard output, when the run must not go on.
bool parseCommandLine(int argc, char** argv, std::string& text);

/// Makes `dir` end in the platform's path separator.
void formatDirectoryName(std::string& dir);
