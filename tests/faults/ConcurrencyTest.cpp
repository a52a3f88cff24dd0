// Runs that go side by side.

#include "tests/faults/Installation.h"
#include "tests/support/Records.h"

#include <cstdlib>
#include <fstream>
#include <map>
#include <set>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

using ConcurrencyTest = Installation;
using Texts = std::vector<std::string>;

const Case emptyFile = {"Empty", "-r", "", "BuildVersion = 6.50\r\nQXCVersion = 650\r\nType = 1\r\n", ""};

/// The lines of a file, whichever slot each plug-in has got.
std::multiset<std::string> LinesOf(const std::string& path) {
    std::multiset<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        lines.insert(line);
    }
    return lines;
}

TEST_F(ConcurrencyTest, KeepsEveryEdit) {
    const Texts plugins = {"ORACLE", "ORACLE_RMAN", "OTM", "SS", "CLUSTER", "VMWARE", "VAULT", "SHAREPOINT"};
    const auto registration = [&](const std::string& plugin) {
        return Tool({"-r", plugin, m_dir / "agent", m_dir / "backups", plugin + ".xlog"}, nullptr);
    };
    Lay(emptyFile);
    for (const std::string& plugin : plugins) {
        EXPECT_EQ(Child(registration(plugin)).Wait().status, 0);
    }
    const auto expected = LinesOf(m_live);
    for (int round = 0; round < 5; ++round) {
        Lay(emptyFile);
        std::map<std::string, Child> runs;
        for (const std::string& plugin : plugins) {
            runs.try_emplace(plugin, registration(plugin));
        }
        for (auto& [plugin, run] : runs) {
            EXPECT_EQ(run.Wait().status, 0);
            EXPECT_EQ(
                Records(ReadFile(m_dir / "agent/" + plugin + ".xlog")),
                Texts({"AGNT 4314 I [6.71.2105 Apr 27 2010 12:06:01]", "UTIL 7953 I [Global.qxc]", "UTIL 7960 I"}));
        }
        EXPECT_EQ(LinesOf(m_live), expected);
    }
}

TEST_F(ConcurrencyTest, HoldsTheLockToTheEnd) {
    const auto tryToLock = [&] {
        const int directory = open((m_dir / "agent").c_str(), O_RDONLY | O_DIRECTORY);
        const bool isLocked = flock(directory, LOCK_EX | LOCK_NB) != 0;
        close(directory);
        if (!isLocked && Did([](const Step& step) { return step.call == "flock" && !step.hit; })) {
            std::abort();
        }
    };
    ForEachCall(growth, {everyCall, Effect::act, 0, false, tryToLock}, [](const Outcome&) {});
}

TEST_F(ConcurrencyTest, GivesUpAfterAMinute) {
    Lay(growth);
    const int directory = open((m_dir / "agent").c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(flock(directory, LOCK_EX), 0);
    const Outcome outcome = Run(growth);
    close(directory);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "ERROR: another run holds the installation directory - " + m_dir / "agent/\n");
    EXPECT_EQ(m_plan->slept, 60000);
    EXPECT_EQ(Live(growth), "old");
    EXPECT_FALSE(std::filesystem::exists(m_log) || std::filesystem::exists(m_dir / "backups"));
}

} // namespace
