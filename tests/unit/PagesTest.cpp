// The manual pages list what the tables hold.

#include "Mis/TaskOptions.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <regex>
#include <sstream>

namespace {

/// The first groups of all matches of `pattern`, joined by blanks.
std::vector<std::string> Found(const std::string& text, const char* pattern) {
    const std::regex expression(pattern);
    std::vector<std::string> found;
    for (auto it = std::sregex_iterator(text.begin(), text.end(), expression); it != std::sregex_iterator(); ++it) {
        std::string joined;
        for (std::size_t group = 1; group < it->size(); ++group) {
            joined += (group > 1 ? " " : "") + it->str(group);
        }
        found.push_back(joined);
    }
    return found;
}

std::string KindOf(const std::string& spec) {
    static const std::map<std::string, std::string> kinds = {{"#H", "heading"},  {"#S", "string"},  {"#P", "password"},
                                                             {"#R", "raw data"}, {"#B", "boolean"}, {"#N", "number"}};
    return kinds.count(spec) != 0 ? kinds.at(spec)
                                  : "one of " + std::regex_replace(spec.substr(1), std::regex("/"), ", ");
}

TEST(Pages, ListEachKeyOnce) {
    const std::string page = std::regex_replace(ReadFile(KEYS_PAGE), std::regex("\\\\&"), "");
    std::vector<std::string> rows;
    for (int i = 0; i < taskOptionCount; ++i) {
        const _TOInfo& row = taskOptions[i];
        const std::string name = *row.keyName == '\0' ? "(no name)" : row.keyName;
        rows.push_back(name + " Ta " + KindOf(row.typeSpec) + " Ta " + std::to_string(row.minVersion) + "\\(en" +
                       std::to_string(row.maxVersion) + " Ta " +
                       (row.typeMask == 0xffff ? "all" : std::to_string(row.typeMask)) + " Ta " + row.description);
    }
    std::vector<std::string> listed = Found(page, "\\.It ((?!Sy ).*)");
    std::sort(listed.begin(), listed.end());
    std::sort(rows.begin(), rows.end());
    EXPECT_EQ(listed, rows);
}

TEST(Pages, ListEachRecordOfARun) {
    const std::map<std::string, std::string> letters = {
        {"Informational", "I"}, {"Warning", "W"}, {"Error", "E"}, {"Fatal", "F"}};
    const std::map<std::string, std::string> modules = {{"Agent", "AGNT"},  {"BinaryStream", "BSTR"},
                                                        {"Disk", "DISK"},   {"Logs", "LOGS"},
                                                        {"Parser", "PARS"}, {"Utility", "UTIL"}};
    const std::string text = ReadFile(MESSAGE_IDS);
    const std::size_t begin = text.find("// Records of a run");
    const std::string rows = text.substr(begin, text.find("// Records that no run writes") - begin);
    std::vector<std::string> records;
    for (const std::string& row : Found(rows, "\\{mod(\\w+), +(\\d+), +I18NMessage::Severity(\\w+)\\}")) {
        std::istringstream cells(row);
        std::string module;
        std::string number;
        std::string severity;
        cells >> module >> number >> severity;
        records.push_back(modules.at(module) + " " + number + " " + letters.at(severity));
    }
    std::vector<std::string> listed =
        Found(ReadFile(MANUAL "/PlugSetter.8"), "\\.It ([A-Z]{4}) Ta (\\d+) Ta ([A-Z]) Ta");
    // 4783 stands twice, with two and with three parameters.
    listed.erase(std::unique(listed.begin(), listed.end()), listed.end());
    EXPECT_THAT(listed, testing::UnorderedElementsAreArray(records));
}

} // namespace
