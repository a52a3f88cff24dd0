#pragma once

#include <string>

/// True when there is nothing of this name. Throws a pointer to VI18NError, 7947 (caller), when the system cannot tell.
bool isMissing(const std::string& path, const char* caller);

/// Copies `srcDir` + `fileName` byte for byte to `dstDir` under `dstName`, or under its own name when that is empty,
/// and deletes the source if asked to. Both directories end in the separator; the destination's is created. A missing
/// source is no error and leaves no trace; a source that cannot be deleted is logged (UTIL 7946, warning). Throws a
/// pointer to VI18NError: 4341 (directory) when the destination's directory cannot be created,
/// BSTR 4145 (destination) when both are one file, 7947 for what no error
/// object explains, and what the streams throw.
void backupFile(std::string srcDir, std::string fileName, std::string dstDir, std::string dstName, bool deleteSource);

/// The same. Returns: false when there was no source.
bool saveFile(const std::string& srcDir, const std::string& fileName, const std::string& dstDir,
              const std::string& dstName, bool deleteSource);

/// Copies each file of bakFiles back to where it belongs, first to last, and logs UTIL 7945. At the first failure it
/// stops and logs UTIL 7943 (fatal) instead. Never throws.
void rollback();
