#pragma once

#include <cstdio>

class VI18NError;

/// Operating-system services. Each has its own result convention. Nothing here throws, except when memory runs out.

/// Removes the file or empty directory that `path` names. Returns: true when it was removed.
/// With "*" or "?" in `path`, removes every matching entry of the directory part, directories with all that they hold,
/// and returns true whatever happens. A pattern without a directory part removes nothing. A directory that is there but
/// cannot be read is logged (SYST 5065, warning).
bool sys_delete(const char* path);

/// Removes the file or empty directory that `path` names. For names that come from outside: sys_delete would take a "*"
/// or "?" in them for a pattern. Returns: true when it was removed.
bool sys_remove(const char* path);

/// Removes an empty directory. Returns: true when it was removed.
bool sys_removeDirectory(const char* path);

/// Writes the host's name up to its first "." to `buffer`, which must have room for any node name: 65 bytes on this
/// platform. `size` is ignored. Returns: 1, or 0 when the system does not tell.
int sys_getnodename(char* buffer, int size);

/// Opens a file of any size as fopen does. Returns: the stream, which the caller closes; null when it cannot be opened
/// and, with errno untouched, for a null or empty path and a null mode. `share` is ignored.
std::FILE* sys_fopen(const char* path, const char* mode, int share);

/// Add 1 to `*value` or take 1 from it. Not atomic. Returns: the new value.
int sys_InterlockedIncrement(int* value) noexcept;
int sys_InterlockedDecrement(int* value) noexcept;

/// Returns: an error (BSTR 4096) with the system's text for errno, which the caller owns; null when errno is 0.
VI18NError* getSystemError();
