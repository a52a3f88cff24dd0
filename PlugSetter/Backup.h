#pragma once

#include <string>

/// Copies the file `fileName` of `srcDir` byte for byte to `dstDir`, as `dstName` unless that is empty. Both
/// directories end in the separator; the destination is created. A missing source is no error, and nothing is created
/// then. Deletes the source if asked to and if SavedFile::IsUntouched is true of it. A source that cannot be deleted
/// stays and is not reported. Throws what SavedFile::Open and CopyTo throw, and UTIL 7947 (error, "backupFile()") when
/// the system cannot tell whether the source is there.
void backupFile(std::string srcDir, std::string fileName, std::string dstDir, std::string dstName, bool deleteSource);

/// Restores each file of bakFiles, first to last, as SavedFile::Restore says, and logs UTIL 7945 (informational). At
/// the first failure it stops and logs UTIL 7943 (fatal) instead. Never throws.
void rollback();
