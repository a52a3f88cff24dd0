#pragma once

#include "MessageLIB/MessageIds.h"

/// What a record of a run says, for people. A name in braces stands for the next parameter of the record. Of two texts
/// for one message, the second is for a record with more parameters. The manual's table of records is made from the
/// rows.
struct MessageText {
    MessageId message;
    const char* sentence;
};

// clang-format off
inline constexpr MessageText messageTexts[] = {
    {msgVersion,              "The log was opened by build {build}."},
    {msgCannotOpen,           "{file} cannot be opened for reading."},
    {msgCannotCreate,         "The copy {file} cannot be opened for writing, is a FIFO, would be the configuration itself, or lies, or its directory lies, behind the link of a stranger."},
    {msgNotWritten,           "There is no room for {file}, or an error of the system kept it from being opened, written whole or moved to its place."},
    {msgDirectoryNotMade,     "The directory {directory} cannot be created."},
    {msgLogWriteFailed,       "A record could not be written to the log {log}."},
    {msgSyntaxError,          "{file} has a syntax error in line {line}."},
    {msgSyntaxError,          "{file}:{line}: {text}"},
    {msgCopyDirectoryNotMade, "The backup directory {directory} cannot be created; nothing was changed."},
    {msgRollbackFailed,       "The copy could not be put back, or somebody else has changed, replaced or removed the configuration since it was copied; then that stays."},
    {msgRolledBack,           "The configuration is as it was before the run."},
    {msgUnexpected,           "{function} failed for a reason without a number of its own: memory ran out; the copy is not whole, has been replaced, may not be on the disk, or would be the log; another run holds the directory of the copy, or somebody keeps deleting or replacing that; somebody else has changed, replaced or removed the configuration since it was copied, or made it or given it another owner, group or permissions since the log was opened; or the system does not tell whether the configuration is there."},
    {msgCannotLoad,           "{file} cannot be read, lies behind a link of a stranger to what is not his, or has a syntax error."},
    {msgCannotSetCode,        "The plug-in's code cannot be set in {file}."},
    {msgCannotSetBinary,      "The plug-in's library cannot be set in {file}."},
    {msgCannotSetName,        "The plug-in's description cannot be set in {file}."},
    {msgConfigurationSaved,   "{file} is written, unless it cannot be opened for writing or may not grow so long."},
    {msgUnknownFailure,       "The run failed for a reason that is not known."},
    {msgSucceeded,            "The run succeeded."},
    {msgFailed,               "The run failed."},
    {msgCommandLine,          "The arguments of the run that failed: {arguments}"},
};
// clang-format on
