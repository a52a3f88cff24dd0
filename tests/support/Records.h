#pragma once

#include <regex>
#include <sstream>
#include <string>
#include <vector>

/// The records of a run log as short texts, for example "UTIL 7948 E [/opt/agent/Global.qxc]"; a line that is no record
/// comes back as it is, after "?".
inline std::vector<std::string> Records(const std::string& log) {
    static const std::regex record("<M ID=\"(\\d+)\" C=\"([^\"]*)\" S=\"(.)\" "
                                   "T=\"\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.[ \\d]\\d\\+00:00\">"
                                   "(?:<PS>(.*)</PS>)?</M>");
    static const std::regex parameter("<P T=\"(\\d)\">(.*?)</P>");
    std::vector<std::string> records;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (!std::regex_match(line, match, record)) {
            records.push_back("?" + line);
            continue;
        }
        std::string text = match.str(2) + " " + match.str(1) + " " + match.str(3);
        const std::string parameters = match.str(4);
        for (auto it = std::sregex_iterator(parameters.begin(), parameters.end(), parameter);
             it != std::sregex_iterator(); ++it) {
            text += " [" + it->str(2) + "]";
        }
        records.push_back(text);
    }
    return records;
}
