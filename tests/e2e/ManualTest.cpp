// What the manual pages show is what the program does and what its tables hold.

#include "Mis/TaskOptions.h"
#include "Plugins/IPluginsCommon.h"
#include "tests/support/Process.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <map>
#include <numeric>
#include <regex>
#include <set>
#include <span>

#include <gmock/gmock.h>

namespace {

/// What follows a line of a page's source, up to the next line that begins like it.
std::string Part(const std::string& text, const std::string& macro, const std::string& title) {
    const std::size_t begin = text.find("\n" + macro + title);
    return text.substr(begin, text.find("\n" + macro, begin + 1) - begin);
}

/// The literal blocks of a part, as they are shown.
std::vector<std::string> Blocks(std::string part) {
    for (const auto& [escape, shown] : {std::pair(R"(\\\(aq)", "'"), {R"(\\e)", "\\"}}) {
        part = std::regex_replace(part, std::regex(escape), shown);
    }
    std::vector<std::string> blocks;
    for (std::size_t begin = 0; (begin = part.find("\n.Bd", begin)) != std::string::npos;) {
        begin = part.find('\n', begin + 1) + 1;
        blocks.push_back(part.substr(begin, part.find("\n.Ed", begin) + 1 - begin));
    }
    return blocks;
}

const std::string pluginPage = ReadFile(MANUAL "/PlugSetter.8");
const std::string original = ReadFile(TEST_DATA "/global/Global.qxc");
const std::string registered = ReadFile(TEST_DATA "/global/Global.registered.qxc");

TEST(Manual, ListsTheCatalogue) {
    const auto row = [](const std::string& name, int code, const std::string& library) {
        const std::string text = name + " Ta " + Plugins::plugin_description[code] + " Ta";
        return ".It " + text + (library.empty() ? "\n" : " " + library + "\n");
    };
    std::set<std::string> rows = {row("ORACLE_8I_SOLARIS", Plugins::ORACLE_8I_SOLARIS, Plugins::oracle_8i_solaris_dll)};
    for (int code = 0; code < Plugins::UNDEFINED; ++code) {
        rows.insert(row(Plugins::plugin_names[code], code, Plugins::dll_names[code]));
    }
    const std::string table = std::accumulate(rows.begin(), rows.end(), std::string(" Ta Sy Library\n")) + ".El\n";
    EXPECT_THAT(Part(pluginPage, ".Sh ", "PLUG-INS"), testing::HasSubstr(table));
}

/// The groups of each match of `pattern`, joined by blanks.
std::vector<std::string> Found(const std::string& text, const std::string& pattern) {
    const std::regex expression(pattern);
    std::vector<std::string> found;
    for (auto it = std::sregex_iterator(text.begin(), text.end(), expression); it != std::sregex_iterator(); ++it) {
        found.push_back(it->format(it->size() == 2 ? "$1" : "$1 $2 $3"));
    }
    return found;
}

TEST(Manual, ListsEachKeyOnce) {
    const std::map<std::string, std::string> kinds = {{"#H", "heading"},  {"#S", "string"},  {"#P", "password"},
                                                      {"#R", "raw data"}, {"#B", "boolean"}, {"#N", "number"}};
    std::vector<std::string> rows;
    for (const _TOInfo& row : std::span(taskOptions, taskOptionCount)) {
        const auto kind = kinds.find(row.typeSpec);
        const std::string names = std::regex_replace(row.typeSpec + 1, std::regex("/"), ", ");
        const std::string label = row.description;
        rows.push_back((*row.keyName == '\0' ? "(no name)" : row.keyName + std::string()) + "\n" + label +
                       (label.empty() ? "" : ": ") + (kind == kinds.end() ? "one of " + names : kind->second) +
                       "; versions " + std::to_string(row.minVersion) + "\\(en" + std::to_string(row.maxVersion) +
                       ", " + (row.typeMask == 0xffff ? "all types" : "type " + std::to_string(row.typeMask)));
    }
    const std::string page = std::regex_replace(ReadFile(KEYS_PAGE), std::regex("\\\\&"), "");
    EXPECT_THAT(Found(page, "\\.It (.*\n.*)"), testing::UnorderedElementsAreArray(rows));
}

TEST(Manual, ListsEachRecordOfARun) {
    const std::map<std::string, std::string> modules = {{"Agent", "AGNT"},  {"BinaryStream", "BSTR"},
                                                        {"Disk", "DISK"},   {"Logs", "LOGS"},
                                                        {"Parser", "PARS"}, {"Utility", "UTIL"}};
    const std::string text = ReadFile(MESSAGE_IDS);
    const std::size_t begin = text.find("// Records of a run");
    const std::string rows = text.substr(begin, text.find("// Records that no run writes") - begin);
    std::vector<std::string> records = Found(rows, "\\{mod(\\w+), +(\\d+), +I18NMessage::Severity(\\w)\\w+\\}");
    for (std::string& record : records) {
        record = modules.at(record.substr(0, record.find(' '))) + record.substr(record.find(' '));
    }
    std::vector<std::string> listed = Found(pluginPage, "\\.It ([A-Z]{4}) Ta (\\d+) Ta ([A-Z]) Ta");
    // 4783 stands twice, with two and with three parameters.
    listed.erase(std::unique(listed.begin(), listed.end()), listed.end());
    EXPECT_THAT(listed, testing::UnorderedElementsAreArray(records));
}

TEST(Manual, RecipesDoWhatTheyPromise) {
    const std::string odd =
        "plugin3 {\n Code = SS // a comment\n}\n\tno <key> & no value\nPlugin4.Code =\nPLUGIN5.code=SV";
    const std::string recipes = Part(pluginPage, ".Sh ", "RECIPES");
    // clang-format off
    const std::tuple<const char*, std::string, std::string, std::string> cases[] = {
        {"Check a file",          original,   "no errors\n",                                    registered},
        {"Check a file",          odd,        "(<M ID=\"4783\".*\n){2}<M ID=\"7948\".*\n<M ID=\"7961\".*\n", odd},
        {"List the",              original,   "CLUSTER\nORACLE_RMAN\nORACLE\nvmware\n",         registered},
        {"List the",              odd,        "SS\nSV\n",                                       odd},
        {"See whether",           original,   "changed\n",                                      registered},
        {"See whether",           registered, "not changed\n",                                  registered},
        {"Take the last",         original,   "",                                               original},
        {"Print syntax errors",   odd,        ".*/agent/Global.qxc:4: \tno <key> & no value\n", odd},
        {"Make the log",          original,   "<log>\n(<M .*</M>\n){3}</log>\n",                registered},
        {"Make the times",        original,   "(<M ID=.*\\d\\d\\.05\\+00:00\">.*\n){3}",        registered},
    };
    // clang-format on
    for (const auto& [title, before, output, after] : cases) {
        const TempDir dir;
        const std::string log = dir / "agent/install.xlog";
        WriteFile(dir / "agent/Global.qxc", before);
        RunTool({"-r", "ORACLE", dir / "agent", dir / "backup", "install.xlog"});
        WriteFile(log, std::regex_replace(ReadFile(log), std::regex("\\.[ \\d]\\d\\+00:00"), ". 5+00:00"));
        std::string script = Blocks(recipes).at(0) + Blocks(Part(recipes, ".Ss ", title)).at(0);
        script.replace(script.find("/opt/"), 5, "'" + dir / "" + "'");
        script.replace(script.find("/var/backups/agent-plugin"), 25, "'" + dir / "backup" + "'");
        const Outcome outcome = RunShell(script);
        EXPECT_TRUE(std::regex_match(outcome.output, std::regex(output))) << title << "\n" << outcome.output;
        EXPECT_EQ(outcome.errors, "") << title;
        EXPECT_EQ(ReadFile(dir / "agent/Global.qxc"), after) << title;
    }
}

TEST(Manual, ExplainsRefusedLines) {
    const std::string page = ReadFile(MANUAL "/Global.qxc.5");
    const std::vector<std::string> blocks = Blocks(Part(page, ".Sh ", "WHAT A REFUSED LINE MEANS"));
    ASSERT_EQ(blocks.size(), 18U);
    for (std::size_t i = 0; i < blocks.size(); i += 2) {
        const TempDir dir;
        WriteFile(dir / "agent/Global.qxc", blocks[i]);
        const Outcome outcome = RunShell("cd '" + dir / "" + R"('
            PlugSetter -u DPM agent backup log && tr -d '\r' <agent/Global.qxc ||
            sed -n 's|.*<P T="3">\(.*\)</P><P T="0">\(.*\)</P></PS></M>$|Global.qxc:\1: \2|p' agent/log)");
        EXPECT_THAT("\n" + outcome.output, testing::HasSubstr("\n" + blocks[i + 1]));
    }
}

} // namespace
