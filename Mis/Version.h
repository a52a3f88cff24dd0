#pragma once

/// The version of the program. It stands only here; the build reads it. It is also written into task-data files that
/// are new, as their build version.
inline constexpr const char* programVersion = "6.71.2105";

/// Follows the version in the version record of a log.
inline constexpr const char* buildStamp = "Apr 27 2010 12:06:01";
