#pragma once

#include <memory>
#include <string>

namespace I18NMessage {
class Message;
}

namespace I18NTranslation {

/// Turns message records into text for people.
class I18NStringTranslator {
public:
    I18NStringTranslator() = default;
    I18NStringTranslator(const I18NStringTranslator&) = delete;
    I18NStringTranslator& operator=(const I18NStringTranslator&) = delete;
    virtual ~I18NStringTranslator();

    /// The translator in use. It has no catalogue, so it shows the key and the parameters of a message.
    static std::unique_ptr<I18NStringTranslator> CreateI18NStringTranslator();

    /// Sets the directory of the catalogue files.
    virtual void Initialize(const std::string& catalogueDirectory) = 0;
    /// Translates the record. The translator in use ignores the flags.
    virtual void Translate(const I18NMessage::Message& message, int flags) = 0;
    /// The last translation, empty before the first.
    virtual std::string GetResult() const = 0;
};

} // namespace I18NTranslation
