#pragma once

#include "MessageLIB/MessageTime.h"
#include "MessageLIB/Parameter.h"

#include <initializer_list>
#include <string>
#include <vector>

struct logopt;

/// Numbered message records. Every report is a record, and a logger writes it as one line of XML. A record carries a
/// number and parameters; the wording is in a catalogue outside of this program.
///
/// Logging returns 1 when the logger took the record, 0 when it did not. A FileLogger also takes a record that it
/// drops, because logging is off or the severity too low. LogMsg and log_if_set never throw.
namespace I18NMessage {

// ORDER MessageSeverity
enum MessageSeverity : int {
    SeverityDebug = 0,
    SeverityInformational = 1,
    SeverityWarning = 2,
    SeverityError = 3,
    SeverityFatal = 4,
    SeveritySixth = 5,
};

/// Something that has a text.
class StringContainer {
public:
    StringContainer() = default;
    StringContainer(const StringContainer&) = default;
    StringContainer(StringContainer&&) = default;
    StringContainer& operator=(const StringContainer&) = default;
    StringContainer& operator=(StringContainer&&) = default;
    virtual ~StringContainer();
    virtual std::string GetString() = 0;
    /// The same text in a buffer of this object, valid until the next call.
    virtual const char* GetStringBuffer() = 0;
    /// The form in which the text is the value of a parameter.
    virtual std::string GetStringForMessageParam() = 0;
};

/// Where records go. The base writes nothing; it only tells whether a record is to be written.
class Logger {
public:
    Logger() = default;
    Logger(const Logger&) = default;
    Logger& operator=(const Logger&) = default;
    virtual ~Logger();

    /// Returns: true when logging is on and a record of this severity is to be written.
    virtual bool Log(std::string* text, MessageSeverity severity);

    /// On while a run log is open.
    static bool s_loggingEnabled;

private:
    int m_minSeverity = SeverityInformational;
};

/// Writes records as the options of an open run log say. Does not own the options.
class FileLogger : public Logger {
public:
    /// Returns: false when writing failed; true also for a record that is not to be written.
    bool Log(std::string* text, MessageSeverity severity) override;

    /// Without options, records go to the open run log, or to the console if none is open.
    void AttachLogFile(logopt* options) noexcept;
    /// Returns: the options that were attached, null for none.
    logopt* DetachLogFile() noexcept;

    /// The logger of the run log, which lives as long as the process.
    static FileLogger* GetGlobalLogger() noexcept;

private:
    static FileLogger m_logger;

    logopt* m_options = nullptr;
};

/// A record. Its constructor sets the time to now and the origin to s_defaultOrigin.
class Message : public StringContainer {
public:
    Message(int id, const std::string& component, MessageSeverity severity);
    Message(int id, const std::string& component, MessageSeverity severity, const Parameter& p1);
    Message(int id, const std::string& component, MessageSeverity severity, const Parameter& p1, const Parameter& p2);
    Message(int id, const std::string& component, MessageSeverity severity, const Parameter& p1, const Parameter& p2,
            const Parameter& p3);
    Message(const Message&) = default;
    Message(Message&&) = default;
    Message& operator=(const Message&) = default;
    Message& operator=(Message&&) = default;
    ~Message() override;

    /// The form of the log: the XML element and a newline.
    std::string GetString() override;
    const char* GetStringBuffer() override;
    /// The XML element alone.
    std::string GetStringForMessageParam() override;

    /// The element and its parts. The part for parameters or causes is empty when there are none.
    std::string CreateMessageElement() const;
    std::string CreateMessageHeader() const;
    std::string CreateParameterElement() const;
    std::string CreateChildMsgElement() const;

    int GetID() const noexcept { return m_id; }
    const std::string& GetComponent() const noexcept { return m_component; }
    MessageSeverity GetSeverity() const noexcept { return m_severity; }
    void SetSeverity(MessageSeverity severity) noexcept { m_severity = severity; }
    void SetOrigin(const std::string& origin) { m_origin = origin; }
    void SetTime(const MessageTime& time) noexcept { m_time = time; }
    void SetFunction(const std::string& function) { m_function = function; }
    void SetUserName(const std::string& userName) { m_userName = userName; }
    const std::vector<Parameter>& GetParameters() const noexcept { return m_parameters; }

    void AddParameter(const Parameter& parameter);
    /// Inserts a copy of `owned` before `position`, or at the end if that is beyond it, and deletes `owned`, if any.
    void InsertParameter(unsigned position, Parameter* owned);
    /// Adds a copy of a cause, which is written inside this record.
    void AddChild(const Message& child);

    /// Writes the record through `logger`, or through s_defaultLogger when that is null. With neither it goes where a
    /// FileLogger without options writes, and while logging is off nowhere.
    int Log(Logger* logger);

    /// Logs a record through s_defaultLogger, as log_if_set does.
    static void LogMsg(Message& message) noexcept;
    static void LogMsg(int id, const std::string& component, MessageSeverity severity) noexcept;
    static void LogMsg(int id, const std::string& component, MessageSeverity severity, const Parameter& p1) noexcept;
    static void LogMsg(int id, const std::string& component, MessageSeverity severity, const Parameter& p1,
                       const Parameter& p2) noexcept;
    static void LogMsg(int id, const std::string& component, MessageSeverity severity, const Parameter& p1,
                       const Parameter& p2, const Parameter& p3) noexcept;

    /// "I" for every value outside of the enumeration.
    static char ToSeverityChar(MessageSeverity severity) noexcept;
    /// Informational for every unknown letter, for an empty text and for null.
    static MessageSeverity FromSeverityChar(char letter) noexcept;
    static MessageSeverity FromSeverityChar(const char* text) noexcept;

    static Logger* s_defaultLogger; ///< not owned
    static std::string s_defaultOrigin;

private:
    using Parameters = std::initializer_list<const Parameter*>;

    Message(int id, const std::string& component, MessageSeverity severity, Parameters parameters);
    static void LogNew(int id, const std::string& component, MessageSeverity severity, Parameters parameters) noexcept;

    int m_id;
    std::string m_origin;
    std::string m_component;
    MessageSeverity m_severity;
    MessageTime m_time;
    std::vector<Parameter> m_parameters;
    std::vector<Message> m_children;
    std::string m_function;
    std::string m_userName;
    std::string m_buffer;
};

/// A parameter whose value is a record, written as that record's XML.
class MessageParameter : public Parameter {
public:
    explicit MessageParameter(const Message& message);
};

/// Logs `message` as Message::Log does. If that fails, writes the record and the stack to standard error.
int log_if_set(Logger* logger, Message& message) noexcept;

/// The patterns of a record's start tag. The letters at the end of a name are the attributes behind ID.
extern const std::string strHeaderST;
extern const std::string strHeaderOST;
extern const std::string strHeaderCST;
extern const std::string strHeaderOCST;
extern const std::string strHeaderSTUF;
extern const std::string strHeaderOSTUF;
extern const std::string strHeaderCSTUF;
extern const std::string strHeaderOCSTUF;

} // namespace I18NMessage
