// Each outside call in turn fails, or a signal comes before it, until a run is not hit any more. Then neighbours that
// change the file during a run.

#include "Mis/Unix/FileStatus.h"
#include "tests/faults/Installation.h"

#include <cerrno>
#include <csignal>
#include <fstream>
#include <set>

namespace {

/// How a run must end.
enum class Promise {
    oneFault,  ///< whole after one fault; after many the file may be spoilt, but then the log says so
    noSpoilt,  ///< whole in any case
    noFailure, ///< as without the fault
};

/// A row makes two loops: each call suffers alone, and each with all that follow. Signals make the first only.
struct Fault {
    const char* name;
    unsigned calls;
    Effect effect;
    int error;  ///< with `act`, the signal that comes
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
    {"AnyCall",         everyCall,                       fail, EIO,        50, oneFault,  kindsAndNoCopy},
    {"Missing",         Only(callOpen) | Only(callStat), fail, ENOENT,     20, oneFault,  kinds},
    {"Denied",          Only(callOpen),                  fail, EACCES,      3, oneFault,  kinds},
    {"ReadHalf",        Only(callRead),                  half, EIO,         3, oneFault,  kinds},
    {"DiskFull",        anyStorage,                      fail, ENOSPC,     10, oneFault,  kinds},
    {"DiskFullHalfway", anyRoom,                         half, ENOSPC,      5, oneFault,  kinds},
    {"OverQuota",       anyStorage,                      fail, EDQUOT,     10, oneFault,  {growth}},
    {"CannotReserve",   Only(callRoom),                  fail, EOPNOTSUPP,  1, noFailure, {growth}},
    {"NeverReserves",   Only(callRoom),                  fail, ENOSYS,      1, noFailure, {growth}},
    {"CannotSync",      Only(callSync),                  fail, EINVAL,      4, noFailure, {growth}},
    {"CannotLock",      Only(callLock),                  fail, ENOLCK,      1, noFailure, {growth}},
    {"Terminated",      everyCall,                       act,  SIGTERM,    50, noSpoilt,  {failedSave}},
    {"Interrupted",     everyCall,                       act,  SIGINT,     50, noSpoilt,  {growth}},
    {"HungUp",          everyCall,                       act,  SIGHUP,     50, noSpoilt,  {unregistration}},
    {"Quit",            everyCall,                       act,  SIGQUIT,    50, noSpoilt,  {unregistration}},
#ifdef FAULTS_OF_MEMORY
    {"Memory",          Only(callMemory),                fail, ENOMEM,    200, noSpoilt,  {growth, refusal, failedSave}},
#endif
};
// clang-format on

class FaultTest : public Installation, public testing::WithParamInterface<std::pair<Fault, Case>> {
protected:
    const Fault& m_fault = GetParam().first;
    const Case& m_case = GetParam().second;

    void Judge(const Outcome& outcome) const {
        const bool onwards = m_plan->onwards;
        const bool many = onwards || !m_case.failing.empty();
        const bool maySpoil = m_fault.promise == oneFault && many && !m_case.edited.empty();
        const std::string live = Check(m_case, outcome, LiveWasHidden(), maySpoil);
        EXPECT_TRUE(live == "new" || m_fault.promise != noFailure);
        EXPECT_TRUE(live != "old" || onwards || FileStatus::Of(m_live).Allocated() <= m_room);
        if (m_fault.promise == oneFault) {
            // A run that may have lost something does not claim success, nor a file put back if that itself is lost.
            const bool isLost = Did([&](const Step& step) { return IsLost(step); });
            const bool isLiveLost = Did([&](const Step& step) { return IsLost(step) && step.IsLive(); });
            EXPECT_TRUE(outcome.status != 0 || !isLost);
            EXPECT_FALSE(Claims(7945) && isLiveLost && many);
        }
        const bool mayRemoveCopy = m_case.earlierCopy.empty() || m_plan->FailsBy(EACCES);
        EXPECT_TRUE(mayRemoveCopy || std::filesystem::exists(m_copy));
    }

    /// True for a hit call without which something may not be on the disk.
    bool IsLost(const Step& step) const {
        // The directory of the copy has a "/" at its end where it is opened to be synchronised.
        const std::string_view path = step.path;
        const bool opensDirectory = step.IsPlainOpening() && path.find("backups/") != path.npos && path.ends_with('/');
        const bool mayStayClosed = m_plan->FailsBy(ENOENT) || m_plan->FailsBy(EACCES);
        return step.hit && (step.call == "fsync" || (opensDirectory && !mayStayClosed));
    }

    /// True when the file could not be opened for writing, or was said to be missing and nothing is claimed. A run that
    /// succeeds reads it through a stream.
    bool LiveWasHidden() const {
        return Did([&](const Step& step) {
            return step.hit && step.IsLive() && (step.IsPlainOpening() || (m_plan->FailsBy(ENOENT) && !Claims(7953)));
        });
    }
};

TEST_P(FaultTest, LosesNothing) {
    const auto judge = [&](const Outcome& outcome) { Judge(outcome); };
    const auto sendSignal = [&] { std::raise(m_fault.error); };
    for (const bool onwards : {false, true}) {
        if (!onwards || m_fault.effect != act) {
            ForEachCall(m_case, {m_fault.calls, m_fault.effect, m_fault.error, onwards, sendSignal}, judge,
                        m_fault.least);
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

using NeighbourTest = Installation;

// What holds beside other writers: a run that succeeds has made its edit to one whole version of the file, and one that
// fails leaves what the neighbour made. The copy and a neighbour's edit may be lost. What a neighbour does between the
// write and the cut is not judged.
TEST_F(NeighbourTest, LeavesAWholeFile) {
    const auto append = [&] { std::ofstream(m_live, std::ios::app) << "// more\n"; };
    const auto cut = [&] { std::filesystem::resize_file(m_live, 900); };
    for (const auto& neighbour : std::vector<std::function<void()>>{append, cut}) {
        const auto after = [&](const std::string& text) {
            WriteFile(m_live, text);
            neighbour();
            return ReadFile(m_live);
        };
        const std::string editedBefore = after(growth.edited);
        const std::string changed = after(growth.live);
        EXPECT_EQ(Run(growth).status, 0);
        const std::set<std::string> whole = {growth.edited, editedBefore, ReadFile(m_live)};
        ForEachCall(growth, {everyCall, act, 0, false, neighbour}, [&](const Outcome& outcome) {
            const bool success = outcome.status == 0;
            const std::string live = ReadFile(m_live);
            const bool midSave = Did([](const Step& step) { return step.hit && step.call == "ftruncate64"; });
            EXPECT_TRUE(midSave || (success ? whole.count(live) == 1 : live == changed)) << live;
        });
    }
}

// With passwords in it, a file that is made anew is for its owner only.
TEST_F(NeighbourTest, AVanishedFileComesBackPrivate) {
    const auto remove = [&] { std::filesystem::remove(m_live); };
    std::set<std::string> found;
    bool synchronised = false;
    ForEachCall(growth, {everyCall, act, 0, false, remove}, [&](const Outcome&) {
        if (std::filesystem::exists(m_live)) {
            EXPECT_TRUE(IsPrivate(m_live));
            found.insert(Live(growth));
            synchronised |= Did([&](const Step& step) { return step.call == "fsync" && step.path == m_dir / "agent"; });
        }
    });
    EXPECT_TRUE(synchronised);
    EXPECT_EQ(found, (std::set<std::string>{"new", "old"}));
}

// What changes before the restored bytes are synchronised is seen when they are read again.
TEST_F(NeighbourTest, ARestoreClaimsWhatItHasRead) {
    const auto append = [&] { std::ofstream(m_live, std::ios::app) << "// more\n"; };
    ForEachCall(failedSave, {everyCall, act, 0, false, append}, [&](const Outcome&) {
        const bool inTime = Did(
            [&](const Step& step) { return step.number >= m_plan->first && step.call == "fsync" && step.IsLive(); });
        EXPECT_TRUE(!inTime || !Claims(7945) || ReadFile(m_live) == ReadFile(m_copy));
    });
}

} // namespace
