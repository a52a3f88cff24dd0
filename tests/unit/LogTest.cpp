#include "Mis/Log.h"
#include "MessageLIB/Message.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>
#include <utime.h>

namespace {

using namespace I18NMessage;
using testing::ElementsAre;

const std::string version = "AGNT 4314 I [6.71.2105 Apr 27 2010 12:06:01]";

class LogTest : public testing::Test {
protected:
    ~LogTest() override {
        batutil_LogClose();
        lastLogPath = lastLogName = "";
    }
    bool Open(const char* name, int mode, bool numbered) const {
        return batutil_LogOpen((m_dir / "").c_str(), name, mode, numbered);
    }
    std::vector<std::string> Lines(const char* name) const { return Records(ReadFile(m_dir / name)); }
    const TempDir m_dir;
};

TEST_F(LogTest, EachFileBeginsWithTheVersion) {
    EXPECT_TRUE(Open("log", 1, false) && !Open("no/log", 1, false));
    Message::LogMsg(1, "UTIL", SeverityError);
    batutil_LogClose();
    Message::LogMsg(2, "UTIL", SeverityError);
    EXPECT_TRUE(logfp == nullptr && g_logopt.block == nullptr && !Logger::s_loggingEnabled && !bAtLeastOneOpen);
    EXPECT_TRUE(Open("log", 0, false));
    EXPECT_THAT(Lines("log"), ElementsAre(version, "UTIL 1 E", version));
    batutil_LogClose();
    EXPECT_TRUE(Open("log", 1, false));
    EXPECT_THAT(Lines("log"), ElementsAre(version));
}

TEST_F(LogTest, ANumberedLogGoesOnAboveTheLimit) {
    EXPECT_TRUE(Open("log", 1, true));
    std::string fill(32768 - ReadFile(m_dir / "log-1.XLOG").size() - 13, 'x');
    gui_show(0, fill.data());
    EXPECT_THAT(Lines("log-1.XLOG").back(), testing::MatchesRegex("\\?[A-Z][a-z]{2}[0-9]{2} [0-9]{2}:[0-9]{2} x+"));
    EXPECT_EQ(currLogFileNo, 0) << "exactly at the limit";
    gui_show(0, fill.data());
    EXPECT_EQ(currLogFileNo, 1);
    EXPECT_THAT(Lines("log-2.XLOG"), ElementsAre(version));
}

TEST_F(LogTest, ChoosesAmongTheNumberedFiles) {
    constexpr int limit = 32768;
    constexpr int full = limit + 1;
    constexpr std::pair<int, int> none = {0, 0};
    // clang-format off
    const struct { std::pair<int, int> sizeAndAge[4]; std::size_t chosen; bool recycled; } cases[] = {
        {{none, none, none, none}, 0, false},             {{{full, 90}, {limit, 50}, {full, 70}, none}, 1, false},
        {{{full, 50}, {9, 50}, none, none}, 2, false},    {{none, {full, 50}, none, {9, 90}}, 2, false},
        {{none, {9, 90}, {9, 80}, {full, 50}}, 0, false}, {{{full, 70}, {9, 90}, {full, 90}, {full, 50}}, 1, true},
    };
    // clang-format on
    for (const auto& [files, chosen, recycled] : cases) {
        const TempDir dir;
        std::vector<std::string> paths;
        for (const auto& [size, age] : files) {
            paths.push_back(dir / ("log-" + std::to_string(paths.size() + 1) + ".XLOG"));
            const utimbuf times = {0, std::time(nullptr) - age};
            size > 0 ? WriteFile(paths.back(), std::string(static_cast<std::size_t>(size), 'x')) : void();
            utime(paths.back().c_str(), &times);
        }
        EXPECT_EQ(batutil_GetNextFilename(dir / "", "log"), paths[chosen]);
        EXPECT_EQ(std::filesystem::exists(paths[chosen]), files[chosen] != none && !recycled) << paths[chosen];
    }
}

TEST_F(LogTest, AFailedWriteIsShownOnce) {
    Open("log", 1, false);
    logblk block = {std::fopen("/dev/full", "w"), 0, 0, 1, "/dev/full"};
    std::setvbuf(block.fp, nullptr, _IONBF, 0);
    logopt options = {0, nullptr, false, &block};
    std::string line = "line\n";
    EXPECT_EQ(I18N_log_show(&line, &options, 'I') + I18N_log_show(&line, &options, 'I'), 0);
    EXPECT_THAT(Lines("log"), ElementsAre(version, "LOGS 56 E [/dev/full]", "LOGS 56 E [/dev/full]"));
    std::fclose(block.fp);
}

} // namespace
