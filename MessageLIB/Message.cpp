#include "MessageLIB/Message.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

namespace I18NMessage {

namespace {

// ORDER header patterns: origin, component, and user with function count 1, 2 and 4
// clang-format off
constexpr std::string_view headerPatterns[] = {
    R"(<M ID="%d" S="%c" T="%s">)",
    R"(<M ID="%d" O="%s" S="%c" T="%s">)",
    R"(<M ID="%d" C="%s" S="%c" T="%s">)",
    R"(<M ID="%d" O="%s" C="%s" S="%c" T="%s">)",
    R"(<M ID="%d" S="%c" T="%s" U="%s" F="%s">)",
    R"(<M ID="%d" O="%s" S="%c" T="%s" U="%s" F="%s">)",
    R"(<M ID="%d" C="%s" S="%c" T="%s" U="%s" F="%s">)",
    R"(<M ID="%d" O="%s" C="%s" S="%c" T="%s" U="%s" F="%s">)",
};
// clang-format on

/// `pattern` with its two-character markers replaced by the values, in order.
std::string Fill(std::string_view pattern, const std::vector<std::string>& values) {
    std::string filled;
    for (const std::string& value : values) {
        const std::size_t marker = pattern.find('%');
        filled += pattern.substr(0, marker);
        filled += value;
        pattern.remove_prefix(marker + 2);
    }
    filled += pattern;
    return filled;
}

std::string Element(std::string_view tag, const std::string& content) {
    std::string element;
    element += item_open_xml;
    element += tag;
    element += item_close_xml;
    element += content;
    element += item_end_xml;
    element += tag;
    element += item_close_xml;
    return element;
}

} // namespace

// ORDER header patterns
const std::string strHeaderST(headerPatterns[0]);
const std::string strHeaderOST(headerPatterns[1]);
const std::string strHeaderCST(headerPatterns[2]);
const std::string strHeaderOCST(headerPatterns[3]);
const std::string strHeaderSTUF(headerPatterns[4]);
const std::string strHeaderOSTUF(headerPatterns[5]);
const std::string strHeaderCSTUF(headerPatterns[6]);
const std::string strHeaderOCSTUF(headerPatterns[7]);

StringContainer::~StringContainer() = default;

Logger::~Logger() = default;

bool Logger::s_loggingEnabled = false;
Logger* Message::s_defaultLogger = nullptr;
// Made before any other static object and so destroyed after it: a destructor may still log.
[[gnu::init_priority(101)]] FileLogger FileLogger::m_logger;
[[gnu::init_priority(101)]] std::string Message::s_defaultOrigin;

bool Logger::Log(std::string* /*text*/, MessageSeverity severity) {
    return s_loggingEnabled && severity >= m_minSeverity;
}

void FileLogger::AttachLogFile(logopt* options) noexcept {
    m_options = options;
}

logopt* FileLogger::DetachLogFile() noexcept {
    return std::exchange(m_options, nullptr);
}

FileLogger* FileLogger::GetGlobalLogger() noexcept {
    return &m_logger;
}

Message::Message(int id, const std::string& component, MessageSeverity severity, Parameters parameters)
    : m_id(id), m_origin(s_defaultOrigin), m_component(component), m_severity(severity),
      m_time(MessageTime::GetUTCNow()) {
    for (const Parameter* parameter : parameters) {
        AddParameter(*parameter);
    }
}

Message::Message(int id, const std::string& component, MessageSeverity severity)
    : Message(id, component, severity, Parameters{}) {}

Message::Message(int id, const std::string& component, MessageSeverity severity, const Parameter& p1)
    : Message(id, component, severity, Parameters{&p1}) {}

Message::Message(int id, const std::string& component, MessageSeverity severity, const Parameter& p1,
                 const Parameter& p2)
    : Message(id, component, severity, Parameters{&p1, &p2}) {}

Message::Message(int id, const std::string& component, MessageSeverity severity, const Parameter& p1,
                 const Parameter& p2, const Parameter& p3)
    : Message(id, component, severity, Parameters{&p1, &p2, &p3}) {}

Message::~Message() = default;

std::string Message::GetString() {
    return CreateMessageElement() + "\n";
}

const char* Message::GetStringBuffer() {
    m_buffer = GetString();
    return m_buffer.c_str();
}

std::string Message::GetStringForMessageParam() {
    return CreateMessageElement();
}

void Message::AddParameter(const Parameter& parameter) {
    m_parameters.push_back(parameter);
}

void Message::InsertParameter(unsigned position, Parameter* owned) {
    const std::unique_ptr<Parameter> parameter(owned);
    if (parameter != nullptr) {
        const std::size_t before = std::min<std::size_t>(position, m_parameters.size());
        m_parameters.insert(m_parameters.begin() + static_cast<std::ptrdiff_t>(before), *parameter);
    }
}

void Message::AddChild(const Message& child) {
    m_children.push_back(child);
}

std::string Message::CreateMessageElement() const {
    std::string element = CreateMessageHeader();
    element += CreateParameterElement();
    element += CreateChildMsgElement();
    element += item_end_xml;
    element += tag_message;
    element += item_close_xml;
    return element;
}

std::string Message::CreateMessageHeader() const {
    const bool origin = !m_origin.empty();
    const bool component = !m_component.empty();
    const bool userAndFunction = !m_userName.empty() || !m_function.empty();

    std::vector<std::string> values = {std::to_string(m_id)};
    if (origin) {
        values.push_back(EscapeXml(m_origin, true));
    }
    if (component) {
        values.push_back(EscapeXml(m_component, true));
    }
    values.emplace_back(1, ToSeverityChar(m_severity));
    values.push_back(m_time.ToString());
    if (userAndFunction) {
        values.push_back(EscapeXml(m_userName, true));
        values.push_back(EscapeXml(m_function, true));
    }
    return Fill(headerPatterns[(origin ? 1 : 0) + (component ? 2 : 0) + (userAndFunction ? 4 : 0)], values);
}

std::string Message::CreateParameterElement() const {
    std::string content;
    for (const Parameter& parameter : m_parameters) {
        content += parameter.GetXMLHeader();
        content += parameter.GetXMLValue();
        content += item_end_xml;
        content += tag_param;
        content += item_close_xml;
    }
    return content.empty() ? content : Element(tag_param_list, content);
}

std::string Message::CreateChildMsgElement() const {
    std::string content;
    for (const Message& child : m_children) {
        content += child.CreateMessageElement();
    }
    return content.empty() ? content : Element(tag_message_list, content);
}

int Message::Log(Logger* logger) {
    const char* const buffer = GetStringBuffer();
    if (buffer == nullptr) {
        return 0;
    }
    std::string text = buffer;
    if (logger == nullptr) {
        logger = s_defaultLogger;
    }
    if (logger == nullptr) {
        return FileLogger().Log(&text, m_severity) ? 1 : 0;
    }
    return logger->Log(&text, m_severity) ? 1 : 0;
}

namespace {
// ORDER MessageSeverity
constexpr std::string_view severityLetters = "DIWEFS";
static_assert(severityLetters.size() == SeveritySixth + 1);
} // namespace

char Message::ToSeverityChar(MessageSeverity severity) noexcept {
    const bool known = severity >= SeverityDebug && severity <= SeveritySixth;
    return severityLetters[static_cast<std::size_t>(known ? severity : SeverityInformational)];
}

MessageSeverity Message::FromSeverityChar(char letter) noexcept {
    const std::size_t number = severityLetters.find(letter);
    return number == std::string_view::npos ? SeverityInformational : static_cast<MessageSeverity>(number);
}

MessageSeverity Message::FromSeverityChar(const char* text) noexcept {
    return FromSeverityChar(text == nullptr ? '\0' : *text);
}

// The record is asked for its form, since a derived one may have its own. Asking does not change it.
MessageParameter::MessageParameter(const Message& message)
    : Parameter(ParameterMessage, const_cast<Message&>(message).GetStringForMessageParam()) {}

} // namespace I18NMessage
