#pragma once

#include <string>

/// Copies the file `source` byte for byte to `destination`, both names with their directories. Synchronises the copy,
/// its directory, and the directories that are created for it. A copy that comes out incomplete is an error. Nobody who
/// cannot read the source can read the copy, unless its place is a device or a file with further hard links: those keep
/// their access.
///
/// Throws a pointer to VI18NError: UTIL 4341 (directory) when the destination's directory cannot be created; BSTR 4145
/// (destination) when the copy cannot be opened for writing, would be the source itself, is a FIFO, or lies behind a
/// link of another user than root and this one; UTIL 7947 ("backupFile()") when the system does not tell what the
/// source is, when the copy is incomplete or may not be on the disk, and for any exception but a pointer to
/// VI18NError; and what the streams throw.
void copyFile(const std::string& source, const std::string& destination);

/// The name under which failures of copying are reported.
inline constexpr const char* copyLabel = "backupFile()";
