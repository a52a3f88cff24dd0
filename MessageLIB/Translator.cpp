#include "MessageLIB/Translator.h"

#include "MessageLIB/Message.h"

namespace I18NTranslation {

namespace {

/// Renders a record as, for example, "UTIL-E-7948: /opt/agent/Global.qxc".
class PlainTranslator : public I18NStringTranslator {
public:
    void Initialize(const std::string& /*catalogueDirectory*/) override {}

    void Translate(const I18NMessage::Message& message, int /*flags*/) override {
        m_result = message.GetComponent();
        m_result += '-';
        m_result += I18NMessage::Message::ToSeverityChar(message.GetSeverity());
        m_result += '-';
        m_result += std::to_string(message.GetID());
        const char* separator = ": ";
        for (const I18NMessage::Parameter& parameter : message.GetParameters()) {
            m_result += separator + parameter.GetValue();
            separator = ", ";
        }
    }

    std::string GetResult() const override { return m_result; }

private:
    std::string m_result;
};

} // namespace

I18NStringTranslator::~I18NStringTranslator() = default;

std::unique_ptr<I18NStringTranslator> I18NStringTranslator::CreateI18NStringTranslator() {
    return std::make_unique<PlainTranslator>();
}

} // namespace I18NTranslation
