#pragma once

/// The one place of the version; the build reads it from here.
#define PROGRAM_VERSION "6.71.2105"

/// Written into each configuration file that is made from scratch.
inline constexpr const char* programVersion = PROGRAM_VERSION;

/// The first record of each log file.
inline constexpr const char* buildIdentification = PROGRAM_VERSION " Apr 27 2010 12:06:01";
