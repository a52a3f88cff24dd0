#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <sys/types.h>

class FileStatus;
struct FileAccess;

/// Files that are read, written, copied and compared as a whole, from their beginning.

/// The bytes of a file.
struct FileContent {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;

    std::string_view Text() const noexcept { return {bytes.get(), size}; }
};

/// Reads as many bytes as the file has when it is opened, or now if it is open. Returns: 1, or -1 when it is missing,
/// larger than `limit` bytes, or cannot be opened or read; `content` is then empty.
int sys_readFile(const char* path, std::uint64_t limit, FileContent& content);
int sys_readFile(int file, std::uint64_t limit, FileContent& content);
/// The same with `length` for what the file has.
int sys_readFile(int file, off_t length, std::uint64_t limit, FileContent& content);

/// Writes `text` over an open regular file with this status, in place, and synchronises it.
///
/// The file is not touched before there is room for `text`. Then one call writes all of it, with LF over the rest of a
/// longer old text, but not over more than 1 MiB of it. So between any two calls a reader finds the old or the new
/// text, unless that rest is longer. At last the file is cut to its length and synchronised. A text that is shorter
/// than the old one is synchronised before the cut, too.
///
/// Returns: the bytes of `text`; 0 when there is no room, with the file as it was, or when writing, cutting or
/// synchronising failed; -1, with the file as it was, when `text` is longer than this process may write.
long sys_overwrite(int file, const FileStatus& status, std::string text);

/// Opens a file and does the same; one that is no regular file is just written to. A missing file is created with
/// `access`, or as the umask decides when that is null. Returns: as sys_overwrite; -1 also when it cannot be opened.
long sys_writeFile(const std::string& path, std::string text, const FileAccess* access = nullptr);

/// What came of copying an open file.
struct CopyResult {
    off_t size = 0; ///< bytes copied
    bool isReadToEnd = true;
    int writeError = 0; ///< errno
};

/// Copies the bytes of one open file, from where it stands, to another, in pieces.
CopyResult sys_copyBytes(int from, int to);

/// True when `file` holds the bytes of `reference` and both could be read to the end. At most one byte more than
/// `reference` has is read of `file`, which may be endless.
bool sys_holdsSame(int file, int reference);

/// Goes back to the beginning of an open file. Returns: false for one that has no position, such as a pipe.
bool sys_rewind(int file) noexcept;

/// Cuts or extends an open file. Returns: true when that was done.
bool sys_setSize(int file, off_t size) noexcept;

/// Sets the times of an open file to now, if that is allowed.
void sys_touch(int file) noexcept;
