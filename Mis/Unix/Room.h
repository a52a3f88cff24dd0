#pragma once

#include <sys/types.h>

class FileStatus;

/// Makes sure, before a byte of the open regular file with this status is changed, that `length` bytes can be written
/// over it: where its own blocks do not suffice, new ones are reserved beyond its end, or, where the file system cannot
/// reserve, the free space is asked for. Returns: false when there is no room; even then blocks may have been taken.
/// What is not used in the end is given back by cutting the file to its length. The file's position may change.
bool sys_reserve(int file, const FileStatus& status, off_t length) noexcept;
