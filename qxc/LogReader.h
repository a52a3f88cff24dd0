#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A record of a run log.
struct LogRecord {
    std::string module; ///< four letters
    int number = 0;
    char severity = '\0';
    /// Of the form "2010-11-13T02:31:00.05+00:00". In the log the 0 in ".05" is a blank.
    std::string time;
    std::vector<std::string> parameters;
};

/// Reads a line of a log. Returns: none when it is not one whole record.
std::optional<LogRecord> readRecord(std::string_view line);
