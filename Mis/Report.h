#pragma once

#include "MessageLIB/MessageIds.h"
#include "Mis/VError.h"

#include <memory>
#include <utility>

/// Reports a message by its row in MessageIds.h. Each parameter is a text (const char*) or a number.

/// Returns: an error with this message.
template <class... Values> std::unique_ptr<VI18NError> err_make(const MessageId& id, const Values&... parameters) {
    return std::make_unique<VI18NError>(id.module, id.number, id.severity, parameters...);
}

/// Throws such an error as a pointer to VI18NError.
template <class... Values> [[noreturn]] void err_fail(const MessageId& id, const Values&... parameters) {
    err_throw(err_make(id, parameters...));
}

/// The same with a cause.
template <class... Values>
[[noreturn]] void err_failBecause(std::unique_ptr<VError> cause, const MessageId& id, const Values&... parameters) {
    auto error = err_make(id, parameters...);
    error->SetChildError(cause.release());
    err_throw(std::move(error));
}

/// Logs a record with this message through the default logger.
template <class... Values> void msg_log(const MessageId& id, const Values&... parameters) {
    I18NMessage::Message::LogMsg(id.number, msg_mod2str(id.module), id.severity, parameters...);
}
