// Every outside call of a run fails, or gets a signal, one after the other, until a run comes to its end untouched.
// Then neighbours that change the file during a run.

#include "tests/faults/Installation.h"

#include <climits>
#include <csignal>
#include <cstring>
#include <iostream>
#include <map>
#include <set>

#include <sys/stat.h>

namespace {

/// How a run must end.
enum class Promise {
    oneFault,  ///< whole after one fault; after many the file may be spoilt, but then the log says so
    noSpoilt,  ///< whole in any case
    noFailure, ///< as without the fault
};

/// One row makes the loops with each call of the set alone and, but for signals, with each and all that follow it.
struct Fault {
    const char* name;
    unsigned calls;
    Effect effect;
    int error;
    long least; ///< calls that every run makes
    Promise promise;
    std::vector<Case> cases;

    friend std::ostream& operator<<(std::ostream& out, const Fault& fault) { return out << fault.name; }
};

Case At(Case::Place place, const char* name, Case run) {
    run.name = name;
    run.place = place;
    run.edited = place == Case::fifo ? "" : run.edited;
    return run;
}

const std::vector<Case> kinds = {growth, unregistration, refusal, failedSave};
const std::vector<Case> everyCase = {
    growth,
    unregistration,
    refusal,
    failedSave,
    At(Case::relative, "Relative", unregistration),
    At(Case::link, "Linked", registration),
    At(Case::fifo, "Fifo", registration),
};

constexpr unsigned anyRoom = Only(callWrite) | Only(callReserve);

using enum Effect;
using enum Promise;

// clang-format off
const Fault faults[] = {
    {"AnyCall",         everyCall,                      fail,   EIO,        28, oneFault,  everyCase},
    {"AnyCallNoSpace",  everyCall,                      fail,   ENOSPC,     28, oneFault,  kinds},
    {"Missing",         Only(callOpen) | Only(callStat), fail,  ENOENT,      8, oneFault,  kinds},
    {"Denied",          Only(callOpen),                 fail,   EACCES,      3, oneFault,  kinds},
    {"ReadHalf",        Only(callRead),                 half,   EIO,         3, oneFault,  kinds},
    {"DiskFull",        anyRoom,                        fail,   ENOSPC,      5, oneFault,  kinds},
    {"DiskFullHalfway", anyRoom,                        half,   ENOSPC,      5, oneFault,  kinds},
    {"OverQuota",       anyRoom | Only(callSync),       fail,   EDQUOT,      5, oneFault,  kinds},
    {"CannotReserve",   Only(callReserve),              fail,   EOPNOTSUPP,  1, noFailure, {growth}},
    {"CannotSync",      Only(callSync),                 fail,   EINVAL,      4, noFailure, {growth}},
    {"CannotLock",      Only(callLock),                 fail,   ENOLCK,      1, noFailure, {growth}},
    {"Killed",          everyCall,                      signal, SIGKILL,    28, noSpoilt,  kinds},
    {"Terminated",      everyCall,                      signal, SIGTERM,    28, noSpoilt,  kinds},
    {"Interrupted",     everyCall,                      signal, SIGINT,     28, noSpoilt,  {unregistration}},
    {"HungUp",          everyCall,                      signal, SIGHUP,     28, noSpoilt,  {unregistration}},
    {"Quit",            everyCall,                      signal, SIGQUIT,    28, noSpoilt,  {unregistration}},
#ifdef FAULTS_OF_MEMORY
    {"Memory",          Only(callMemory),               fail,   ENOMEM,    200, noSpoilt,  {growth, refusal}},
#endif
};
// clang-format on

long BlocksOf(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_blocks : 0;
}

class FaultTest : public Installation, public testing::WithParamInterface<std::pair<Fault, Case>> {
protected:
    const Fault& m_fault = GetParam().first;
    const Case& m_case = GetParam().second;

    /// Hits the calls from number `first` to `last`. Returns: the kind of outcome, empty when nothing was hit.
    std::string RunWithFault(long first, long last) const {
        Lay(m_case);
        const long blocks = BlocksOf(m_live);
        const Outcome outcome = Run(m_case, {m_fault.calls, first, last, m_fault.effect, m_fault.error});
        if (m_plan->injected == 0) {
            return "";
        }
        const std::string live = Live(m_case);
        std::string lies = Lies(m_case, outcome, LiveWasHidden());
        const bool maySpoil =
            m_fault.promise == oneFault && !m_case.edited.empty() && (first != last || *m_case.failing != '\0');
        lies += live == "other" && !maySpoil ? "; the file is spoilt" : "";
        lies += m_fault.promise == noFailure && live != "new" ? "; this is no reason to fail" : "";
        lies += live == "old" && BlocksOf(m_live) > blocks ? "; reserved blocks are kept" : "";
        lies += LeftBehind() == 0 ? "" : "; files are left behind";
        Expect(m_case, lies, outcome);
        const std::string kind = Kind(m_case, outcome);
        if (m_fault.error == SIGKILL && m_fault.effect == signal) {
            RunAgain();
        }
        return kind;
    }

    /// True when the live file could not be opened for writing, or was said to be missing, and nothing else is claimed.
    bool LiveWasHidden() const {
        return std::any_of(m_plan->steps, m_plan->steps + m_plan->stepCount, [&](const Step& step) {
            const bool isLive = std::string_view(step.path).ends_with("agent/Global.qxc");
            return step.hit && isLive && (step.writes || (m_fault.error == ENOENT && !Claims(7953)));
        });
    }

    /// The files beside the configuration, its copy and the log.
    long LeftBehind() const {
        const std::set<std::string> known = {m_live, m_copy, m_namelessCopy, m_namelessCopy + ".linked", m_log};
        long count = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_dir / "")) {
            count += entry.is_directory() || known.count(entry.path()) > 0 ? 0 : 1;
        }
        return count;
    }

    /// After a kill a second run on the intact file does as if nothing had been.
    void RunAgain() const {
        WriteFile(m_live, m_case.live);
        const Outcome outcome = Run(m_case, Plan());
        Expect(m_case, Lies(m_case, outcome, false), outcome);
        EXPECT_EQ(Live(m_case), m_case.edited.empty() || *m_case.failing != '\0' ? "old" : "new");
        EXPECT_EQ(Copy(m_case), "old");
    }
};

TEST_P(FaultTest, LosesNothing) {
    const long only = Setting("FAULT_CALL", 0);
    std::map<std::string, int> tally;
    for (const bool onwards : {false, true}) {
        long first = std::max(only, 1L);
        for (std::string kind; !(kind = RunWithFault(first, onwards ? LONG_MAX : first)).empty() && only == 0;
             ++first) {
            ++tally[kind];
        }
        EXPECT_GT(first, only == 0 ? m_fault.least : 0);
        if (only > 0) {
            std::cout << Story(m_case);
        }
        if (m_fault.effect == signal) {
            break;
        }
    }
    for (const auto& [kind, count] : tally) {
        std::cout << count << " x " << kind << "\n";
    }
}

std::vector<std::pair<Fault, Case>> FaultsInCases() {
    std::vector<std::pair<Fault, Case>> all;
    for (const Fault& fault : faults) {
        for (const Case& run : fault.cases) {
            all.emplace_back(fault, run);
        }
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(, FaultTest, testing::ValuesIn(FaultsInCases()), [](const auto& test) {
    return std::string(test.param.second.name) + "_" + test.param.first.name;
});

class NeighbourTest : public Installation, public testing::WithParamInterface<const char*> {};

// What holds beside other writers: a run that succeeds has made its edit to one whole version of the file, and one that
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
        Lay(registration);
        const bool success = Run(registration, plan).status == 0;
        const std::string live = ReadFile(m_live);
        EXPECT_TRUE(success ? whole.count(live) == 1 : live == changed) << live << Story(registration);
    } while (m_plan->injected > 0);
    EXPECT_GT(plan.first, 30);
}

INSTANTIATE_TEST_SUITE_P(, NeighbourTest,
                         testing::Values("echo '// more' >> Global.qxc", "truncate -s 900 Global.qxc"));

} // namespace
