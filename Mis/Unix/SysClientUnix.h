#pragma once

#include <cstdio>

class VI18NError;

/// Operating-system services. Each answers by its own result; nothing here throws but for want of memory.

/// Removes what `path` names: a file or an empty directory. Returns: true when it is gone.
/// With "*" or "?" in `path`, removes every entry of the directory part that matches, directories with all that they
/// hold, and returns true whatever happened; a directory that cannot be read is logged (SYST 5065, warning).
bool sys_delete(const char* path);

/// Removes the file or empty directory that `path` names, in which "*" and "?" are characters as any other. Returns:
/// true when it is gone.
bool sys_remove(const char* path);

/// The host's name up to its first "." in `buffer`, which must have room for any node name: 65 bytes on this platform.
/// `size` bounds nothing. Returns: 1, or 0 when the system does not tell.
int sys_getnodename(char* buffer, int size);

/// Opens a file as fopen does, of any size. Returns: the stream, which the caller closes; null when it cannot be opened
/// and, without touching errno, for a null or empty path and a null mode. The last argument plays no part.
std::FILE* sys_fopen(const char* path, const char* mode, int share);

/// Adds to or takes from `*value` and returns the new value. Not atomic.
int sys_InterlockedIncrement(int* value) noexcept;
int sys_InterlockedDecrement(int* value) noexcept;

/// Returns: an error (BSTR 4096) with the system's text for errno, which the caller owns; null when errno is 0.
VI18NError* getSystemError();
