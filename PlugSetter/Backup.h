#pragma once

#include <string>

/// Copies the file `fileName` of `srcDir` byte for byte to `dstDir`, as `dstName` unless that is empty, and deletes the
/// source if asked to. Both directories end in the separator; the destination's is created. A missing source is no
/// error, and nothing is created then. A source that cannot be deleted stays and is not reported. Throws what copyFile
/// throws, and 7947 ("backupFile()") when the system cannot tell whether the source is there.
void backupFile(std::string srcDir, std::string fileName, std::string dstDir, std::string dstName, bool deleteSource);

/// Makes each file of bakFiles hold its copy's bytes again, first to last, and logs UTIL 7945. At the first failure it
/// stops and logs UTIL 7943 (fatal) instead. Never throws.
///
/// A file that holds the bytes already is not opened for writing; only its times are set to now. When the copy cannot
/// be read to its end, the file stays as it is, which is a failure. A missing copy is a failure only if this run has
/// opened the file for writing; otherwise that file is passed over. A file that has vanished is created with the owner
/// and the permissions of the copy, in a directory that is made if it is missing (DISK 4341 is logged when it cannot
/// be).
void rollback();
