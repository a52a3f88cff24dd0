// Disks that are really full, alone or with a neighbour that takes all room; limits of file sizes.

#include "Mis/Unix/WholeFile.h"
#include "tests/faults/Installation.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <set>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

constexpr long pageSize = 4096;

class DiskTest : public Installation {
protected:
    /// Lays the files and takes all room but this.
    void LayOnFullDisk(const Case& run, unsigned long freePages) {
        Lay(run);
        struct statvfs status = {};
        statvfs((m_dir / "").c_str(), &status);
        WriteFile(m_filler, std::string((status.f_bfree - freePages) * pageSize, '\n'));
    }

    /// Returns: true when the run under a plan has made its change. When it has not, it wrote nothing to the file and
    /// says why.
    bool IsDone(const Case& run, const Outcome& outcome, bool untouched = false) {
        if (outcome.status == 1 && !run.edited.empty()) {
            EXPECT_TRUE(Tells(4152, outcome)) << outcome.output;
        }
        if (outcome.status == 1 && run.failing.empty()) {
            EXPECT_FALSE(Did([](const Step& step) { return step.set == callWrite && step.IsLive(); }));
        }
        return Check(run, outcome, untouched) == "new";
    }
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
    // The run breaks the long line, which takes several pages.
    const std::string text = original + "Description = " + std::string(200000, 'x') + "\r\n";
    Case longGrowth = {"LongGrowth", "-r", "ORACLE", text, "", "an earlier copy"};
    Lay(longGrowth);
    EXPECT_EQ(Run(longGrowth).status, 0);
    longGrowth.edited = ReadFile(m_live);
    for (const Case& run : {growth, longGrowth, unregistration, refusal}) {
        for (const bool canReserve : {true, false}) {
            std::set<bool> seen;
            const unsigned long mostPages = run.live.size() / pageSize + 10;
            for (unsigned long freePages = 0; freePages <= mostPages; ++freePages) {
                SCOPED_TRACE(std::string(run.name) + " with free pages: " + std::to_string(freePages));
                LayOnFullDisk(run, freePages);
                const unsigned failing = canReserve ? 0 : Only(callRoom);
                seen.insert(IsDone(run, Run(run, {failing, Effect::fail, EOPNOTSUPP, true})));
            }
            EXPECT_EQ(seen.size(), run.edited.empty() ? 1U : 2U) << run;
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
        std::ofstream filler(m_filler, std::ios::app);
        while (filler << page << std::flush) {
        }
    };
    for (const Case& run : {growth, unregistration, refusal, failedSave}) {
        ForEachCall(run, {everyCall, Effect::act, 0, true, takeAll},
                    [&](const Outcome& outcome) { IsDone(run, outcome); });
    }
}

// The signal that comes with the limit has its default action, death. The limit does not hold for a pipe, on which the
// run says why it fails.
TEST_F(DiskTest, FileSizeLimits) {
    int pipe[2] = {-1, -1};
    ASSERT_EQ(pipe2(pipe, O_NONBLOCK), 0);
    const auto least = growth.live.size();
    const auto enough = growth.edited.size();
    const auto step = [&](rlim_t limit) { return limit + 1 < least ? std::min<rlim_t>(512, least - 1 - limit) : 1; };
    for (rlim_t limit = 0; limit <= enough; limit += step(limit)) {
        SCOPED_TRACE(limit);
        const auto setLimit = [&] {
            const rlimit limited = {limit, limit};
            setrlimit(RLIMIT_FSIZE, &limited);
            dup2(pipe[1], STDERR_FILENO);
        };
        Lay(growth);
        Outcome outcome = Run(growth, {everyCall, Effect::act, 0, false, setLimit});
        char words[8192];
        const ssize_t count = read(pipe[0], words, sizeof words);
        outcome.output.append(words, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        EXPECT_EQ(IsDone(growth, outcome, limit < enough), limit == enough);
        EXPECT_EQ(outcome.status, limit >= least ? 0 : 1);
        EXPECT_EQ(Tells(7953, outcome) && Tells(7960, outcome) && HasWholeCopy(growth), limit >= least);
    }
    close(pipe[0]);
    close(pipe[1]);
}

} // namespace
