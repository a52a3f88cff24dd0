#pragma once

#include <sys/types.h>

class FileStatus;

/// Makes sure that `length` bytes can be written over the open regular file with this status, before a byte of it is
/// changed. If its own blocks do not suffice, new ones are reserved; its size stays. If the file system cannot reserve,
/// the free space is compared. Returns: false when there is no room; blocks may have been reserved even then. Cut the
/// file to its length in the end: that gives back what is not used. The position in the file may change.
bool sys_reserve(int file, const FileStatus& status, off_t length) noexcept;
