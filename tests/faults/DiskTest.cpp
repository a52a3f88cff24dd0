// Disks that are really full, alone or with a neighbour that takes every page that is given back; limits of file sizes.

#include "tests/faults/Installation.h"

#include <climits>
#include <csignal>
#include <iostream>
#include <map>
#include <random>
#include <set>

#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/wait.h>

namespace {

constexpr long pageSize = 4096;

class DiskTest : public Installation {
protected:
    ~DiskTest() override {
        for (const auto& [kind, count] : m_tally) {
            std::cout << count << " x " << kind << "\n";
        }
    }

    /// Lays the files and takes all room but this.
    void Lay(const Case& run, unsigned long freePages) const {
        std::filesystem::remove(m_filler);
        Installation::Lay(run);
        struct statvfs status = {};
        statvfs((m_dir / "").c_str(), &status);
        WriteFile(m_filler, std::string((status.f_bfree - freePages) * pageSize, '\n'));
    }

    /// Returns: true when the run has made its change. When it has not, and the log has room, that says why.
    bool Check(const Case& run, const Outcome& outcome, bool untouched) {
        const bool lacksReason = outcome.status == 1 && !run.edited.empty() && Claims(7962) && !Claims(4152);
        Expect(run,
               Lies(run, outcome, untouched) + (Live(run) == "other" ? "; the file is spoilt" : "") +
                   (lacksReason ? "; no reason is given" : ""),
               outcome);
        ++m_tally[run.name + (", " + Kind(run, outcome))];
        return Live(run) == "new";
    }

    /// A neighbour that appends without end from a while after now. Ends with its owner.
    class Neighbour {
    public:
        Neighbour(const std::string& path, useconds_t delay) : m_process(fork()) {
            if (m_process == 0) {
                const std::string page(pageSize, '\n');
                const int file = open(path.c_str(), O_WRONLY | O_APPEND);
                usleep(delay);
                for (;;) {
                    static_cast<void>(write(file, page.data(), page.size()) + 1);
                }
            }
        }
        Neighbour(const Neighbour&) = delete;
        Neighbour& operator=(const Neighbour&) = delete;
        ~Neighbour() {
            kill(m_process, SIGKILL);
            waitpid(m_process, nullptr, 0);
        }

    private:
        pid_t m_process;
    };

    const std::string m_filler = m_dir / "filler";
    std::map<std::string, int> m_tally;
};

#define MOUNT_OR_SKIP()                                                                                                \
    if (!Mount()) {                                                                                                    \
        GTEST_SKIP() << "no file system can be mounted here";                                                          \
    }

constexpr unsigned long plenty = 60;

/// The copy is there already, so that the room is for saving.
const Case growthAgain = {"GrowthAgain", "-r",          "ORACLE",
                          growth.live,   growth.edited, std::string(growth.live.size(), '#')};
const Case longGrowth = {
    "LongGrowth", "-r", "ORACLE", WithLongLine(original, 60000), "", WithLongLine(original, 60000)};
const Case kinds[] = {growth, growthAgain, unregistration, refusal};

TEST_F(DiskTest, FreePages) {
    MOUNT_OR_SKIP();
    const Case shortAndLong[] = {growth, growthAgain, unregistration, refusal, WithEdit(longGrowth)};
    for (const Case& run : shortAndLong) {
        for (const long canReserve : {true, false}) {
            std::set<bool> seen;
            for (unsigned long freePages = 0; freePages <= 8; ++freePages) {
                SCOPED_TRACE(freePages);
                Lay(run, freePages);
                const Plan plan = {Only(callReserve), 1, canReserve ? 0 : LONG_MAX, Effect::fail, EOPNOTSUPP};
                seen.insert(Check(run, Run(run, plan), false));
            }
            EXPECT_EQ(seen.size(), run.edited.size() > run.live.size() ? 2U : 1U) << run;
        }
    }
}

TEST_F(DiskTest, NeighbourTakesAllBeforeACall) {
    MOUNT_OR_SKIP();
    for (const Case& run : kinds) {
        for (const bool onwards : {false, true}) {
            Plan plan = {everyCall, 0, 0, Effect::fill, 0};
            m_filler.copy(plan.command, sizeof plan.command - 1);
            do {
                ++plan.first;
                plan.last = onwards ? LONG_MAX : plan.first;
                Lay(run, plenty);
                Check(run, Run(run, plan), false);
            } while (m_plan->injected > 0);
            EXPECT_GT(plan.first, 28);
        }
    }
}

TEST_F(DiskTest, NeighbourAppendsWithoutEnd) {
    MOUNT_OR_SKIP();
    std::mt19937 random(1);
    std::uniform_int_distribution<useconds_t> delay(0, 3000);
    for (const Case& run : kinds) {
        for (long i = Setting("FAULT_NEIGHBOURS", 36); i > 0; --i) {
            Lay(run, static_cast<unsigned long>(i % 9));
            const Neighbour neighbour(m_filler, delay(random));
            Check(run, Run(run), false);
        }
    }
}

TEST_F(DiskTest, FullDevices) {
    for (const std::string& full : {m_log, m_copy}) {
        Installation::Lay(registration);
        std::filesystem::create_directories(std::filesystem::path(full).parent_path());
        std::filesystem::create_symlink("/dev/full", full);
        const Outcome outcome = Run(registration);
        std::filesystem::remove(full);
        EXPECT_EQ(outcome.status, full == m_log ? 0 : 1);
        EXPECT_EQ(Live(registration), full == m_log ? "new" : "old");
        EXPECT_EQ(Claims(4152), full == m_copy);
    }
}

// The signal that comes with the limit has its default action, death.
TEST_F(DiskTest, FileSizeLimits) {
    const auto least = growth.live.size();
    const auto enough = growth.edited.size();
    std::set<rlim_t> limits = {0, 1, 512, least - 1};
    for (rlim_t limit = least; limit <= enough; ++limit) {
        limits.insert(limit);
    }
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    for (const rlim_t limit : limits) {
        SCOPED_TRACE(limit);
        Installation::Lay(growth);
        const rlimit limited = {limit, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
        const Outcome outcome = Run(growth);
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(Check(growth, outcome, limit < enough), limit == enough);
        EXPECT_EQ(outcome.status, limit >= least ? 0 : 1);
    }
}

} // namespace
