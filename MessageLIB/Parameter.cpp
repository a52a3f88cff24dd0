#include "MessageLIB/Parameter.h"

#include <utility>

namespace I18NMessage {

// Made before any other static object and so destroyed after it: a destructor may still log.
// clang-format off
[[gnu::init_priority(101)]] const std::string item_open_xml        = "<";
[[gnu::init_priority(101)]] const std::string item_close_xml       = ">";
[[gnu::init_priority(101)]] const std::string item_end_xml         = "</";
[[gnu::init_priority(101)]] const std::string item_space           = " ";
[[gnu::init_priority(101)]] const std::string item_equals          = "=\"";
[[gnu::init_priority(101)]] const std::string item_close_xml_quote = "\">";
[[gnu::init_priority(101)]] const std::string tag_message          = "M";
[[gnu::init_priority(101)]] const std::string tag_param_list       = "PS";
[[gnu::init_priority(101)]] const std::string tag_param            = "P";
[[gnu::init_priority(101)]] const std::string tag_message_list     = "MS";
[[gnu::init_priority(101)]] const std::string attr_type            = "T";
// clang-format on

namespace {

/// The length of the UTF-8 character at the start of `text`; 0 if it is malformed, forbidden in XML, or a control one.
std::size_t CharacterLength(std::string_view text) noexcept {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    if (byte(0) < 0x80) {
        return byte(0) >= 0x20 && byte(0) != 0x7F ? 1 : 0;
    }
    const std::size_t length = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : 2;
    if (byte(0) < 0xC2 || byte(0) > 0xF4 || text.size() < length) {
        return 0;
    }
    unsigned long code = byte(0) & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) {
            return 0;
        }
        code = code << 6 | (byte(i) & 0x3FU);
    }
    constexpr unsigned long shortest[] = {0, 0, 0xA0, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    const bool noCharacter = code == 0xFFFE || code == 0xFFFF || code > 0x10FFFF;
    return code < shortest[length] || surrogate || noCharacter ? 0 : length;
}

/// What `c` is written as in XML; empty for one that CharacterLength judges.
std::string_view Reference(char c, bool attribute) noexcept {
    switch (c) {
    case '&': return "&amp;";
    case '<': return "&lt;";
    case '>': return "&gt;";
    case '"': return attribute ? "&quot;" : "";
    case '\t': return attribute ? "&#9;" : "\t";
    case '\n': return "&#10;";
    case '\r': return "&#13;";
    default: return "";
    }
}

} // namespace

std::string EscapeXml(std::string_view text, bool attribute) {
    std::string escaped;
    escaped.reserve(text.size());
    while (!text.empty()) {
        const std::string_view reference = Reference(text.front(), attribute);
        const std::size_t length = reference.empty() ? CharacterLength(text) : 1;
        if (!reference.empty()) {
            escaped += reference;
        } else if (length > 0) {
            escaped += text.substr(0, length);
        } else {
            escaped += '?';
        }
        text.remove_prefix(length > 0 ? length : 1);
    }
    return escaped;
}

Parameter::Parameter() = default;

Parameter::Parameter(const char* text) : m_value(text == nullptr ? "" : text) {}

Parameter::Parameter(const std::string& text) : m_value(text) {}

Parameter::Parameter(int number) : Parameter(ParameterNumber, std::to_string(number)) {}

Parameter::Parameter(long number) : Parameter(ParameterNumber, std::to_string(number)) {}

Parameter::Parameter(long long number) : Parameter(ParameterNumber, std::to_string(number)) {}

Parameter::Parameter(unsigned number) : Parameter(ParameterNumber, std::to_string(number)) {}

Parameter::Parameter(unsigned long number) : Parameter(ParameterNumber, std::to_string(number)) {}

Parameter::Parameter(unsigned long long number) : Parameter(ParameterNumber, std::to_string(number)) {}

Parameter::Parameter(ParameterType type, std::string value) : m_type(type), m_value(std::move(value)) {}

Parameter::~Parameter() = default;

std::string Parameter::GetXMLHeader() const {
    std::string header;
    header += item_open_xml;
    header += tag_param;
    header += item_space;
    header += attr_type;
    header += item_equals;
    header += std::to_string(m_type);
    header += item_close_xml_quote;
    return header;
}

std::string Parameter::GetXMLValue() const {
    return m_type == ParameterMessage ? m_value : EscapeXml(m_value, false);
}

} // namespace I18NMessage
