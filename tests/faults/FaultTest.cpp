// Each outside call in turn fails, or a signal comes before it, until a run is not hit any more.

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
    int error;
    long least; ///< calls that every run makes
    Promise promise;
    std::vector<Case> cases;

    friend std::ostream& operator<<(std::ostream& out, const Fault& fault) { return out << fault.name; }
};

const std::vector<Case> kinds = {growth, unregistration, refusal, failedSave};
const std::vector<Case> kindsAndNoCopy = {growth, unregistration, refusal, failedSave, noCopy, itself};

constexpr unsigned anyOpening = Only(callOpen) | Only(callOpenToWrite);
constexpr unsigned anyRoom = Only(callWrite) | Only(callRoom);
constexpr unsigned anyStorage = anyRoom | anyOpening | Only(callSync);

using enum Effect;
using enum Promise;

// clang-format off
const Fault faults[] = {
    {"AnyCall",         everyCall,                   fail, EIO,        50, oneFault,  kindsAndNoCopy},
    {"Missing",         anyOpening | Only(callStat), fail, ENOENT,     20, oneFault,  kinds},
    {"Denied",          anyOpening,                  fail, EACCES,      3, oneFault,  kinds},
    {"ReadHalf",        Only(callRead),              half, EIO,         3, oneFault,  kinds},
    {"DiskFull",        anyStorage,                  fail, ENOSPC,     10, oneFault,  kinds},
    {"DiskFullHalfway", anyRoom,                     half, ENOSPC,      5, oneFault,  kinds},
    {"OverQuota",       anyStorage,                  fail, EDQUOT,     10, oneFault,  {growth}},
    {"ShortWrites",     Only(callWrite),             less, 0,           5, noFailure, {growth, unregistration}},
    {"ShortReads",      Only(callRead),              less, 0,           3, noFailure, {growth}},
    {"CannotReserve",   Only(callRoom),              fail, EOPNOTSUPP,  1, noFailure, {growth}},
    {"NeverReserves",   Only(callRoom),              fail, ENOSYS,      1, noFailure, {growth}},
    {"ReservesInvalid", Only(callRoom),              fail, EINVAL,      1, noFailure, {growth}},
    {"ReservesDenied",  Only(callRoom),              fail, EPERM,       1, noFailure, {growth}},
    {"ReservesClosed",  Only(callRoom),              fail, EACCES,      1, noFailure, {growth}},
    {"CannotSync",      Only(callSync),              fail, EINVAL,      4, noFailure, {growth}},
    {"CannotLock",      Only(callLock),              fail, ENOLCK,      1, noFailure, {growth}},
    {"AnySignal",       everyCall,                   act,  0,          50, noSpoilt,  {growth, unregistration, failedSave}},
#ifdef FAULTS_OF_MEMORY
    {"Memory",          Only(callMemory),            fail, ENOMEM,    200, noSpoilt,  {growth, refusal, failedSave}},
#endif
};
// clang-format on

/// All that end a process, but for SIGKILL and those of its own faults.
void SendAllSignals() {
    std::vector<int> signals = {SIGTERM, SIGHUP,  SIGINT,    SIGQUIT, SIGPIPE,   SIGALRM, SIGUSR1, SIGUSR2,
                                SIGPOLL, SIGPROF, SIGVTALRM, SIGXCPU, SIGSTKFLT, SIGPWR,  SIGXFSZ};
    for (int number = SIGRTMIN; number <= SIGRTMAX; ++number) {
        signals.push_back(number);
    }
    for (const int number : signals) {
        std::raise(number);
    }
}

class FaultTest : public Installation, public testing::WithParamInterface<std::pair<Fault, Case>> {
protected:
    const Fault& m_fault = GetParam().first;
    const Case& m_case = GetParam().second;

    void Judge(const Outcome& outcome) const {
        const bool onwards = m_plan->onwards;
        const bool many = onwards || !m_case.failing.empty();
        const bool maySpoil = m_fault.promise == oneFault && many && !m_case.edited.empty();
        const std::string live = Check(m_case, outcome, LiveStaysClosed(), maySpoil);
        if (m_fault.promise == noFailure) {
            EXPECT_EQ(live, "new");
            EXPECT_EQ(outcome.status, 0);
        }
        if (live == "old" && !onwards) {
            EXPECT_LE(FileStatus::Of(m_live).Allocated(), m_room) << "keeps what it reserved";
        }
        if (m_fault.promise == oneFault && outcome.status == 0) {
            EXPECT_FALSE(MayBeLost()) << "claims what may not be on the disk";
        }
        if (m_fault.promise == oneFault && LastSynchronisingFailed()) {
            EXPECT_FALSE(Tells(7945, outcome)) << "claims that it was put back";
        }
        if (m_fault.calls == Only(callMemory) && m_case.failing.empty()) {
            EXPECT_EQ(live, outcome.status == 0 ? "new" : "old");
        }
        if (m_fault.effect == act) {
            const std::size_t hit = First([](const Step& step) { return step.hit; });
            EXPECT_EQ(outcome.status < 0, hit < First(&Step::OpensLiveToWrite)) << "only the save is not interrupted";
        }
        if (m_fault.calls == anyRoom && outcome.status == 0) {
            EXPECT_TRUE(Tells(4314, outcome) && Tells(7953, outcome) && Tells(7960, outcome)) << "a record is lost";
        }
    }

    /// True when something may not be on the disk: synchronising failed, or the opening of a directory that was not
    /// synchronised afterwards.
    bool MayBeLost() const {
        const bool mayStayClosed = m_plan->FailsBy(ENOENT) || m_plan->FailsBy(EACCES);
        const auto isLost = [&](const Step& step) {
            std::string_view directory = step.path;
            directory.remove_suffix(directory.ends_with('/') ? 1 : 0);
            const bool isOpening =
                step.set == callOpen && directory.find("backups") != directory.npos && !directory.ends_with(".qxc");
            const auto savesIt = [&](const Step& later) {
                return !later.hit && later.set == callSync && std::string_view(later.path).ends_with(directory);
            };
            return step.hit && (step.set == callSync || (isOpening && !mayStayClosed && !Did(savesIt)));
        };
        return Did(isLost);
    }

    bool LastSynchronisingFailed() const {
        bool failed = false;
        for (const Step& step : m_plan->Steps()) {
            failed = step.set == callSync && step.IsLive() ? step.hit : failed;
        }
        return failed;
    }

    /// True when the file was denied to the save, or was said to be missing and nothing is claimed.
    bool LiveStaysClosed() const {
        return Did([&](const Step& step) {
            const bool isDenied = step.OpensLiveToWrite() && m_plan->FailsBy(EACCES);
            const bool isMissing = step.IsLive() && m_plan->FailsBy(ENOENT) && !Claims(7953);
            return step.hit && (isDenied || isMissing);
        });
    }
};

TEST_P(FaultTest, LosesNothing) {
    const auto judge = [&](const Outcome& outcome) { Judge(outcome); };
    for (const bool onwards : {false, true}) {
        if (!onwards || m_fault.effect != act) {
            ForEachCall(m_case, {m_fault.calls, m_fault.effect, m_fault.error, onwards, SendAllSignals}, judge,
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

/// What comes of one call that fails.
struct Failure {
    const char* name;
    Call set;
    std::string_view call; ///< how its name begins
    std::string_view path; ///< how its path ends
    int error;
    bool hasCopy;
    int status;
    std::vector<int> records; ///< besides the version and the last ones
};

constexpr std::string_view file = "agent/Global.qxc";
constexpr std::string_view copy = "Global.qxc.new";

// clang-format off
const Failure failures[] = {
    {"NotOpened",         callOpen,        "",      file, EIO,         false, 1, {4144, 7945}},
    {"CopyNotMade",       callOpenToWrite, "",      copy, ENOSPC,      false, 1, {4145, 7945}},
    {"CopyNotWritten",    callWrite,       "",      copy, ENOSPC,      false, 1, {4152, 7945}},
    {"CopyNotOnDisk",     callSync,        "",      copy, EIO,         false, 1, {7947, 7945}},
    {"NotReadForTheCopy", callRead,        "read",  file, EIO,         false, 1, {7947, 7945}},
    {"NotRead",           callRead,        "pread", file, EIO,         true,  1, {7948, 7945}},
    {"Leased",            callOpenToWrite, "",      file, EWOULDBLOCK, true,  0, {7953, 7960}}, // another opening waits
    {"Denied",            callOpenToWrite, "",      file, EACCES,      true,  0, {7953, 7960}},
    {"NotPermitted",      callOpenToWrite, "",      file, EPERM,       true,  0, {7953, 7960}},
    {"ReadOnly",          callOpenToWrite, "",      file, EROFS,       true,  0, {7953, 7960}},
    {"Missing",           callOpenToWrite, "",      file, ENOENT,      true,  1, {7947}},
    {"NoDirectory",       callOpenToWrite, "",      file, ENOTDIR,     true,  1, {7947}},
    {"Link",              callOpenToWrite, "",      file, ELOOP,       true,  1, {7947}},
    {"NoReader",          callOpenToWrite, "",      file, ENXIO,       true,  1, {7947}},
    {"Directory",         callOpenToWrite, "",      file, EISDIR,      true,  1, {7947}},
    {"TooManyFiles",      callOpenToWrite, "",      file, EMFILE,      true,  1, {4152, 7945}},
    {"BadDisk",           callOpenToWrite, "",      file, EIO,         true,  1, {4152, 7945}},
    {"NoRoom",            callRoom,        "",      file, ENOSPC,      true,  1, {4152, 7945}},
    {"NotWritten",        callWrite,       "",      file, EIO,         true,  1, {4152, 7945}},
    {"NotOnDisk",         callSync,        "",      file, EIO,         true,  1, {4152, 7945}},
};
// clang-format on

using FailureTest = Installation;

TEST_F(FailureTest, HasItsRecordsAndFiles) {
    for (const Failure& failure : failures) {
        SCOPED_TRACE(failure.name);
        int hits = 0;
        const auto isIt = [&](const Step& step) {
            const std::string_view path = step.path;
            return step.hit && step.call.starts_with(failure.call) && path.ends_with(failure.path);
        };
        ForEachCall(
            growth, {Only(failure.set), fail, failure.error},
            [&](const Outcome& outcome) {
                if (Did(isIt)) {
                    ++hits;
                    EXPECT_EQ(outcome.status, failure.status);
                    EXPECT_EQ(Live(growth), failure.error == EWOULDBLOCK ? "new" : "old");
                    EXPECT_EQ(HasWholeCopy(growth), failure.hasCopy);
                    for (const int record : failure.records) {
                        EXPECT_TRUE(Claims(record)) << record;
                    }
                }
            },
            0);
        EXPECT_GT(hits, 0);
    }
}

} // namespace
