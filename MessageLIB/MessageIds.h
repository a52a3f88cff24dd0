#pragma once

// The numbers under which the program reports. Both are keys into the message catalogue, which is kept outside of
// this program; the manual lists the same numbers.

// Modules; their four-letter texts are those of msg_mod2str.
inline constexpr int modAgent = 1;
inline constexpr int modDisk = 32;
inline constexpr int modLogs = 39;
inline constexpr int modSystem = 43;
inline constexpr int modParser = 45;
inline constexpr int modBinaryStream = 55;
inline constexpr int modUtility = 60;
inline constexpr int modVString = 75;

// AGNT
inline constexpr int msgVersion = 4314; // (build identification) first record of each log file

// DISK, UTIL
inline constexpr int msgCannotCreateDirectory = 4341; // (directory)

// LOGS
inline constexpr int msgLogWriteFailed = 56; // (log path)

// SYST
inline constexpr int msgCannotReadDirectory = 5065; // (directory, pattern, system text)

// PARS
inline constexpr int msgSyntaxErrorText = 4456; // (whole text, context)
inline constexpr int msgSyntaxError = 4783;     // (file, line) and (file, line, text)

// BSTR
inline constexpr int msgSystemError = 4096;  // (system text)
inline constexpr int msgCannotOpen = 4144;   // (file) for reading
inline constexpr int msgCannotCreate = 4145; // (file) for writing
inline constexpr int msgCannotClose = 4148;  // (file)
inline constexpr int msgReadFailed = 4151;   // (file)
inline constexpr int msgFlushFailed = 4152;  // (file)
inline constexpr int msgSearchFailed = 4159; // the directory of a new file cannot be searched
inline constexpr int msgFileNotFound = 4166; // (file)
inline constexpr int msgEndOfFile = 5114;
inline constexpr int msgStreamError = 5115; // (error flag)

// UTIL
inline constexpr int msgRollbackFailed = 7943; // three empty texts
inline constexpr int msgRolledBack = 7945;
inline constexpr int msgSourceNotDeleted = 7946;   // (file)
inline constexpr int msgUnexpected = 7947;         // (function)
inline constexpr int msgCannotLoad = 7948;         // (file)
inline constexpr int msgCannotSetCode = 7949;      // (file name) comment or plug-in code
inline constexpr int msgCannotSetBinary = 7951;    // (file name)
inline constexpr int msgCannotSetName = 7952;      // (file name)
inline constexpr int msgConfigurationSaved = 7953; // (file name)
inline constexpr int msgUnknownFailure = 7958;
inline constexpr int msgBackupDirNotDeleted = 7959; // (directory)
inline constexpr int msgSucceeded = 7960;
inline constexpr int msgFailed = 7961;
inline constexpr int msgCommandLine = 7962; // (arguments)

// VSTR
inline constexpr int msgOutOfMemory = 4109; // (bytes)
