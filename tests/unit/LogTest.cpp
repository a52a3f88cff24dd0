#include "Mis/Log.h"

#include "Mis/VError.h"
#include "tests/support/Records.h"
#include "tests/support/ScratchTest.h"
#include "tests/support/Thrown.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include <gmock/gmock.h>
#include <sys/resource.h>

namespace {

namespace fs = std::filesystem;
using namespace I18NMessage;
using testing::ElementsAre;

const std::string version = "AGNT 4314 I [6.71.2105 Apr 27 2010 12:06:01]";

TEST(Error, HasValueTextOrDetail) {
    PlainError error;
    EXPECT_FALSE(error.IsError());
    for (const auto& [value, text, isError] :
         {std::tuple(0U, "", false), {0U, "x", true}, {0U, "\x80", false}, {5U, "", true}}) {
        error.SetError(60, value, VString(text));
        EXPECT_EQ(error.IsError(), isError) << value << ' ' << text;
        EXPECT_EQ(error.GetErrVal(), static_cast<int>(value));
    }
    error.SetError(60, 0, 7U);
    error.CopyFrom(&error);
    EXPECT_TRUE(error.IsError()) << "detail";
    VI18NError none;
    none.CopyFrom(&none);
    none.LogShow();
    EXPECT_FALSE(none.IsError());
}

TEST(ErrorDeathTest, MisuseStopsTheProcess) {
    EXPECT_DEATH(err_caught(), "Mis/VError.cpp:.*current_exception");
    EXPECT_DEATH(flushLog(nullptr), "Mis/Log.cpp:.*pThis != nullptr");
}

class LogTest : public ScratchTest {
protected:
    ~LogTest() override { nLogFiles = 4; }
    static bool Open(const char* name = "log", bool numbered = false, int mode = 1) {
        return batutil_LogOpen(".", name, mode, numbered);
    }
    static std::vector<std::string> Lines(const char* name = "log") { return Records(ReadFile(name)); }
};

TEST_F(LogTest, HoldsTheChainOfCauses) {
    Open();
    VI18NError error(60, 7948, SeverityFatal, "file", 2, 3);
    error.SetChildError(new VI18NFileNotFoundError(55, SeverityWarning, "<file>"));
    VI18NError copy;
    copy = error;
    error = VI18NError();
    EXPECT_FALSE(error.IsError());
    EXPECT_EQ(copy.what(), "UTIL-F-7948: file, 2, 3");
    copy.ShowError(nullptr, false);
    auto* cause = new PlainError;
    copy.SetChildError(cause);
    cause->SetError(55, 4096, VString("text"));
    VI18NError(copy).LogShow();
    cause->SetError(55, 4096, 4000000000U);
    VI18NError(copy).LogShow();
    const std::string record = "UTIL 7948 F [file] [2] [3]";
    EXPECT_THAT(Lines(), ElementsAre(version, record, "BSTR 4166 W [<file>]", record, "BSTR 4096 E [text]", record,
                                     "BSTR 4096 E [4000000000]"));
}

TEST_F(LogTest, LettersSetTheSeverity) {
    Open();
    VI18NError error(60, 79, SeveritySixth);
    g_logStatistics = {}, g_ErrStart = true;
    for (const auto& [letter, value] : {std::pair("", 1), {"W", 2}, {"F", 4}, {"E", 3}, {"x", 1}, {"D", 1}}) {
        error.LogShow(&g_logopt, letter);
        EXPECT_EQ(error.GetErrVal(), value) << letter;
    }
    g_ErrStart = false;
    EXPECT_THAT(Lines(), ElementsAre(version, "UTIL 79 S", "UTIL 79 W", "UTIL 79 F", "UTIL 79 E", "UTIL 79 I"));
    const auto& [errors, fatals, informational, warnings] = g_logStatistics;
    EXPECT_THAT(std::vector({errors, fatals, informational, warnings}), testing::Each(1));
}

TEST_F(LogTest, BeginsWithTheVersion) {
    EXPECT_TRUE(Open());
    EXPECT_FALSE(Open("no/log"));
    Message::LogMsg(1, "UTIL", SeverityError, 1, 2, 3);
    batutil_LogClose();
    Message::LogMsg(2, "UTIL", SeverityError);
    EXPECT_EQ(logfp, nullptr);
    EXPECT_EQ(g_logopt.block, nullptr);
    Open("log", false, 0);
    std::fputs("by another\n", logfp);
    batutil_FlushLog();
    EXPECT_THAT(Lines(), ElementsAre(version, "UTIL 1 E [1] [2] [3]", version, "?by another"));
}

TEST_F(LogTest, TakesRecordsWithoutALogger) {
    Open();
    g_logopt.block->flushEveryLine = 0;
    g_logopt.block->lines = 100; // no flush is due
    Logger* const before = std::exchange(Message::s_defaultLogger, nullptr);
    EXPECT_EQ(Message(7, "UTIL", SeverityError, VString("a"), std::string("b"), 3LL).Log(nullptr), 1);
    Message::s_defaultLogger = before;
    EXPECT_THAT(Lines(), ElementsAre(version, "UTIL 7 E [a] [b] [3]"));
}

/// Logs when the process ends.
struct LateRecord {
    bool armed = false;
    ~LateRecord() { armed ? Message::LogMsg(3, "UTIL", SeverityError) : void(); }
} lateRecord;

TEST_F(LogTest, LastsLongerThanStaticObjects) {
    Open();
    const std::string origin(100, 'o');
    EXPECT_EXIT((lateRecord.armed = true, Message::s_defaultOrigin = origin, std::exit(0)), testing::ExitedWithCode(0),
                "");
    EXPECT_THAT(ReadFile("log"), testing::HasSubstr("<M ID=\"3\" O=\"" + origin + "\" C=\"UTIL\" S=\"E\" T=\""));
}

TEST_F(LogTest, GoesOnAboveTheLimit) {
    char stamp[16];
    WriteFile("log-1.XLOG", "before\n");
    EXPECT_TRUE(Open("log", true));
    EXPECT_THAT(Lines("log-1.XLOG"), ElementsAre("?before", version)) << "goes on";
    std::string line(32767 - ReadFile("log-1.XLOG").size() - static_cast<std::size_t>(log_gettimestamp(stamp)), 'x');
    gui_show(0, line.data());
    EXPECT_EQ(fs::file_size("log-1.XLOG"), 32768U) << "all is written out";
    EXPECT_EQ(currLogFileNo, 0) << "exactly at the limit";
    EXPECT_THAT(Lines("log-1.XLOG").back(), testing::MatchesRegex("\\?[A-Z][a-z]{2}[0-9]{2} [0-9]{2}:[0-9]{2} x+"));
    gui_show(0, line.data());
    EXPECT_EQ(currLogFileNo, 1);
    EXPECT_THAT(Lines("log-2.XLOG"), ElementsAre(version));
}

TEST_F(LogTest, PlainOnesHaveNoLimit) {
    std::string line(40000, 'x');
    Open("plain");
    lastLogName = "proc/self/cwd/log";
    gui_show(0, line.data());
    EXPECT_FALSE(fs::exists("log-1.XLOG"));
    batutil_LogClose();
    logfp = std::fopen("by hand", "w");
    gui_show(0, line.data());
    EXPECT_THAT(Lines("log-1.XLOG"), ElementsAre(version)) << "one that was opened otherwise has";
}

TEST_F(LogTest, ChoosesAmongTheNumberedFiles) {
    constexpr int limit = 32768, full = limit + 1;
    struct File {
        int size; ///< -1 for none
        int age;
    };
    constexpr File none = {-1, 0};
    const struct {
        const char* name;
        File files[4];
        int chosen;
        bool stays; ///< the file that is chosen
    } rows[] = {
        {"first", {none, none, none, none}, 1, false},
        {"newest, at the limit", {{full, 90}, {limit, 50}, {full, 70}, none}, 2, true},
        {"first free behind", {none, {full, 50}, none, {9, 90}}, 3, false},
        {"free around the ring", {none, {9, 90}, {9, 80}, {full, 50}}, 1, false},
        {"oldest", {{full, 70}, {9, 90}, {full, 90}, {full, 50}}, 2, false},
        {"oldest, at the start", {{9, 90}, {full, 50}, {9, 70}, {9, 80}}, 1, false},
    };
    for (const auto& row : rows) {
        fs::remove_all("ring");
        for (int number = 1; number <= 4; ++number) {
            const auto& [size, age] = row.files[number - 1];
            const std::string path = "ring/log-" + std::to_string(number) + ".XLOG";
            if (size >= 0) {
                WriteFile(path, std::string(static_cast<std::size_t>(size), 'x'));
                fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::seconds(age));
            }
        }
        const std::string chosen = batutil_GetNextFilename("ring", "log");
        EXPECT_EQ(chosen, "ring/log-" + std::to_string(row.chosen) + ".XLOG") << row.name;
        EXPECT_EQ(fs::exists(chosen), row.stays) << row.name;
    }
    nLogFiles = 0;
    EXPECT_EQ(batutil_GetNextFilename(".", "log"), "./log-1.XLOG") << "a ring has at least one file";
}

class BlockTest : public LogTest {
protected:
    ~BlockTest() override { std::fclose(block.fp); }

    logblk block = {std::fopen("block", "w"), 0, 0, 1, "block"};
    logopt toBlock = {0, nullptr, false, &block};
};

TEST_F(BlockTest, LinesGoWhereOptionsSay) {
    constexpr std::size_t length = 1023, cut = 1022;
    constexpr std::size_t shown = sizeof "Nov13 02:31 " + length;
    const struct {
        const char* name;
        logopt options;
        std::size_t output;
        std::size_t inBlock;
    } rows[] = {
        {"console", {0, nullptr, true, &block}, shown, 0}, {"neither", {0, nullptr, false, nullptr}, shown, 0},
        {"nowhere", {1, nullptr, false, nullptr}, 0, 0},   {"block with a user", {0, "agent", false, &block}, 0, cut},
        {"block", {0, nullptr, false, &block}, 0, length},
    };
    std::string line(length, 'x');
    for (const auto& row : rows) {
        const auto before = fs::file_size("block");
        testing::internal::CaptureStdout();
        EXPECT_EQ(I18N_log_show(&line, &row.options, 'I'), 1) << row.name;
        EXPECT_EQ(testing::internal::GetCapturedStdout().size(), row.output) << row.name;
        EXPECT_EQ(fs::file_size("block") - before, row.inBlock) << row.name;
    }
}

TEST_F(BlockTest, IsFlushedByCountAndAge) {
    block.flushEveryLine = 0;
    std::string line = "x";
    std::vector<int> flushed;
    for (int number = 1; number <= 410; ++number) {
        const auto before = fs::file_size("block");
        block.lastFlush -= number == 70 ? 5001 : 0;
        I18N_log_show(&line, &toBlock, 'I');
        if (number > 48 && fs::file_size("block") > before) {
            flushed.push_back(number);
        }
    }
    EXPECT_THAT(flushed, ElementsAre(49, 50, 70, 200, 400));
    EXPECT_EQ(flushExpiredLines(&block), 0U);
}

TEST_F(LogTest, HalfARecordIsTakenBack) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit unlimited = {RLIM_INFINITY, RLIM_INFINITY};
    for (const auto& [before, room, after] :
         {std::tuple("", 3U, ""), {"a\n", 1U, "a\n"}, {"a", 3U, "alin"}, {"lin", 3U, "linlin"}}) {
        WriteFile("half", before);
        logblk block = {std::fopen("half", "r+"), 0, 0, 1, "half"};
        std::fseek(block.fp, 0, SEEK_END);
        const logopt options = {0, nullptr, false, &block};
        std::string line = "line\n";
        const rlimit limit = {std::strlen(before) + room, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        EXPECT_EQ(I18N_log_show(&line, &options, 'I'), 0) << before;
        setrlimit(RLIMIT_FSIZE, &unlimited);
        EXPECT_EQ(I18N_log_show(&line, &options, 'I'), 1) << before;
        std::fclose(block.fp);
        EXPECT_EQ(ReadFile("half"), after + line) << "after '" << before << "' and " << room << " bytes";
    }
    std::signal(SIGXFSZ, SIG_DFL);
}

TEST_F(LogTest, FailedWritesAreReported) {
    Open();
    logblk block = {std::fopen("/dev/full", "w"), 0, 0, 1, "/dev/full"};
    std::setvbuf(block.fp, nullptr, _IONBF, 0);
    const logopt options = {0, nullptr, false, &block};
    std::string line = "line\n";
    EXPECT_EQ(I18N_log_show(&line, &options, 'I'), 0);
    EXPECT_EQ(I18N_log_show(&line, &options, 'I'), 0);
    std::fclose(block.fp);
    EXPECT_THAT(Lines(), ElementsAre(version, "LOGS 56 E [/dev/full]", "LOGS 56 E [/dev/full]"));
}

} // namespace
