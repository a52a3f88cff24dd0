#pragma once

#include "MessageLIB/Message.h"

// What the program reports, one message a row. Module and number are the key into the message catalogue, which is not
// part of this program. The manual page of the program lists the rows of its runs.

/// A message: the module that reports it, its number there, and its severity.
struct MessageId {
    int module; ///< msg_mod2str gives its four letters
    int number;
    I18NMessage::MessageSeverity severity;
};

inline constexpr int modAgent = 1;
inline constexpr int modDisk = 32;
inline constexpr int modLogs = 39;
inline constexpr int modSystem = 43;
inline constexpr int modParser = 45;
inline constexpr int modBinaryStream = 55;
inline constexpr int modUtility = 60;
inline constexpr int modVString = 75;

// clang-format off

// Records of a run. The comment of a row lists the parameters.
inline constexpr MessageId msgVersion               = {modAgent,        4314, I18NMessage::SeverityInformational}; // build
inline constexpr MessageId msgCannotOpen            = {modBinaryStream, 4144, I18NMessage::SeverityError};         // file
inline constexpr MessageId msgCannotCreate          = {modBinaryStream, 4145, I18NMessage::SeverityError};         // file
inline constexpr MessageId msgNotWritten            = {modBinaryStream, 4152, I18NMessage::SeverityError};         // file
inline constexpr MessageId msgDirectoryNotMade      = {modDisk,         4341, I18NMessage::SeverityError};         // directory
inline constexpr MessageId msgLogWriteFailed        = {modLogs,         56,   I18NMessage::SeverityError};         // log
inline constexpr MessageId msgSyntaxError           = {modParser,       4783, I18NMessage::SeverityError};         // file, line; file, line, text
inline constexpr MessageId msgCopyDirectoryNotMade  = {modUtility,      4341, I18NMessage::SeverityError};         // directory
inline constexpr MessageId msgRollbackFailed        = {modUtility,      7943, I18NMessage::SeverityFatal};         // three empty texts
inline constexpr MessageId msgRolledBack            = {modUtility,      7945, I18NMessage::SeverityInformational};
inline constexpr MessageId msgUnexpected            = {modUtility,      7947, I18NMessage::SeverityError};         // function
inline constexpr MessageId msgCannotLoad            = {modUtility,      7948, I18NMessage::SeverityError};         // file
inline constexpr MessageId msgCannotSetCode         = {modUtility,      7949, I18NMessage::SeverityError};         // file name
inline constexpr MessageId msgCannotSetBinary       = {modUtility,      7951, I18NMessage::SeverityError};         // file name
inline constexpr MessageId msgCannotSetName         = {modUtility,      7952, I18NMessage::SeverityError};         // file name
inline constexpr MessageId msgConfigurationSaved    = {modUtility,      7953, I18NMessage::SeverityInformational}; // file name
inline constexpr MessageId msgUnknownFailure        = {modUtility,      7958, I18NMessage::SeverityError};
inline constexpr MessageId msgSucceeded             = {modUtility,      7960, I18NMessage::SeverityInformational};
inline constexpr MessageId msgFailed                = {modUtility,      7961, I18NMessage::SeverityFatal};
inline constexpr MessageId msgCommandLine           = {modUtility,      7962, I18NMessage::SeverityInformational}; // arguments

// Records that no run writes: the deletion that each is about never answers below 0.
inline constexpr MessageId msgSourceNotDeleted      = {modUtility,      7946, I18NMessage::SeverityWarning};       // file
inline constexpr MessageId msgBackupDirInTheWay     = {modUtility,      7959, I18NMessage::SeverityFatal};         // directory
inline constexpr MessageId msgBackupDirLeftBehind   = {modUtility,      7959, I18NMessage::SeverityWarning};       // directory

// Messages that no run logs. A run makes the first as the cause of another; the library gives them to other programs.
inline constexpr MessageId msgSystemError           = {modBinaryStream, 4096, I18NMessage::SeverityError};         // system text
inline constexpr MessageId msgCannotClose           = {modBinaryStream, 4148, I18NMessage::SeverityError};         // file
inline constexpr MessageId msgReadFailed            = {modBinaryStream, 4151, I18NMessage::SeverityError};         // file
inline constexpr MessageId msgSearchFailed          = {modBinaryStream, 4159, I18NMessage::SeverityError};
inline constexpr MessageId msgFileNotFound          = {modBinaryStream, 4166, I18NMessage::SeverityError};         // file
inline constexpr MessageId msgEndOfFile             = {modBinaryStream, 5114, I18NMessage::SeverityError};
inline constexpr MessageId msgStreamError           = {modBinaryStream, 5115, I18NMessage::SeverityError};         // error flag
inline constexpr MessageId msgSyntaxErrorText       = {modParser,       4456, I18NMessage::SeverityError};         // whole text, context
inline constexpr MessageId msgCannotReadDirectory   = {modSystem,       5065, I18NMessage::SeverityWarning};       // directory, pattern, system text
inline constexpr MessageId msgOutOfMemory           = {modVString,      4109, I18NMessage::SeverityError};         // bytes

// clang-format on
