#include "PlugSetter/KeptRecords.h"

#include <cstdio>
#include <utility>

using I18NMessage::Message;

KeptRecords::KeptRecords() : m_previous(std::exchange(Message::s_defaultLogger, this)) {}

KeptRecords::~KeptRecords() {
    if (Message::s_defaultLogger == this) {
        Message::s_defaultLogger = m_previous;
    }
}

bool KeptRecords::Log(std::string* text, I18NMessage::MessageSeverity severity) {
    if (severity == I18NMessage::SeverityError || severity == I18NMessage::SeverityFatal) {
        m_records.push_back(*text);
    }
    return true;
}

void KeptRecords::Show() const {
    for (const std::string& record : m_records) {
        std::fprintf(stderr, "Message not logged: %s", record.c_str());
    }
}
