#pragma once

#include <string>
#include <string_view>
#include <type_traits>

namespace I18NMessage {

/// The pieces of the log's XML elements. The start tags of records are in Message.cpp.
extern const std::string item_open_xml;
extern const std::string item_close_xml;
extern const std::string item_end_xml;
extern const std::string item_space;
extern const std::string item_equals;
extern const std::string item_close_xml_quote;
extern const std::string tag_message;
extern const std::string tag_param_list;
extern const std::string tag_param;
extern const std::string tag_message_list;
extern const std::string attr_type;

/// `text` as the content of an element or, with `attribute`, as the value of an attribute. The result is one line of
/// well-formed XML, whatever the bytes. Line ends become references, and so do tabs in an attribute, where a parser
/// would turn them into blanks. Other characters that XML forbids, control characters, and bytes that are not UTF-8
/// become "?".
std::string EscapeXml(std::string_view text, bool attribute);

/// How the value of a parameter is to be read. The log shows the number.
enum ParameterType : int {
    ParameterText = 0,
    ParameterMessage = 1, ///< the value is a record's XML
    ParameterNumber = 3,
};

/// A class whose objects convert to their characters, such as VString.
template <class Text>
concept TextClass = std::is_class_v<Text> && std::is_convertible_v<const Text&, const char*>;

/// A typed value of a message record.
class Parameter {
public:
    /// An empty text.
    Parameter();
    /// A null pointer gives the empty text.
    Parameter(const char* text);
    Parameter(const std::string& text);
    template <TextClass Text> Parameter(const Text& text) : Parameter(static_cast<const char*>(text)) {}
    Parameter(int number);
    Parameter(long number);
    Parameter(long long number);
    Parameter(unsigned number);
    Parameter(unsigned long number);
    Parameter(unsigned long long number);
    Parameter(const Parameter&) = default;
    Parameter(Parameter&&) = default;
    Parameter& operator=(const Parameter&) = default;
    Parameter& operator=(Parameter&&) = default;
    virtual ~Parameter();

    ParameterType GetType() const noexcept { return m_type; }
    const std::string& GetValue() const noexcept { return m_value; }

    /// The start tag of the parameter's element.
    std::string GetXMLHeader() const;
    /// The content of the element: the value, escaped unless it is XML itself.
    std::string GetXMLValue() const;

protected:
    Parameter(ParameterType type, std::string value);

private:
    ParameterType m_type = ParameterText;
    std::string m_value;
};

} // namespace I18NMessage
