// Disks that are really full, alone or with a neighbour that takes all room; limits of file sizes.

#include "Mis/Unix/WholeFile.h"
#include "tests/faults/Installation.h"

#include <climits>
#include <set>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

constexpr long pageSize = 4096;

/// The copy is there already, so that all room is for saving.
const Case growthAgain = {"GrowthAgain", "-r", "ORACLE", growth.live, growth.edited, growth.live + "#"};

/// A text of which a run breaks a line.
std::string WithLongLine(std::string text, std::size_t length) {
    const std::string key = "Description = ";
    return text.insert(text.find(key) + key.size(), length, 'x');
}

class DiskTest : public Installation {
protected:
    /// Lays the files and takes all room but this.
    void LayOnFullDisk(const Case& run, unsigned long freePages) const {
        std::filesystem::remove(m_filler);
        Lay(run);
        struct statvfs status = {};
        statvfs((m_dir / "").c_str(), &status);
        WriteFile(m_filler, std::string((status.f_bfree - freePages) * pageSize, '\n'));
    }

    /// Returns: true when the run under a plan has made its change. When it has not, it wrote nothing to the file, and
    /// the log, if it has room, says why.
    bool IsDone(const Case& run, const Outcome& outcome, bool untouched = false) {
        const bool needsReason = outcome.status == 1 && !run.edited.empty() && Claims(7962);
        EXPECT_TRUE(!needsReason || Claims(4152)) << ReadFile(m_log);
        const bool wrote = Did([](const Step& step) { return step.call == "write" && step.IsLive(); });
        EXPECT_TRUE(outcome.status == 0 || !wrote || *run.failing != '\0') << CallsAndLog();
        return Check(run, outcome, untouched) == "new";
    }

    /// Sets the new bytes to those of a run without a fault.
    Case WithEdit(Case run) const {
        Lay(run);
        EXPECT_EQ(Run(run).status, 0);
        run.edited = ReadFile(m_live);
        EXPECT_NE(run.edited, run.live);
        return run;
    }

    const std::string m_filler = m_dir / "filler";
};

class FullDiskTest : public DiskTest {
protected:
    void SetUp() override {
        if (!m_mounted || sysconf(_SC_PAGESIZE) != pageSize) {
            GTEST_SKIP() << "no file system with such pages can be mounted here";
        }
    }
};

TEST_F(FullDiskTest, FreePages) {
    const std::string text = WithLongLine(original, 60000);
    const Case longGrowth = WithEdit({"LongGrowth", "-r", "ORACLE", text, "", text + "#"});
    for (const Case& run : {growth, growthAgain, longGrowth, unregistration, refusal}) {
        for (const bool canReserve : {true, false}) {
            std::set<bool> seen;
            for (unsigned long freePages = 0; freePages <= 8; ++freePages) {
                SCOPED_TRACE(freePages);
                LayOnFullDisk(run, freePages);
                const long last = canReserve ? 0 : LONG_MAX;
                seen.insert(IsDone(run, Run(run, {Only(callRoom), 1, last, Effect::fail, EOPNOTSUPP})));
            }
            EXPECT_EQ(seen.size(), run.edited.size() > run.live.size() ? 2U : 1U) << run;
        }
    }
    LayOnFullDisk(growth, 0);
    EXPECT_EQ(sys_writeFile(m_dir / "agent/made", growth.live), 0);
    EXPECT_FALSE(std::filesystem::exists(m_dir / "agent/made")) << "made for nothing";
}

// From each call on, the neighbour takes all room before every call.
TEST_F(FullDiskTest, NeighbourTakesAllRoom) {
    const auto takeAll = [&] {
        const std::string page(pageSize, '\n');
        const int file = open(m_filler.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        while (write(file, page.data(), page.size()) > 0) {
        }
        close(file);
    };
    for (const Case& run : {growth, growthAgain, unregistration, refusal, failedSave}) {
        Plan plan = {everyCall, 0, LONG_MAX, Effect::act, 0, takeAll};
        do {
            ++plan.first;
            std::filesystem::remove(m_filler);
            Lay(run);
            IsDone(run, Run(run, plan));
        } while (m_plan->injected > 0);
        EXPECT_GT(plan.first, 50);
    }
}

TEST_F(DiskTest, FullDevices) {
    for (const std::string& full : {m_log, m_copy}) {
        Lay(registration);
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
    for (rlim_t limit = least; limit <= enough; limit += limit < least + 9 || limit > enough - 20 ? 1 : 9) {
        limits.insert(limit);
    }
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    for (const rlim_t limit : limits) {
        SCOPED_TRACE(limit);
        Lay(growth);
        const rlimit limited = {limit, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
        const Outcome outcome = Run(growth);
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(IsDone(growth, outcome, limit < enough), limit == enough);
        EXPECT_EQ(outcome.status, limit >= least ? 0 : 1);
    }
}

} // namespace
