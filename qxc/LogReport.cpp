#include "qxc/LogReport.h"

#include "MessageLIB/MessageTexts.h"
#include "Mis/Unix/TextInput.h"
#include "Mis/VError.h"
#include "classlib/String.h"
#include "qxc/LogReader.h"
#include "qxc/Output.h"

#include <algorithm>
#include <cstring>
#include <set>

#include <nlohmann/json.hpp>

namespace {

/// The longest line of a configuration has room here, even if each of its bytes is written as a reference.
constexpr std::size_t largestLog = 512UL * 1024 * 1024;

// clang-format off
/// What a run did, by two of its records: the first row that has both counts.
constexpr struct {
    MessageId end;
    MessageId detail;
    const char* sentence;
} outcomes[] = {
    {msgSucceeded, msgConfigurationSaved, "Succeeded: the configuration is written, unless it cannot be opened for writing or may not grow so long."},
    {msgSucceeded, msgSucceeded,          "Succeeded: there is no configuration, so there was nothing to do."},
    {msgFailed,    msgRolledBack,         "Failed: the configuration is as it was before."},
    {msgFailed,    msgRollbackFailed,     "Failed: the configuration may not be as it was; compare it with the copy."},
    {msgFailed,    msgFailed,             "Failed: what became of the configuration is not known."},
};
// clang-format on

bool Is(const LogRecord& record, const MessageId& message) {
    return record.number == message.number && record.module == msg_mod2str(message.module);
}

/// What the records since the last opening of the log say of the run.
class Run {
public:
    void Add(const LogRecord& record) {
        if (Is(record, msgVersion)) {
            m_numbers = {msgVersion.number};
        } else if (record.module == msg_mod2str(modUtility)) {
            m_numbers.insert(record.number);
        }
    }

    bool Has(const MessageId& message) const { return m_numbers.contains(message.number); }
    /// True when nothing is missing at the beginning and at the end.
    bool IsWhole() const { return Has(msgVersion) && (Has(msgSucceeded) || Has(msgCommandLine)); }

    std::string Outcome() const {
        for (const auto& row : outcomes) {
            if (Has(row.end) && Has(row.detail)) {
                return row.sentence;
            }
        }
        return "How the run ended is not known.";
    }

private:
    std::set<int> m_numbers; ///< all are of one module, but for that of the opening
};

std::string Severity(char letter) {
    switch (letter) {
    case 'D': return "debug";
    case 'I': return "information";
    case 'W': return "warning";
    case 'E': return "error";
    case 'F': return "fatal";
    default: return {letter};
    }
}

const char* SentenceOf(const LogRecord& record) {
    const char* sentence = nullptr;
    for (const MessageText& text : messageTexts) {
        const auto names = std::count(text.sentence, text.sentence + std::strlen(text.sentence), '{');
        if (Is(record, text.message) && names <= static_cast<std::ptrdiff_t>(record.parameters.size())) {
            sentence = text.sentence;
        }
    }
    return sentence;
}

/// The sentence of the record; its parameters alone when it has none.
std::string Told(const LogRecord& record) {
    const char* sentence = SentenceOf(record);
    if (sentence == nullptr) {
        return txccl::string::Join({record.parameters.begin(), record.parameters.end()}, ", ");
    }
    std::string told;
    auto parameter = record.parameters.begin();
    std::string_view rest = sentence;
    for (std::size_t open = rest.find('{'); open != std::string_view::npos; open = rest.find('{')) {
        told += rest.substr(0, open);
        told += txccl::string::CropEnd(*parameter++);
        rest.remove_prefix(rest.find('}') + 1);
    }
    return told.append(rest);
}

void Write(const LogRecord& record, bool json) {
    const std::string severity = Severity(record.severity);
    const std::string told = Told(record);
    if (json) {
        writeObject({{"time", record.time},
                     {"module", record.module},
                     {"number", record.number},
                     {"severity", severity},
                     {"text", told},
                     {"parameters", record.parameters}});
    } else if (Is(record, msgSyntaxError) && record.parameters.size() > 2) {
        writeLine(escaped(told));
    } else {
        writeLine(escaped(record.time + ' ' + record.module + ' ' + std::to_string(record.number) + ' ' + severity +
                          ": " + told));
    }
}

void WriteUnread(const std::string& log, int number, std::string_view line, bool json) {
    constexpr const char* problem = "not a record";
    if (json) {
        writeObject({{"line", number}, {"text", line}, {"problem", problem}});
    } else {
        writeLine(escaped(log + ':' + std::to_string(number) + ": ").append(escaped(line)).append(": ") + problem);
    }
}

void WriteOutcome(const Run& run, bool whole, bool json) {
    const std::string told = run.Outcome() + (whole ? "" : " The log is not whole.");
    if (json) {
        writeObject({{"succeeded", run.Has(msgSucceeded)}, {"whole", whole}, {"text", told}});
    } else {
        writeLine(told);
    }
}

} // namespace

Answer tellLog(const Request& request) {
    const std::string& log = request.operands.front();
    std::string text;
    if (const int error = sys_readToEnd(log, largestLog, text); error != 0) {
        complain(log, std::strerror(error));
        return answerUnknown;
    }
    Run run;
    // A line without its end is a record that was cut.
    bool whole = text.ends_with('\n');
    std::string_view rest = text;
    for (int number = 1; !rest.empty(); ++number) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (const std::optional<LogRecord> record = readRecord(line)) {
            run.Add(*record);
            Write(*record, request.json);
        } else {
            whole = false;
            WriteUnread(log, number, line, request.json);
        }
    }
    whole = whole && run.IsWhole();
    WriteOutcome(run, whole, request.json);
    return whole && run.Has(msgSucceeded) ? answerYes : answerNo;
}
