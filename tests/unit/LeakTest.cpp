#include "PlugSetter/Run.h"
#include "tests/support/Process.h"
#include "tests/support/TempDir.h"

#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

namespace {
long liveBlocks = 0;
} // namespace

// The other forms of new and delete call these. Were they inlined, the compiler would see free where it expects delete.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++liveBlocks;
    void* block = std::malloc(size);
    return block != nullptr ? block : throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
    liveBlocks -= block != nullptr ? 1 : 0;
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}

namespace {

/// Runs in this process. Returns: the blocks in use and the open files after that.
std::pair<long, long> HeldAfterRun(const std::string& configuration, const std::string& plugin, int status) {
    const CurrentTempDir scratch;
    WriteFile("agent/Global.qxc", configuration);
    std::vector<std::string> words = {"PlugSetter", "-r", plugin, "agent", "backup", "install.xlog"};
    testing::internal::CaptureStdout();
    EXPECT_EQ(runPlugSetter(6, Pointers(words).data()), status) << plugin << configuration;
    testing::internal::GetCapturedStdout();
    return {liveBlocks, OpenFiles()};
}

TEST(Leaks, ARunGivesBackAllThatItTook) {
    for (const auto& [configuration, plugin, status] : {std::tuple(ReadFile(TEST_DATA "/global/Global.qxc"), "SS", 0),
                                                        {"No_such_key = 1", "SS", 1},
                                                        {"", "NO_PLUGIN", 1}}) {
        // The first run also allocates what lives as long as the process.
        const auto held = HeldAfterRun(configuration, plugin, status);
        EXPECT_EQ(HeldAfterRun(configuration, plugin, status), held) << plugin << configuration;
    }
}

} // namespace
