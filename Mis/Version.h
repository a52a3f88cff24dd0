#pragma once

/// The one place of the version; the build reads it from here. Written into configuration files that are made new.
inline constexpr const char* programVersion = "6.71.2105";

/// What stands behind the version in the first record of each log file.
inline constexpr const char* buildStamp = "Apr 27 2010 12:06:01";
