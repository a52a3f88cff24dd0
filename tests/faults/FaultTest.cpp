// Each outside call in turn fails, or a signal comes before it, until a run is not hit any more. Then neighbours that
// change the file during a run.

#include "Mis/Unix/FileStatus.h"
#include "tests/faults/Installation.h"

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <set>

namespace {

/// How a run must end.
enum class Promise {
    oneFault,  ///< whole after one fault; after many the file may be spoilt, but then the log says so
    noSpoilt,  ///< whole in any case
    noFailure, ///< as without the fault
};

/// A row makes two loops: each call fails alone, and each with all that follow. Signals make the first only.
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

const std::vector<Case> kinds = {growth, unregistration, refusal, failedSave};
const std::vector<Case> kindsAndNoCopy = {growth, unregistration, refusal, failedSave, noCopy, itself};

constexpr unsigned anyRoom = Only(callWrite) | Only(callRoom);
constexpr unsigned anyStorage = anyRoom | Only(callSync) | Only(callOpen);

using enum Effect;
using enum Promise;

// clang-format off
const Fault faults[] = {
    {"AnyCall",         everyCall,                       fail,   EIO,        50, oneFault,  kindsAndNoCopy},
    {"Missing",         Only(callOpen) | Only(callStat), fail,   ENOENT,     20, oneFault,  kinds},
    {"Denied",          Only(callOpen),                  fail,   EACCES,      3, oneFault,  kinds},
    {"ReadHalf",        Only(callRead),                  half,   EIO,         3, oneFault,  kinds},
    {"DiskFull",        anyStorage,                      fail,   ENOSPC,     10, oneFault,  kinds},
    {"DiskFullHalfway", anyRoom,                         half,   ENOSPC,      5, oneFault,  kinds},
    {"OverQuota",       anyStorage,                      fail,   EDQUOT,     10, oneFault,  {growth}},
    {"CannotReserve",   Only(callRoom),                  fail,   EOPNOTSUPP,  1, noFailure, {growth}},
    {"NeverReserves",   Only(callRoom),                  fail,   ENOSYS,      1, noFailure, {growth}},
    {"CannotSync",      Only(callSync),                  fail,   EINVAL,      4, noFailure, {growth}},
    {"CannotLock",      Only(callLock),                  fail,   ENOLCK,      1, noFailure, {growth}},
    {"Terminated",      everyCall,                       signal, SIGTERM,    50, noSpoilt,  {failedSave}},
    {"Interrupted",     everyCall,                       signal, SIGINT,     50, noSpoilt,  {growth}},
    {"HungUp",          everyCall,                       signal, SIGHUP,     50, noSpoilt,  {unregistration}},
    {"Quit",            everyCall,                       signal, SIGQUIT,    50, noSpoilt,  {unregistration}},
#ifdef FAULTS_OF_MEMORY
    {"Memory",          Only(callMemory),                fail,   ENOMEM,    200, noSpoilt,  {growth, refusal, failedSave}},
#endif
};
// clang-format on

bool IsPrivate(const std::string& path) {
    return (FileStatus::Of(path).Permissions() & 077U) == 0;
}

class FaultTest : public Installation, public testing::WithParamInterface<std::pair<Fault, Case>> {
protected:
    const Fault& m_fault = GetParam().first;
    const Case& m_case = GetParam().second;

    /// Hits the calls from number `first` to `last`. Returns: false when there are not so many.
    bool RunWithFault(long first, long last) {
        Lay(m_case);
        std::filesystem::permissions(m_live, std::filesystem::perms(0600));
        const off_t room = FileStatus::Of(m_live).Allocated();
        const Outcome outcome = Run(m_case, {m_fault.calls, first, last, m_fault.effect, m_fault.error});
        if (m_plan->injected == 0) {
            return false;
        }
        const bool single = first == last;
        const bool many = !single || *m_case.failing != '\0';
        const bool maySpoil = m_fault.promise == oneFault && many && !m_case.edited.empty();
        const std::string live = Check(m_case, outcome, LiveWasHidden(), maySpoil);
        EXPECT_TRUE(live == "new" || m_fault.promise != noFailure) << CallsAndLog();
        ExpectHonestAboutTheDisk(outcome, many);
        EXPECT_TRUE(live != "old" || !single || FileStatus::Of(m_live).Allocated() <= room) << CallsAndLog();
        EXPECT_EQ(LeftBehind(), std::set<std::string>()) << CallsAndLog();
        ExpectKeptCopyAndSecrets();
        return true;
    }

    /// True for a hit call without which something may not be on the disk.
    bool IsLost(const Step& step) const {
        // The directory of the copy has a "/" at its end where it is opened to be synchronised.
        const std::string_view path = step.path;
        const bool opensDirectory =
            path.find("backups/") != path.npos && path.ends_with('/') && step.call.find("open64") != path.npos;
        const bool mayStayClosed = m_fault.error == ENOENT || m_fault.error == EACCES;
        return step.hit && (step.call == "fsync" || (opensDirectory && !mayStayClosed));
    }

    /// A run that may have lost something does not claim success, nor a file put back if that itself is lost.
    void ExpectHonestAboutTheDisk(const Outcome& outcome, bool many) const {
        if (m_fault.promise != oneFault) {
            return;
        }
        const bool isLost = Did([&](const Step& step) { return IsLost(step); });
        const bool isLiveLost = Did([&](const Step& step) { return IsLost(step) && step.IsLive(); });
        EXPECT_TRUE(outcome.status != 0 || !isLost) << CallsAndLog();
        EXPECT_FALSE(Claims(7945) && isLiveLost && many) << CallsAndLog();
    }

    void ExpectKeptCopyAndSecrets() const {
        const bool mayReplace = m_case.earlierCopy.empty() || m_fault.error == EACCES;
        EXPECT_TRUE(mayReplace || std::filesystem::exists(m_copy)) << CallsAndLog();
        for (const std::string& file : {m_copy, m_namelessCopy, m_log}) {
            // What is private may be a FIFO, which is not read.
            EXPECT_TRUE(IsPrivate(file) || ReadFile(file) == m_case.earlierCopy || m_fault.error == ENOENT)
                << file << CallsAndLog();
        }
    }

    /// True when the file could not be opened for writing, or was said to be missing and nothing is claimed.
    bool LiveWasHidden() const {
        return Did([&](const Step& step) {
            return step.hit && step.IsLive() && (step.writes || (m_fault.error == ENOENT && !Claims(7953)));
        });
    }

    /// The files beside the configuration, its copy and the log.
    std::set<std::string> LeftBehind() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_dir / "")) {
            names.insert(entry.is_directory() ? m_live : entry.path().string());
        }
        for (const std::string& known : {m_live, m_copy, m_copy + ".linked", m_namelessCopy, m_log}) {
            names.erase(known);
        }
        return names;
    }
};

TEST_P(FaultTest, LosesNothing) {
    const char* const number = std::getenv("FAULT_CALL");
    const long only = number == nullptr ? 0 : std::atol(number);
    for (const bool onwards : {false, true}) {
        long first = std::max(only, 1L);
        while (RunWithFault(first, onwards ? LONG_MAX : first) && only == 0) {
            ++first;
        }
        EXPECT_TRUE(only != 0 || first > m_fault.least) << first;
        std::cout << (only != 0 ? CallsAndLog() : "");
        if (m_fault.effect == signal) {
            break;
        }
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

class NeighbourTest : public Installation {
protected:
    /// The neighbour acts before each call in turn, until a run is not hit any more.
    void ForEachCall(const Case& run, const std::function<void()>& neighbour,
                     const std::function<void(const Outcome&)>& check) {
        Plan plan = {everyCall, 0, 0, act, 0, neighbour};
        do {
            plan.last = ++plan.first;
            Lay(run);
            std::filesystem::permissions(m_live, std::filesystem::perms(0600));
            const Outcome outcome = Run(run, plan);
            EXPECT_EQ(outcome.signal, 0) << CallsAndLog();
            check(outcome);
        } while (m_plan->injected > 0);
        EXPECT_GT(plan.first, 50);
    }

    const std::function<void()> m_append = [&] { std::ofstream(m_live, std::ios::app) << "// more\n"; };
    const std::function<void()> m_cut = [&] { std::filesystem::resize_file(m_live, 900); };
    const std::function<void()> m_remove = [&] { std::filesystem::remove(m_live); };
};

// What holds beside other writers: a run that succeeds has made its edit to one whole version of the file, and one that
// fails leaves what the neighbour made. The copy and a neighbour's edit may be lost. What a neighbour does between the
// write and the cut is not judged.
TEST_F(NeighbourTest, LeavesAWholeFile) {
    const auto after = [&](const std::function<void()>& change, const std::string& text) {
        WriteFile(m_live, text);
        change();
        return ReadFile(m_live);
    };
    for (const std::function<void()>& neighbour : {m_append, m_cut}) {
        const std::string changed = after(neighbour, registration.live);
        const std::string editedLater = after([&] { Run(registration); }, changed);
        const std::set<std::string> whole = {registration.edited, editedLater, after(neighbour, registration.edited)};
        ForEachCall(registration, neighbour, [&](const Outcome& outcome) {
            const bool success = outcome.status == 0;
            const std::string live = ReadFile(m_live);
            const bool midSave = Did([](const Step& step) { return step.hit && step.call == "ftruncate64"; });
            EXPECT_TRUE(midSave || (success ? whole.count(live) == 1 : live == changed)) << live << CallsAndLog();
        });
    }
}

// With passwords in it, a file that is made anew is for its owner only.
TEST_F(NeighbourTest, AVanishedFileComesBackPrivate) {
    std::set<std::string> found;
    bool synchronised = false;
    ForEachCall(registration, m_remove, [&](const Outcome&) {
        if (std::filesystem::exists(m_live)) {
            EXPECT_TRUE(IsPrivate(m_live)) << CallsAndLog();
            found.insert(Live(registration));
            synchronised |= Did([&](const Step& step) { return step.call == "fsync" && step.path == m_dir / "agent"; });
        }
    });
    EXPECT_TRUE(synchronised);
    EXPECT_EQ(found, (std::set<std::string>{"new", "old"}));
}

// What changes before the restored bytes are synchronised is seen when they are read again.
TEST_F(NeighbourTest, ARestoreClaimsWhatItHasRead) {
    ForEachCall(failedSave, m_append, [&](const Outcome&) {
        const Step* const steps = m_plan->steps;
        const bool inTime = std::any_of(steps + m_plan->first - 1, steps + m_plan->stepCount,
                                        [](const Step& step) { return step.call == "fsync" && step.IsLive(); });
        EXPECT_TRUE(!inTime || !Claims(7945) || ReadFile(m_live) == ReadFile(m_copy)) << CallsAndLog();
    });
}

} // namespace
