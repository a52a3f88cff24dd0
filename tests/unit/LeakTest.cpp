#include "PlugSetter/Run.h"
#include "tests/support/Process.h"
#include "tests/support/Records.h"
#include "tests/support/ScratchTest.h"

#include <cstdlib>
#include <new>

#include <gmock/gmock.h>

namespace {
long liveBlocks = 0;
long blocksUntilFailure = 0; ///< the allocation that fails, counted from now; 0 for none
} // namespace

// The other forms of new and delete call these. Were they inlined, the compiler would see free where it expects delete.
[[gnu::noinline]] void* operator new(std::size_t size) {
    void* block = blocksUntilFailure > 0 && --blocksUntilFailure == 0 ? nullptr : std::malloc(size);
    liveBlocks += block != nullptr ? 1 : 0;
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

class Leaks : public ScratchTest {
protected:
    /// Runs in this process, which is refused one block. Returns: the exit status.
    int Run(const std::string& plugin, long refusedBlock = 0) {
        std::vector<std::string> words = {"PlugSetter", "-r", plugin, "agent", "the directory of copies", "log"};
        std::vector<char*> arguments = Pointers(words);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const long before = liveBlocks;
        blocksUntilFailure = refusedBlock;
        const int status = runPlugSetter(6, arguments.data());
        wasRefused = refusedBlock > 0 && blocksUntilFailure == 0;
        blocksUntilFailure = 0;
        lostBlocks = liveBlocks - before;
        testing::internal::GetCapturedStderr();
        testing::internal::GetCapturedStdout();
        return status;
    }

    long lostBlocks = 0;
    bool wasRefused = false;
};

// A run without a configuration needs little memory. Each of its blocks is refused in turn.
TEST_F(Leaks, WantOfMemoryIsReported) {
    Run("SS");
    int reported = 0;
    long block = 0;
    do {
        std::filesystem::remove("agent/log");
        const int status = Run("SS", ++block);
        EXPECT_EQ(lostBlocks, 0) << "without block " << block;
        const std::vector<std::string> log = Records(ReadFile("agent/log"));
        if (log.size() == 5 && log[1] == "UTIL 7958 E") {
            EXPECT_THAT(log, testing::ElementsAre(testing::_, testing::_, "UTIL 7945 I", "UTIL 7961 F",
                                                  testing::StartsWith("UTIL 7962 I [ \"-r\" \"SS\"")));
            EXPECT_EQ(status, 1) << "without block " << block;
            ++reported;
        }
    } while (wasRefused);
    EXPECT_GT(reported, 0) << "UTIL 7958 in no log";
}

} // namespace
