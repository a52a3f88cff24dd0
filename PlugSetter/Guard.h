#pragma once

/// Ends the function-try-block of one of the tool's functions: throws on the VI18NError pointer that is being handled,
/// and for any other exception the error UTIL 7947 with the function's label. REQUIRES: called while a handler runs.
[[noreturn]] void throwAsError(const char* label);
