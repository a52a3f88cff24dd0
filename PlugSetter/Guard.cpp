#include "PlugSetter/Guard.h"

#include "MessageLIB/MessageIds.h"
#include "Mis/VError.h"

#include <cassert>
#include <exception>
#include <memory>

void throwAsError(const char* label) {
    assert(std::current_exception() != nullptr);
    try {
        throw;
    } catch (VI18NError*) {
        throw;
    } catch (...) {
        err_caught();
    }
    err_throw(std::make_unique<VI18NError>(modUtility, msgUnexpected, label));
}
