// Runs that go side by side, and signals at moments of their own.

#include "tests/faults/Installation.h"
#include "tests/support/Records.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <map>
#include <random>
#include <regex>
#include <sstream>

#include <sys/file.h>

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

    pid_t Register(const std::string& plugin) const {
        return Start({"-r", plugin, Agent(m_case), Backups(m_case), plugin + ".xlog"});
    }

    const Case m_case = {"Empty", "-r", "", "BuildVersion = 6.50\r\nQXCVersion = 650\r\nType = 1\r\n", "", ""};
};

TEST_F(ConcurrencyTest, KeepsEveryEdit) {
    const Texts plugins = {"ORACLE", "ORACLE_RMAN", "OTM", "SS", "CLUSTER", "VMWARE", "VAULT", "SHAREPOINT"};
    Lay(m_case);
    for (const std::string& plugin : plugins) {
        EXPECT_EQ(Wait(Register(plugin)).status, 0);
    }
    const Texts expected = SortedLines(ReadFile(m_live));
    for (long round = Setting("FAULT_ROUNDS", 5); round > 0; --round) {
        Lay(m_case);
        std::map<std::string, pid_t> runs;
        for (const std::string& plugin : plugins) {
            runs[plugin] = Register(plugin);
        }
        for (const auto& [plugin, run] : runs) {
            EXPECT_EQ(Wait(run).status, 0);
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
    const Outcome outcome = Run(registration, Plan());
    close(directory);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "ERROR: another run holds the installation directory - " + m_dir / "agent/\n");
    EXPECT_EQ(m_plan->slept, 60000);
    EXPECT_EQ(Live(registration), "old");
    EXPECT_EQ(std::distance(std::filesystem::recursive_directory_iterator(m_dir / ""), {}), 2);
}

class SignalTest : public Installation, public testing::WithParamInterface<int> {
protected:
    /// True when the text is what a write of the new bytes over the old ones left, some pages done.
    static bool IsHalfWritten(const Case& run, const std::string& text) {
        bool found = false;
        for (std::size_t done = 0; done <= text.size(); done += 4096) {
            found |= text == run.edited.substr(0, done) + (done < run.live.size() ? run.live.substr(done) : "");
        }
        return found;
    }
};

// The text is of many pages, so that a signal can come in the midst of writing it.
TEST_P(SignalTest, AtAnyMoment) {
    const std::string text = WithLongLine(original, 100000);
    const Case run = WithEdit({"Long", "-r", "ORACLE", text, "", text + "#"});
    std::mt19937 random(1);
    Lay(run);
    const auto begin = std::chrono::steady_clock::now();
    Run(run);
    const auto duration =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
    for (long i = Setting("FAULT_SIGNALS", 60); i > 0; --i) {
        Lay(run);
        const pid_t process = Start({run.option, run.plugin, Agent(run), Backups(run), "run.xlog"});
        usleep(static_cast<useconds_t>(random() % static_cast<unsigned long>(duration.count())));
        kill(process, GetParam());
        const Outcome outcome = Wait(process);
        Check(run, outcome, false, GetParam() == SIGKILL && IsHalfWritten(run, ReadFile(m_live)));
    }
}

INSTANTIATE_TEST_SUITE_P(, SignalTest, testing::Values(SIGKILL, SIGTERM),
                         [](const auto& test) { return test.param == SIGKILL ? "Kill" : "Terminate"; });

} // namespace
