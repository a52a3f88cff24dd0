// Runs that go side by side.

#include "tests/faults/Installation.h"
#include "tests/support/Records.h"

#include <algorithm>
#include <map>
#include <regex>
#include <sstream>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

using Texts = std::vector<std::string>;

class ConcurrencyTest : public Installation {
protected:
    /// The lines of a file in an order that does not depend on the slots' numbers.
    static Texts SortedLines(const std::string& text) {
        std::istringstream stream(text);
        Texts lines;
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(std::regex_replace(line, std::regex("Plugin\\d"), "Plugin"));
        }
        std::sort(lines.begin(), lines.end());
        return lines;
    }

    std::function<int()> Register(const std::string& plugin) const {
        return Tool({"-r", plugin, Agent(m_case), Backups(m_case), plugin + ".xlog"}, nullptr);
    }

    const Case m_case = {"Empty", "-r", "", "BuildVersion = 6.50\r\nQXCVersion = 650\r\nType = 1\r\n", "", ""};
};

TEST_F(ConcurrencyTest, KeepsEveryEdit) {
    const Texts plugins = {"ORACLE", "ORACLE_RMAN", "OTM", "SS", "CLUSTER", "VMWARE", "VAULT", "SHAREPOINT"};
    Lay(m_case);
    for (const std::string& plugin : plugins) {
        EXPECT_EQ(Child(Register(plugin)).Wait().status, 0);
    }
    const Texts expected = SortedLines(ReadFile(m_live));
    for (int round = 0; round < 5; ++round) {
        Lay(m_case);
        std::map<std::string, Child> runs;
        for (const std::string& plugin : plugins) {
            runs.try_emplace(plugin, Register(plugin));
        }
        for (auto& [plugin, run] : runs) {
            EXPECT_EQ(run.Wait().status, 0);
            const Texts log = Records(ReadFile(m_dir / "agent/" + plugin + ".xlog"));
            EXPECT_EQ(log, Texts({"AGNT 4314 I [6.71.2105 Apr 27 2010 12:06:01]", "UTIL 7953 I [Global.qxc]",
                                  "UTIL 7960 I"}));
        }
        EXPECT_EQ(SortedLines(ReadFile(m_live)), expected);
    }
}

TEST_F(ConcurrencyTest, GivesUpAfterAMinute) {
    Lay(registration);
    const int directory = open((m_dir / "agent").c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(flock(directory, LOCK_EX), 0);
    const Outcome outcome = Run(registration);
    close(directory);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "ERROR: another run holds the installation directory - " + m_dir / "agent/\n");
    EXPECT_EQ(m_plan->slept, 60000);
    EXPECT_EQ(Live(registration), "old");
    EXPECT_EQ(std::distance(std::filesystem::recursive_directory_iterator(m_dir / ""), {}), 2);
}

} // namespace
