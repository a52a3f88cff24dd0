#pragma once

#include <string>

/// What the command line says beyond the globals.
struct CommandLine {
    std::string logFileName;
    std::string text; ///< all arguments, each quoted and after a blank
};

/// Writes the usage text to standard output.
void usage();

/// Checks the arguments, fills `commandLine` and sets regType, plugName, installationDir and backupDir, the two
/// directories ready for use. Returns: false, after telling why on standard output, when the run must not go on.
bool parseCommandLine(int argc, char** argv, CommandLine& commandLine);

/// Makes `dir` end in the platform's path separator.
void formatDirectoryName(std::string& dir);
