#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct FileAccess;

/// Files that are read, written and compared as a whole.

/// The bytes of a file.
struct FileContent {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;

    std::string_view Text() const noexcept { return {bytes.get(), size}; }
};

/// Reads as many bytes as the file has when it is opened. Returns: 1, or -1 when it is missing, larger than `limit`
/// bytes, or cannot be opened or read; `content` is then empty.
int sys_readFile(const char* path, std::uint64_t limit, FileContent& content);

/// Writes `text` over the file in place and synchronises it. A missing file is created with `access`, or as the umask
/// decides when that is null.
///
/// A regular file is not touched before there is room for `text`. Then one call writes all of it, with LF over the rest
/// of a longer old text. So between any two calls a reader finds the old or the new text, unless that rest is above 1
/// MiB: more LF are not written. At last the file is cut to its length.
///
/// Returns: the bytes of `text`; 0 when there is no room, with the file as it was, or when writing, cutting or
/// synchronising failed; -1, with the file as it was, when it cannot be opened or `text` is longer than this process
/// may write.
long sys_writeFile(const std::string& path, std::string text, const FileAccess* access = nullptr);

/// True when `file` holds the bytes of `reference` and both could be read to the end. At most one byte more than
/// `reference` has is read of `file`, which may be endless.
bool sys_holdsSame(const std::string& file, const std::string& reference);
