// Every outside call of a run fails, or is the last before the process dies, one after the other, until a run comes to
// its end untouched. Then disks that are really full, and neighbours that change the file during a run.

#include "tests/faults/Interposer.h"
#include "tests/support/Process.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>

#include <climits>
#include <csignal>
#include <iostream>
#include <map>
#include <set>

#include <sys/mount.h>
#include <sys/resource.h>

namespace {

/// What a run starts from.
struct Case {
    const char* name;
    std::string option;
    std::string plugin;
    std::string live;
    std::string edited;      ///< the new bytes; empty for a file that is refused
    std::string earlierCopy; ///< empty for none

    friend std::ostream& operator<<(std::ostream& out, const Case& run) { return out << run.name; }
};

const std::string file = ReadFile(TEST_DATA "/global/Global.qxc");
const std::string refused = file + "no key\r\n";

// An earlier copy is of the file's size, so that only its bytes tell it from a new one.
const Case cases[] = {
    {"Register", "-r", "ORACLE", file, ReadFile(TEST_DATA "/global/Global.registered.qxc"), ""},
    {"Unregister", "-u", "ORACLE_RMAN", file, ReadFile(TEST_DATA "/global/Global.unregistered.qxc"),
     std::string(file.size(), '#')},
    {"RolledBack", "-r", "ORACLE", refused, "", std::string(refused.size(), '#')},
};

const Case& registration = cases[0];
const Case longRegistration = {"Long", "-r", "ORACLE", file + std::string(20000, '\n'), registration.edited, ""};

/// One row makes the loops with each call of the set alone, and with each and all that follow it.
struct Fault {
    const char* name;
    unsigned calls;
    Effect effect;
    int error;
    long least; ///< calls that every run makes

    friend std::ostream& operator<<(std::ostream& out, const Fault& fault) { return out << fault.name; }
};

constexpr unsigned everyCall = Only(callMemory) - 1;

const Fault faults[] = {
    {"AnyCall", everyCall, Effect::fail, EIO, 28},
    // Between two other calls memory changes nothing that would outlast the process.
    {"Killed", everyCall, Effect::kill, 0, 28},
    {"Missing", Only(callOpen) | Only(callStat), Effect::fail, ENOENT, 8},
    {"ReadHalf", Only(callRead), Effect::half, EIO, 3},
    {"DiskFull", Only(callWrite), Effect::fail, ENOSPC, 5},
    {"DiskFullHalfway", Only(callWrite), Effect::half, ENOSPC, 5},
#ifdef FAULTS_OF_MEMORY
    {"Memory", Only(callMemory), Effect::fail, ENOMEM, 200},
#endif
};

/// How a run may end, what the file holds then and, unless that is the old bytes after a failure, what the copy holds.
/// Only a fault between the opening of the file for writing and its closing may spoil the file or let a run succeed
/// that changed nothing: by design the result of saving is not looked at.
const std::set<std::string> goodOutcomes = {
    "exit 0, new, copy old",
    "exit 0, old, copy old, hit in save",
    "exit 0, other, copy old, hit in save",
    "exit 1, old",
    "exit 1, other, copy old, hit in save",
    "signal 9, old",
    "signal 9, new, copy old",
    "signal 9, other, copy old, hit in save",
};

/// True when each complete line is a record; the last one may be unfinished. Without a clock the time is unknown.
bool IsWellFormed(const std::string& log) {
    static const std::regex unknown("00-000-0000 00:00:00 \\+0000");
    const std::string complete = log.substr(0, log.rfind('\n') + 1);
    const auto records = Records(std::regex_replace(complete, unknown, "2000-01-01T00:00:00. 0+00:00"));
    return !testing::Matches(testing::Contains(testing::StartsWith("?")))(records);
}

/// A scratch installation, its backup directory, its run log, and the order to the preload library.
class Installation : public testing::Test {
protected:
    const TempDir m_dir;
    const std::string m_live = m_dir / "agent/Global.qxc";
    const std::string m_log = m_dir / "agent/run.xlog";
    const std::string m_node = RunProgram({"/bin/uname", "-n"}).output;
    const std::string m_copy = m_dir / "backup/" + m_node.substr(0, m_node.find_first_of(".\n")) + "/Global.qxc";
    const std::string m_namelessCopy = m_dir / "backup/Global.qxc"; ///< of a machine that does not tell its name
    const std::string m_planFile = m_dir / "plan";
    Plan* const m_plan = (WriteFile(m_planFile, std::string(sizeof(Plan), 0)), MapPlan(m_planFile.c_str()));

    ~Installation() override { munmap(m_plan, sizeof(Plan)); }

    void Lay(const Case& run) const {
        std::filesystem::remove_all(m_dir / "agent");
        std::filesystem::remove_all(m_dir / "backup");
        WriteFile(m_live, run.live);
        if (!run.earlierCopy.empty()) {
            WriteFile(m_copy, run.earlierCopy);
        }
    }

    Outcome Run(const Case& run, const std::vector<std::string>& environment = {}) const {
        return RunTool({run.option, run.plugin, m_dir / "agent", m_dir / "backup", "run.xlog"}, environment);
    }

    /// Lays the files and runs under the plan, which need not name the live file.
    Outcome Run(const Case& run, const Plan& plan) const {
        Lay(run);
        *m_plan = plan;
        m_live.copy(m_plan->live, sizeof m_plan->live - 1);
        // A sanitizer's usual status would pass for that of a failed run.
        return Run(run, {"LD_PRELOAD=" INTERPOSER, "FAULT_PLAN=" + m_planFile,
                         "ASAN_OPTIONS=verify_asan_link_order=0:exitcode=99"});
    }
};

class FaultTest : public Installation, public testing::WithParamInterface<std::tuple<Case, Fault>> {
protected:
    const Case m_case = std::get<0>(GetParam());
    const Fault m_fault = std::get<1>(GetParam());

    /// Hits the calls from number `first` to `last`. Returns: the kind of outcome, empty when nothing was hit.
    std::string RunWithFault(long first, long last) const {
        const Outcome outcome = Run(m_case, {m_fault.calls, first, last, m_fault.effect, m_fault.error});
        const std::string live = Known(ReadFile(m_live));
        std::string kind =
            outcome.signal == 0 ? "exit " + std::to_string(outcome.status) : "signal " + std::to_string(outcome.signal);
        kind += ", " + live;
        if (live != "old" || outcome.status == 0) {
            kind += ", copy " + Known(ReadFile(std::filesystem::exists(m_namelessCopy) ? m_namelessCopy : m_copy));
            kind += live != "new" && m_plan->injectedInSave > 0 ? ", hit in save" : "";
        }
        kind += IsWellFormed(ReadFile(m_log)) ? "" : ", torn log";
        kind += LeftBehind() == 0 ? "" : ", files left behind";
        return m_plan->injected == 0 ? "" : kind + (m_fault.effect == Effect::kill ? RunAgain() : "");
    }

    /// The files beside the configuration, its copy, the log and the plan.
    long LeftBehind() const {
        long count = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_dir / "")) {
            count += entry.is_directory() ? 0 : 1;
        }
        for (const std::string& known : {m_live, m_copy, m_namelessCopy, m_log, m_planFile}) {
            count -= std::filesystem::exists(known) ? 1 : 0;
        }
        return count;
    }

    std::string Known(const std::string& text) const {
        const bool isNew = !text.empty() && text == m_case.edited;
        return text == m_case.live ? "old" : isNew ? "new" : "other";
    }

    /// What is wrong about a second run, on the intact file.
    std::string RunAgain() const {
        WriteFile(m_live, m_case.live);
        const int status = Run(m_case).status;
        const bool good = m_case.edited.empty() ? status == 1 && ReadFile(m_live) == m_case.live
                                                : status == 0 && ReadFile(m_live) == m_case.edited;
        return good && ReadFile(m_copy) == m_case.live ? "" : ", second run failed";
    }
};

TEST_P(FaultTest, LosesNothing) {
    std::map<std::string, int> tally;
    for (const bool onwards : {false, true}) {
        long first = 1;
        for (std::string kind; !(kind = RunWithFault(first, onwards ? LONG_MAX : first)).empty(); ++first) {
            ++tally[kind];
            EXPECT_EQ(goodOutcomes.count(kind), 1U) << kind << " at call " << first << (onwards ? " and on" : "");
        }
        EXPECT_GT(first, m_fault.least);
    }
    for (const auto& [kind, count] : tally) {
        std::cout << count << " x " << kind << "\n";
    }
}

INSTANTIATE_TEST_SUITE_P(, FaultTest, testing::Combine(testing::ValuesIn(cases), testing::ValuesIn(faults)),
                         [](const auto& test) {
                             return std::string(std::get<0>(test.param).name) + "_" + std::get<1>(test.param).name;
                         });

class NeighbourTest : public Installation, public testing::WithParamInterface<const char*> {};

// Nothing is locked. What holds: a run that succeeds has made its edit to one whole version of the file, and one that
// fails leaves what the neighbour made. The copy and a neighbour's edit may be lost.
TEST_P(NeighbourTest, LeavesAWholeFile) {
    const std::string neighbour = "cd " + m_dir / "agent; " + GetParam();
    const auto after = [&](const std::string& command, const std::string& text) {
        WriteFile(m_live, text);
        EXPECT_EQ(std::system(command.c_str()), 0);
        return ReadFile(m_live);
    };
    const std::string changed = after(neighbour, registration.live);
    const std::string editedLater = after("cd " + m_dir / "agent; '" TOOL "' -r ORACLE . ../backup run.xlog", changed);
    const std::set<std::string> whole = {registration.edited, editedLater, after(neighbour, registration.edited)};
    Plan plan = {everyCall, 0, 0, Effect::command, 0};
    neighbour.copy(plan.command, sizeof plan.command - 1);
    do {
        plan.last = ++plan.first;
        const bool success = Run(registration, plan).status == 0;
        const std::string live = ReadFile(m_live);
        EXPECT_TRUE(success ? whole.count(live) == 1 : live == changed) << "before call " << plan.first << live;
    } while (m_plan->injected > 0);
    EXPECT_GT(plan.first, 30);
}

INSTANTIATE_TEST_SUITE_P(, NeighbourTest,
                         testing::Values("echo '// more' >> Global.qxc", "truncate -s 900 Global.qxc",
                                         "'" TOOL "' -r OTM . ../backup other.xlog"));

class DiskFullTest : public Installation {
protected:
    /// Checks a run. Returns: true when it found the room to copy the file; when it did not, the log says so if that
    /// has room itself.
    bool IsDone(const Outcome& outcome, bool logHasRoom) const {
        const bool done = outcome.status == 0;
        const std::string log = ReadFile(m_log);
        EXPECT_TRUE(done || outcome.status == 1);
        EXPECT_TRUE(IsWellFormed(log));
        EXPECT_TRUE(ReadFile(m_live) == (done ? longRegistration.edited : longRegistration.live));
        EXPECT_TRUE(done ? ReadFile(m_copy) == longRegistration.live
                         : !logHasRoom || log.find("ID=\"4152\"") != std::string::npos);
        return done;
    }
};

TEST_F(DiskFullTest, FullDevices) {
    for (const std::string& full : {m_log, m_copy}) {
        Lay(longRegistration);
        std::filesystem::create_directories(std::filesystem::path(full).parent_path());
        std::filesystem::create_symlink("/dev/full", full);
        const Outcome outcome = Run(longRegistration);
        std::filesystem::remove(full);
        EXPECT_EQ(IsDone(outcome, full != m_log), full == m_log);
    }
}

TEST_F(DiskFullTest, FileSizeLimits) {
    const std::size_t size = longRegistration.live.size();
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    for (const std::size_t limit : std::set<std::size_t>{0, 1, 512, 4095, 4096, 8192, size / 2, size - 1, size}) {
        SCOPED_TRACE(limit);
        Lay(longRegistration);
        const rlimit limited = {limit, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
        const Outcome outcome = Run(longRegistration);
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(IsDone(outcome, limit > 4000), limit == size);
    }
}

TEST_F(DiskFullTest, SmallDisk) {
    const std::size_t pages = longRegistration.live.size() / 4096 + 1;
    std::set<bool> seen;
    for (std::size_t room = 0; room <= 2 * pages; ++room) {
        SCOPED_TRACE(room);
        const std::string disk = m_dir / "";
        if (mount("none", disk.c_str(), "tmpfs", 0, ("nr_blocks=" + std::to_string(pages + room)).c_str()) != 0) {
            GTEST_SKIP() << "no file system can be mounted here";
        }
        Lay(longRegistration);
        seen.insert(IsDone(Run(longRegistration), room > 0));
        umount(disk.c_str());
    }
    EXPECT_EQ(seen.size(), 2U);
}

} // namespace
