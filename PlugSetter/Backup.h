#pragma once

#include <string>

/// Copies the file `fileName` of `srcDir` byte for byte to `dstDir`, as `dstName` unless that is empty, and deletes the
/// source if asked to. Both directories end in the separator; the destination's is created. A missing source is no
/// error, and nothing is created then. A source that cannot be deleted stays and is not reported. Throws what SavedFile
/// throws, and UTIL 7947 ("backupFile()") when the system cannot tell whether the source is there.
void backupFile(std::string srcDir, std::string fileName, std::string dstDir, std::string dstName, bool deleteSource);

/// Restores each file of bakFiles, first to last, as SavedFile::Restore says, and logs UTIL 7945. At the first failure
/// it stops and logs UTIL 7943 (fatal) instead. Never throws.
void rollback();
