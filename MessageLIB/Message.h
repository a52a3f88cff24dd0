#pragma once

#include "MessageLIB/MessageTime.h"
#include "MessageLIB/Parameter.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

struct logopt;

/// Numbered message records: every report is a record that is written as one line of XML through a logger. A record
/// carries numbers and parameters, never a text.
///
/// Logging answers by result: 1 written or deliberately dropped, 0 not written. LogMsg and log_if_set never throw.
namespace I18NMessage {

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
    /// The same text in a buffer that lives until the next call.
    virtual const char* GetStringBuffer() = 0;
    virtual std::string GetStringForMessageParam() = 0;
};

/// Where records go. The base writes nothing.
class Logger {
public:
    Logger() = default;
    Logger(const Logger&) = default;
    Logger& operator=(const Logger&) = default;
    virtual ~Logger();

    /// Returns: true when a record of this severity is to be written.
    virtual bool Log(std::string* text, MessageSeverity severity);

    /// Off until a run log is open and again once it is closed.
    static bool s_loggingEnabled;

private:
    int m_minSeverity = SeverityInformational;
};

/// Writes records through the options of an open run log, which it does not own.
class FileLogger : public Logger {
public:
    /// Returns: false when the write failed. A record that is not to be written counts as done.
    bool Log(std::string* text, MessageSeverity severity) override;

    void AttachLogFile(logopt* options) noexcept;
    /// Returns: the options that were attached.
    logopt* DetachLogFile() noexcept;

    static FileLogger* GetGlobalLogger() noexcept;

private:
    static FileLogger m_logger;

    logopt* m_options = nullptr;
};

/// A record. Its time and its origin are those of the moment when it is made.
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

    /// The log form: the XML element and a newline.
    std::string GetString() override;
    const char* GetStringBuffer() override;
    /// The XML element alone.
    std::string GetStringForMessageParam() override;

    /// The element and its parts. The parts for parameters and causes are empty when there are none.
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
    /// Takes `owned` over, unless it is null, and puts it before position `position`, at the end when there is none.
    void InsertParameter(unsigned position, Parameter* owned);
    /// Adds a copy of a cause, which is written inside of this record.
    void AddChild(const Message& child);

    /// Writes the record through `logger`, through s_defaultLogger when it is null, and through a file logger of
    /// its own when there is neither. Returns: 1 written or dropped on purpose, 0 not.
    int Log(Logger* logger);

    /// Logs through s_defaultLogger; never throws.
    static void LogMsg(Message& message) noexcept;
    static void LogMsg(int id, const std::string& component, MessageSeverity severity) noexcept;
    static void LogMsg(int id, const std::string& component, MessageSeverity severity, const Parameter& p1) noexcept;
    static void LogMsg(int id, const std::string& component, MessageSeverity severity, const Parameter& p1,
                       const Parameter& p2) noexcept;
    static void LogMsg(int id, const std::string& component, MessageSeverity severity, const Parameter& p1,
                       const Parameter& p2, const Parameter& p3) noexcept;

    /// "I" for every value outside of the enumeration.
    static char ToSeverityChar(MessageSeverity severity) noexcept;
    /// Informational for every unknown letter and for an empty text.
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

/// A parameter whose value is itself a record; it is written as that record's XML.
class MessageParameter : public Parameter {
public:
    explicit MessageParameter(Message& message);
};

/// Logs `message` if logging is possible and says so on standard error if it failed. Never throws. Returns: 1 when it
/// was written or dropped on purpose, else 0.
int log_if_set(Logger* logger, Message& message) noexcept;

/// The openings of a record's element; the letters name the attributes that they hold.
extern const std::string strHeaderST;
extern const std::string strHeaderOST;
extern const std::string strHeaderCST;
extern const std::string strHeaderOCST;
extern const std::string strHeaderSTUF;
extern const std::string strHeaderOSTUF;
extern const std::string strHeaderCSTUF;
extern const std::string strHeaderOCSTUF;

} // namespace I18NMessage
