#pragma once

#include "Mis/VError.h"

/// What `action` throws, and its cause; "nothing" when it comes back.
template <class Action> std::string Thrown(const Action& action) {
    try {
        action();
    } catch (VError*) {
        const auto error = err_caught();
        auto* cause = dynamic_cast<VI18NError*>(error->GetChildError());
        return dynamic_cast<VI18NError&>(*error).what() + (cause == nullptr ? "" : " < " + cause->what());
    }
    return "nothing";
}

/// An error that is no message record.
struct PlainError : VError {
    PlainError() { ++alive; }
    PlainError(const PlainError& other) : VError(other) { ++alive; }
    ~PlainError() override { --alive; }
    void LogShow(logopt*, VString) override {}
    VError* Clone() override { return new PlainError(*this); }
    static inline int alive = 0;
};
