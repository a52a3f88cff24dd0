#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct FileAccess;

/// Files that are read, written and compared in one piece.

/// The bytes of a file.
struct FileContent {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;

    std::string_view Text() const noexcept { return {bytes.get(), size}; }
};

/// Reads the file; what it grows by meanwhile is not read. Returns: 1, or -1 when it is missing, larger than `limit`
/// bytes, or cannot be opened or read; `content` is then empty.
int sys_readFile(const char* path, std::uint64_t limit, FileContent& content);

/// Writes `text` over the file, in place, and synchronises it. A file that is missing is made: with `access`, or as the
/// umask decides when that is null.
///
/// A regular file is changed only once the room for `text` is there, and then by one call, padded with LF where the
/// old text was longer, so that the file holds the old or the new text between any two calls; then it is cut to its
/// length.
///
/// Returns: the bytes of `text`; 0 when there is no room, in which case the file is as it was, or when writing,
/// cutting or synchronising failed; -1 when the file cannot be opened, or `text` is above the size that this process
/// may write, in which case the file is as it was.
long sys_writeFile(const std::string& path, std::string text, const FileAccess* access = nullptr);

/// True when `file` holds what `reference` holds and both could be read to the end. Of `file`, at most one byte more
/// than `reference` has is read.
bool sys_holdsSame(const std::string& file, const std::string& reference);
