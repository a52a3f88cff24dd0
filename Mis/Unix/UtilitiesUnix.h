#pragma once

#include <cstdint>
#include <string>

/// True when `path` names something that can be reached; follows symbolic links. errno tells why not.
bool doesFileExist(const char* path);

/// True when this value of errno means that a path names nothing, and not that the system could not tell.
bool sys_meansMissing(int error) noexcept;

/// The size in bytes of the regular file that `path` names. Returns: false for anything else.
bool sys_regularFileSize(const char* path, std::uint64_t& size);

/// True when both paths lead to the same file.
bool sys_isSameFile(const char* a, const char* b);

/// The directory of this program, with its trailing separator; empty when the system does not tell.
std::string prs_getprogramsdir();

/// Sets ORACLE_HOME in the environment of this process.
void SetOracleHome(const char* directory);
