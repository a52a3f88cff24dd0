#pragma once

/// The names under which failures of copying a file and of changing it are reported.
inline constexpr const char* copyLabel = "backupFile()";
inline constexpr const char* changeLabel = "upgrade() ";

/// Ends the function-try-block of one of the tool's functions. Rethrows a VI18NError pointer; in place of any other
/// exception it throws UTIL 7947 with the function's label. REQUIRES: called while a handler runs.
[[noreturn]] void throwAsError(const char* label);
