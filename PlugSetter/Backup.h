#pragma once

#include <string>

/// Copies `srcDir` + `fileName` byte for byte to `dstDir` under `dstName`, or under its own name when that is empty,
/// and deletes the source if asked to. Both directories end in the separator; the destination's is created. A missing
/// source is no error and leaves no trace; a source that cannot be deleted is logged (UTIL 7946, warning). Throws what
/// copyFile throws, and 7947 ("backupFile()") when the system cannot tell whether the source is there.
void backupFile(std::string srcDir, std::string fileName, std::string dstDir, std::string dstName, bool deleteSource);

/// Puts each file of bakFiles back, first to last, and logs UTIL 7945: each then holds its copy's bytes. At the first
/// failure it stops and logs UTIL 7943 (fatal) instead. Never throws.
///
/// A file that holds the bytes already is not opened for writing; only its time is set to now. A copy that cannot be
/// read to its end is not begun to be put back. One that is missing is passed over unless this run has opened the file
/// for writing. A file that has vanished is made anew, with the owner and the permissions of the copy.
void rollback();
