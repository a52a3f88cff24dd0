#pragma once

#include "MessageLIB/MessageIds.h"
#include "Mis/VError.h"

#include <memory>

/// Runs the body of one of the tool's functions. A thrown VI18NError pointer passes; any other exception becomes the
/// error UTIL 7947 with the function's label.
template <class Body> void guarded(const char* label, Body body) {
    try {
        body();
    } catch (VI18NError*) {
        throw;
    } catch (...) {
        err_caught();
        err_throw(std::make_unique<VI18NError>(modUtility, msgUnexpected, label));
    }
}
