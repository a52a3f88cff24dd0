#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Files that are read and written in one piece.

/// Reads the file into `text`, which is left empty on failure; what the file grows by meanwhile is not read. Returns:
/// 1, or -1 when it is missing, larger than `limit` bytes, or cannot be opened or read.
int sys_readFile(const char* path, std::uint64_t limit, std::string& text);

/// Writes `text` over the file, in place. Returns: the bytes written, 0 on a write error, -1 when the file cannot be
/// opened.
long sys_writeFile(const char* path, std::string_view text);
