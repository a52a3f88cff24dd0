#include "PlugSetter/Guard.h"

#include "Mis/Report.h"

#include <cassert>
#include <exception>

void throwAsError(const char* label) {
    assert(std::current_exception() != nullptr);
    try {
        throw;
    } catch (VI18NError*) {
        throw;
    } catch (...) {
        err_caught();
    }
    err_fail(msgUnexpected, label);
}
