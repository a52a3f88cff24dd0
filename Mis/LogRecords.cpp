// The way of records into the log. MessageLIB/Message.h declares it, but a record knows nothing of the log.

#include "Mis/Log.h"

#include "MessageLIB/Message.h"
#include "Mis/VError.h"

#include <unistd.h>

// Not every C library can look at the stack.
#if __has_include(<execinfo.h>)
#include <execinfo.h>
#endif

namespace I18NMessage {

namespace {

void WriteStack() noexcept {
    std::fputs("Stack: \n", stderr);
    std::fflush(stderr);
#if __has_include(<execinfo.h>)
    void* frames[32];
    backtrace_symbols_fd(frames, backtrace(frames, 32), STDERR_FILENO);
#endif
}

void ReportNotLogged(Message& message) noexcept {
    const char* text = nullptr;
    err_attempt([&] { text = message.GetStringBuffer(); });
    std::fputs(text == nullptr ? "Message cannot be logged\n" : "Message not logged: ", stderr);
    std::fputs(text == nullptr ? "" : text, stderr);
    WriteStack();
}

} // namespace

bool FileLogger::Log(std::string* text, MessageSeverity severity) {
    if (!Logger::Log(text, severity)) {
        return true;
    }
    return I18N_log_show(text, m_options, Message::ToSeverityChar(severity)) != 0;
}

int log_if_set(Logger* logger, Message& message) noexcept {
    try {
        if (message.Log(logger) != 0) {
            return 1;
        }
    } catch (...) {
        err_caught();
    }
    ReportNotLogged(message);
    return 0;
}

void Message::LogMsg(Message& message) noexcept {
    log_if_set(s_defaultLogger, message);
}

void Message::LogNew(int id, const std::string& component, MessageSeverity severity, Parameters parameters) noexcept {
    try {
        Message message(id, component, severity, parameters);
        LogMsg(message);
    } catch (...) {
        err_caught();
        std::fputs("Message cannot be logged\n", stderr);
        WriteStack();
    }
}

void Message::LogMsg(int id, const std::string& component, MessageSeverity severity) noexcept {
    LogNew(id, component, severity, {});
}

void Message::LogMsg(int id, const std::string& component, MessageSeverity severity, const Parameter& p1) noexcept {
    LogNew(id, component, severity, {&p1});
}

void Message::LogMsg(int id, const std::string& component, MessageSeverity severity, const Parameter& p1,
                     const Parameter& p2) noexcept {
    LogNew(id, component, severity, {&p1, &p2});
}

void Message::LogMsg(int id, const std::string& component, MessageSeverity severity, const Parameter& p1,
                     const Parameter& p2, const Parameter& p3) noexcept {
    LogNew(id, component, severity, {&p1, &p2, &p3});
}

} // namespace I18NMessage
