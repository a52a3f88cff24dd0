#include "Mis/VError.h"
#include "PlugSetter/Guard.h"
#include "PlugSetter/Run.h"
#include "tests/support/TempDir.h"

#include <algorithm>
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

TEST(Leaks, AGuardFreesTheErrorThatItReplaces) {
    struct OtherError : VError {
        void LogShow(logopt*, VString) override {}
        VError* Clone() override { return new OtherError(*this); }
    };
    const auto guarded = [] {
        try {
            throw static_cast<VError*>(new OtherError);
        } catch (...) {
            throwAsError("label");
        }
    };
    const long before = liveBlocks;
    EXPECT_FALSE(err_attempt(guarded));
    EXPECT_EQ(liveBlocks, before);
}

TEST(Leaks, ARunGivesBackAllThatItTook) {
    const TempDir dir;
    const std::tuple<std::string, const char*, std::string, int> cases[] = {
        {"successful", "ORACLE", ReadFile(TEST_DATA "/global/Global.qxc"), 0},
        {"refused", "ORACLE", "No_such_key = 1", 1},
        {"wrong argument", "NO_PLUGIN", "", 1},
    };
    for (const auto& [name, plugin, configuration, status] : cases) {
        std::string words[] = {"PlugSetter", "-r", plugin, dir / "agent", dir / "backup", "install.xlog"};
        char* arguments[6];
        std::transform(std::begin(words), std::end(words), arguments, [](std::string& word) { return word.data(); });
        WriteFile(dir / "agent/Global.qxc", configuration);
        // Blocks in use and open files after each of two runs. The first also allocates what lives as long as the
        // process.
        std::pair<long, long> held[2];
        testing::internal::CaptureStdout();
        for (auto& [blocks, files] : held) {
            EXPECT_EQ(runPlugSetter(6, arguments), status) << name;
            blocks = liveBlocks;
            files = OpenFiles();
        }
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(held[0], held[1]) << name;
    }
}

} // namespace
