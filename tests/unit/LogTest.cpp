#include "Mis/Log.h"
#include "MessageLIB/Message.h"
#include "Mis/VError.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <utility>

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
    EXPECT_TRUE(Open("log", 1, false));
    EXPECT_FALSE(Open("no/log", 1, false));
    Message::LogMsg(1, "UTIL", SeverityError);
    batutil_LogClose();
    Message::LogMsg(2, "UTIL", SeverityError);
    EXPECT_EQ(logfp, nullptr);
    EXPECT_EQ(g_logopt.block, nullptr);
    Open("log", 0, false);
    EXPECT_THAT(Lines("log"), ElementsAre(version, "UTIL 1 E", version));
    batutil_LogClose();
    Open("log", 1, false);
    EXPECT_THAT(Lines("log"), ElementsAre(version));
}

TEST_F(LogTest, ASecondOpenKeepsTheFirstBlock) {
    Open("first", 1, false);
    logopt first = g_logopt;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(logfp, std::fclose);
    Open("second", 1, false);
    VI18NError(60, 1).LogShow(&first, "");
    EXPECT_THAT(Lines("first"), ElementsAre(version, "UTIL 1 E"));
}

/// Logs from a destructor when the process ends.
struct LateRecord {
    bool armed = false;
    ~LateRecord() { armed ? Message::LogMsg(3, "UTIL", SeverityError) : void(); }
} lateRecord;

TEST_F(LogTest, ARecordFromADestructorOfAStaticObjectIsWritten) {
    Open("log", 1, false);
    const std::string origin(100, 'o');
    EXPECT_EXIT((lateRecord.armed = true, Message::s_defaultOrigin = origin, std::exit(0)), testing::ExitedWithCode(0),
                "");
    EXPECT_THAT(ReadFile(m_dir / "log"), testing::HasSubstr("<M ID=\"3\" O=\"" + origin + "\" C=\"UTIL\""));
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

TEST_F(LogTest, ALogIsNumberedUnlessItWasOpenedPlain) {
    std::string line(40000, 'x');
    Open("plain", 1, false);
    lastLogPath = m_dir / "";
    lastLogName = "log";
    gui_show(0, line.data());
    EXPECT_THAT(Lines("log-1.XLOG"), ElementsAre());
    batutil_LogClose();
    logfp = std::fopen((m_dir / "by hand").c_str(), "w");
    gui_show(0, line.data());
    EXPECT_THAT(Lines("log-1.XLOG"), ElementsAre(version));
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
    nLogFiles = 0;
    EXPECT_EQ(batutil_GetNextFilename(m_dir / "", "log"), m_dir / "log-1.XLOG") << "a ring has at least one file";
    nLogFiles = 4;
}

TEST_F(LogTest, LinesGoWhereTheOptionsSay) {
    logblk block = {std::fopen((m_dir / "block").c_str(), "w"), 0, 0, 1, "block"};
    constexpr std::size_t length = 1023;
    constexpr std::size_t shown = sizeof "Nov13 02:31 " + length;
    // clang-format off
    const struct { const char* name; logopt options; std::size_t output, inBlock; } cases[] = {
        {"console", {0, nullptr, true,  &block},  shown, 0},      {"neither", {0, nullptr, false, nullptr}, shown, 0},
        {"block",   {0, nullptr, false, &block},  0,     length}, {"nowhere", {1, nullptr, false, nullptr}, 0,     0},
        {"cut",     {0, "agent", false, &block},  0,     1022},
    };
    // clang-format on
    for (const auto& [name, options, output, inBlock] : cases) {
        std::string line(length, 'x');
        const auto before = std::filesystem::file_size(m_dir / "block");
        testing::internal::CaptureStdout();
        EXPECT_EQ(I18N_log_show(&line, &options, 'I'), 1) << name;
        EXPECT_EQ(testing::internal::GetCapturedStdout().size(), output) << name;
        EXPECT_EQ(std::filesystem::file_size(m_dir / "block") - before, inBlock) << name;
    }
    std::fclose(block.fp);
}

TEST_F(LogTest, LinesAreFlushedByCountAndByAge) {
    logblk block = {std::fopen((m_dir / "block").c_str(), "w"), 0, 0, 0, "block"};
    const logopt options = {0, nullptr, false, &block};
    std::string flushed;
    std::string text = "x";
    for (int line = 1; line <= 410; ++line) {
        const auto before = std::filesystem::file_size(m_dir / "block");
        block.lastFlush = getTicks() - (line == 70 ? 5001 : 0);
        I18N_log_show(&text, &options, 'I');
        const bool grown = std::filesystem::file_size(m_dir / "block") > before;
        flushed += grown && line > 48 ? std::to_string(line) + ' ' : "";
    }
    EXPECT_EQ(flushed, "49 50 70 200 400 ");
    std::fclose(block.fp);
}

TEST_F(LogTest, StatisticsCountFourSeveritiesOnRequest) {
    for (const unsigned counting : {0U, 1U}) {
        g_ErrStart = counting == 1;
        for (const char letter : {'D', 'I', 'W', 'W', 'E', 'E', 'E', 'F', 'F', 'F', 'F', 'S'}) {
            UpdateLogStatistics(letter);
        }
        const auto [errors, fatals, informational, warnings] = std::exchange(g_logStatistics, {});
        EXPECT_THAT((std::array{informational, warnings, errors, fatals}),
                    ElementsAre(counting, 2 * counting, 3 * counting, 4 * counting));
    }
    g_ErrStart = false;
}

TEST_F(LogTest, StampsFollowTheTimeZone) {
    char stamps[2][16];
    for (const int east : {0, 1}) {
        setenv("TZ", east == 1 ? "XXX-11" : "UTC0", 1);
        EXPECT_EQ(log_gettimestamp(stamps[east]), 12);
    }
    unsetenv("TZ");
    EXPECT_STRNE(stamps[0], stamps[1]);
}

TEST_F(LogTest, AFailedWriteIsShownOnce) {
    Open("log", 1, false);
    logblk block = {std::fopen("/dev/full", "w"), 0, 0, 1, "/dev/full"};
    std::setvbuf(block.fp, nullptr, _IONBF, 0);
    logopt options = {0, nullptr, false, &block};
    std::string line = "line\n";
    EXPECT_EQ(I18N_log_show(&line, &options, 'I'), 0);
    EXPECT_EQ(I18N_log_show(&line, &options, 'I'), 0);
    EXPECT_THAT(Lines("log"), ElementsAre(version, "LOGS 56 E [/dev/full]", "LOGS 56 E [/dev/full]"));
    std::fclose(block.fp);
}

} // namespace
