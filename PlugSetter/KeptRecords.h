#pragma once

#include "MessageLIB/Message.h"

#include <string>
#include <vector>

/// The default logger of a run until its log is open, or to its end if there is no log. Keeps the records of what has
/// failed (severities error and fatal) until it is known whether the run has failed.
class KeptRecords : public I18NMessage::Logger {
public:
    /// Makes itself the default logger, as long as no other takes its place.
    KeptRecords();
    KeptRecords(const KeptRecords&) = delete;
    KeptRecords& operator=(const KeptRecords&) = delete;
    ~KeptRecords() override;

    bool Log(std::string* text, I18NMessage::MessageSeverity severity) override;
    /// Writes what was kept to standard error, a record a line.
    void Show() const;

private:
    I18NMessage::Logger* m_previous;
    std::vector<std::string> m_records;
};
