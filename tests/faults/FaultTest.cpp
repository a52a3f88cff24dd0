// Every outside call of a run fails, or is the last before the process dies, one after the other, until a run comes to
// its end untouched. An integrity check follows each run. Then disks that are really full, and neighbours that change
// the file during a run.

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
    {"Broken", "-r", "ORACLE", ReadFile(TEST_DATA "/bad/5-no-equals.qxc"), "", ""},
    {"RolledBack", "-r", "ORACLE", refused, "", std::string(refused.size(), '#')},
};

const Case& registration = cases[0];

/// One row makes the loops with each call of the set alone, and with each and all that follow it.
struct Fault {
    const char* name;
    unsigned calls;
    Effect effect;
    int error;
    long least; ///< calls that a run makes when no earlier copy is there

    friend std::ostream& operator<<(std::ostream& out, const Fault& fault) { return out << fault.name; }
};

constexpr long madeDirectories = 2;
constexpr unsigned everyCall = Only(callMemory) - 1;

const Fault faults[] = {
    {"AnyCall", everyCall, Effect::fail, EIO, 30},
    // Between two other calls memory changes nothing that would outlast the process.
    {"Killed", everyCall, Effect::kill, 0, 30},
    {"OpenDenied", Only(callOpen), Effect::fail, EACCES, 4},
    {"Missing", Only(callOpen) | Only(callStat), Effect::fail, ENOENT, 8},
    {"Read", Only(callRead), Effect::fail, EIO, 3},
    {"ReadHalf", Only(callRead), Effect::half, EIO, 3},
    {"DiskFull", Only(callWrite), Effect::fail, ENOSPC, 5},
    {"DiskFullHalfway", Only(callWrite), Effect::half, ENOSPC, 5},
    {"Close", Only(callClose), Effect::fail, EIO, 4},
    {"Mkdir", Only(callMkdir), Effect::fail, EROFS, madeDirectories},
    {"Stat", Only(callStat), Effect::fail, EIO, 4},
    {"Access", Only(callAccess), Effect::fail, EIO, 2},
    {"Remove", Only(callRemove), Effect::fail, EBUSY, 2},
    {"Uname", Only(callUname), Effect::fail, EFAULT, 1},
    {"Clock", Only(callClock), Effect::fail, EINVAL, 4},
#ifdef FAULTS_OF_MEMORY
    {"Memory", Only(callMemory), Effect::fail, ENOMEM, 200},
#endif
};

/// How a run may end and what the file holds then; if it is not the old bytes under a failure, what the copy holds; and
/// if it is not the new bytes either, that the fault lay between the file's opening for writing and its closing: by
/// design the result of saving is not looked at.
const std::set<std::string> goodOutcomes = {
    "exit 0, new, copy old",
    "exit 0, old, copy old, hit in save",
    "exit 0, other, copy old, hit in save",
    "exit 1, old",
    "exit 1, new, copy old", // no memory left to report the change, nor to take it back
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

std::string NodeName() {
    char name[65] = {};
    gethostname(name, sizeof name);
    return std::string(name).substr(0, std::string(name).find('.'));
}

/// A scratch installation, its backup directory, its run log, and the order to the preload library.
class Installation : public testing::Test {
protected:
    const TempDir m_dir;
    const std::string m_live = m_dir / "agent/Global.qxc";
    const std::string m_log = m_dir / "agent/run.xlog";
    const std::string m_copy = m_dir / "backup/" + NodeName() + "/Global.qxc";
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
        return Run(run, {"LD_PRELOAD=" INTERPOSER, std::string(planVariable) + "=" + m_planFile,
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
        const bool untouched = live == "old" && outcome.status != 0;
        const bool ended = outcome.signal == 0;
        std::string kind =
            ended ? "exit " + std::to_string(outcome.status) : "signal " + std::to_string(outcome.signal);
        kind += ", " + live;
        kind += untouched
                    ? ""
                    : ", copy " + Known(ReadFile(std::filesystem::exists(m_namelessCopy) ? m_namelessCopy : m_copy));
        kind += !untouched && live != "new" && m_plan->injectedInSave > 0 ? ", hit in save" : "";
        kind += (IsWellFormed(ReadFile(m_log)) ? "" : ", torn log") + Leftovers();
        return m_plan->injected == 0 ? "" : kind + (m_fault.effect == Effect::kill ? RunAgain() : "");
    }

    std::string Known(const std::string& text) const {
        const std::map<std::string, std::string> known = {
            {"", "other"}, {m_case.earlierCopy, "earlier"}, {m_case.live, "old"}, {m_case.edited, "new"}};
        return known.count(text) == 0 ? "other" : known.at(text);
    }

    std::string Leftovers() const {
        const std::set<std::string> known = {m_live, m_log, m_copy, m_namelessCopy, m_planFile};
        std::string leftovers;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_dir / "")) {
            leftovers +=
                entry.is_directory() || known.count(entry.path()) != 0 ? "" : ", left " + entry.path().string();
        }
        return leftovers;
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
    std::map<std::string, std::vector<std::string>> hits;
    for (const bool onwards : {false, true}) {
        long first = 1;
        for (std::string kind; !(kind = RunWithFault(first, onwards ? LONG_MAX : first)).empty(); ++first) {
            hits[kind].push_back("call " + std::to_string(first) + (onwards ? " and all that follow" : ""));
        }
        EXPECT_GT(first + (m_case.earlierCopy.empty() ? 0 : madeDirectories), m_fault.least);
    }
    for (const auto& [kind, calls] : hits) {
        std::cout << calls.size() << " x " << kind << "\n";
        EXPECT_EQ(goodOutcomes.count(kind), 1U) << "a new kind of outcome: " << kind << " at " << calls.front();
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
    setenv("TOOL", TOOL, 1);
    const std::string changed = after(neighbour, registration.live);
    const std::string editedLater = after("cd " + m_dir / "agent; \"$TOOL\" -r ORACLE . ../backup run.xlog", changed);
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
                                         "\"$TOOL\" -r OTM . ../backup other.xlog"));

class DiskFullTest : public Installation {
protected:
    /// Checks a registration. Returns: true when it found the room to copy the file; when it did not, the log says so
    /// if that has room itself.
    bool IsDone(const Case& run, const Outcome& outcome, bool logHasRoom) const {
        const bool done = outcome.status == 0;
        const std::string log = ReadFile(m_log);
        EXPECT_TRUE(done || outcome.status == 1);
        EXPECT_TRUE(IsWellFormed(log));
        EXPECT_TRUE(ReadFile(m_live) == (done ? run.edited : run.live));
        EXPECT_TRUE(done ? ReadFile(m_copy) == run.live : !logHasRoom || log.find("ID=\"4152\"") != std::string::npos);
        return done;
    }
};

TEST_F(DiskFullTest, LogOnFullDevice) {
    Lay(registration);
    std::filesystem::create_symlink("/dev/full", m_log);
    const Outcome outcome = Run(registration);
    std::filesystem::remove(m_log);
    EXPECT_TRUE(IsDone(registration, outcome, false));
}

TEST_F(DiskFullTest, CopyOnFullDevice) {
    Lay(registration);
    std::filesystem::create_directories(std::filesystem::path(m_copy).parent_path());
    std::filesystem::create_symlink("/dev/full", m_copy);
    EXPECT_FALSE(IsDone(registration, Run(registration), true));
}

TEST_F(DiskFullTest, FileSizeLimits) {
    Case run = registration;
    run.live.append(20000, '\n');
    const std::size_t size = run.live.size();
    const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    for (const std::size_t limit : std::set<std::size_t>{0, 1, 512, 4095, 4096, 8192, size / 2, size - 1, size}) {
        SCOPED_TRACE(limit);
        Lay(run);
        const rlimit limited = {limit, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
        const Outcome outcome = Run(run);
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(IsDone(run, outcome, limit > 4000), limit == size);
    }
    std::signal(SIGXFSZ, ignored);
}

TEST_F(DiskFullTest, SmallDisk) {
    Case run = registration;
    run.live.append(20000, '\n');
    const std::size_t pages = run.live.size() / 4096 + 1;
    std::set<bool> seen;
    for (std::size_t room = 0; room <= 2 * pages; ++room) {
        SCOPED_TRACE(room);
        const std::string disk = m_dir / "";
        if (mount("none", disk.c_str(), "tmpfs", 0, ("nr_blocks=" + std::to_string(pages + room)).c_str()) != 0) {
            GTEST_SKIP() << "no file system can be mounted here";
        }
        Lay(run);
        seen.insert(IsDone(run, Run(run), room > 0));
        umount(disk.c_str());
    }
    EXPECT_EQ(seen.size(), 2U);
}

} // namespace
