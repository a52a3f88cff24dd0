#include "Mis/Log.h"
#include "Mis/Dat.h"
#include "Mis/VError.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <memory>
#include <sstream>
#include <utility>

#include <gmock/gmock.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace I18NMessage;
using testing::ElementsAre;

const std::string version = "AGNT 4314 I [6.71.2105 Apr 27 2010 12:06:01]";
const std::string moment = "T=\"2010-11-13T02:31:00. 5+00:00\"";

Message At(Message message) {
    std::tm time = {};
    time.tm_year = 110, time.tm_mon = 10, time.tm_mday = 13, time.tm_hour = 2, time.tm_min = 31;
    message.SetTime(MessageTime(time, 5));
    return message;
}

TEST(Message, HeadersHoldWhatIsSet) {
    const std::string common = " S=\"W\" " + moment;
    const std::tuple<const char*, const char*, const char*, const char*, std::string> cases[] = {
        {"", "", "", "", common},
        {"o", "", "", "", " O=\"o\"" + common},
        {"o", "c", "", "", " O=\"o\" C=\"c\"" + common},
        {"", "", "u", "", common + " U=\"u\" F=\"\""},
        {"%d", "", "u", "", " O=\"%d\"" + common + " U=\"u\" F=\"\""},
        {"", "c", "", "\n", " C=\"c\"" + common + " U=\"\" F=\"&#10;\""},
        {"<\"\t", "c", "u", "&", " O=\"&lt;&quot;&#9;\" C=\"c\"" + common + " U=\"u\" F=\"&amp;\""}};
    for (const auto& [origin, component, user, function, attributes] : cases) {
        Message message = At(Message(7, component, SeverityWarning));
        message.SetOrigin(origin), message.SetUserName(user), message.SetFunction(function);
        EXPECT_EQ(message.GetString(), "<M ID=\"7\"" + attributes + "></M>\n");
    }
}

TEST(Message, TimesAreWrittenWhenTheyExist) {
    EXPECT_EQ(MessageTime().ToString(), "00-000-0000 00:00:00 +0000");
    EXPECT_EQ(dat_longForm(nullptr, 0), MessageTime().ToString());
    const std::tm leapSecond = {60, 59, 23, 31, 11, 8099, 0, 0, 0, 0, nullptr};
    EXPECT_THAT(MessageTime(leapSecond, 99).ToString(), testing::StartsWith("9999-12-31T23:59:60.99"));
    const std::tm first = {0, 0, 0, 1, 0, -1900, 0, 0, 0, 0, nullptr};
    EXPECT_THAT(MessageTime(first, 0).ToString(), testing::StartsWith("0000-01-01T00:00:00. 0"));
    for (int std::tm::*field : {&std::tm::tm_sec, &std::tm::tm_min, &std::tm::tm_hour, &std::tm::tm_mday,
                                &std::tm::tm_mon, &std::tm::tm_year}) {
        for (std::tm none : {leapSecond, first}) {
            none.*field += none.tm_mon == 11 ? 1 : -1;
            EXPECT_EQ(MessageTime(none, 0).ToString(), "\?\?-\?\?\?-\?\?\?\? \?\?:\?\?:\?\? +\?\?\?\?");
            EXPECT_EQ(dat_longForm(&none, 0), MessageTime(none, 0).ToString());
        }
    }
}

TEST(Message, TimesAreThoseOfTheClock) {
    const auto clock = [] {
        const std::time_t now = std::time(nullptr);
        std::ostringstream text;
        text << std::put_time(std::gmtime(&now), "%FT%T");
        return text.str();
    };
    const std::string before = clock(), now = MessageTime::GetUTCNow().ToString().substr(0, before.size());
    EXPECT_THAT(now, testing::AllOf(testing::Ge(before), testing::Le(clock())));
}

TEST(Message, TextHoldsTheCharactersOfXml) {
    const auto shown = [](const char* text) {
        const std::string record = Message(1, "", SeverityInformational, text).GetString();
        const std::size_t begin = record.find("\">", record.find("<P")) + 2;
        return record.substr(begin, record.find("</P>") - begin);
    };
    const char* const last =
        " ~\xC2\xA0\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBD\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
    EXPECT_EQ(shown(last), last) << "the first and the last of each length";
    for (const char* none : {"\x1F", "\x7F", "\x80", "\xC2\x9F", "\xC1\xBF", "\xC2 ", "\xC2\xC0", "\xE0\x9F\xBF",
                             "\xED\xA0\x80", "\xED\xBF\xBF", "\xEF\xBF\xBE", "\xEF\xBF\xBF", "\xEF\xBF",
                             "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"}) {
        EXPECT_THAT(shown(none), testing::MatchesRegex("\\?+ ?")) << none;
    }
}

TEST(Message, ParametersAndCausesStandInside) {
    const std::string head = "<M ID=\"1\" S=\"I\" " + moment + "><PS>";
    Message inner =
        At(Message(1, "", static_cast<MessageSeverity>(7), "\ta\"b\r\n<&>\x01\xBF\xBF\xC3\xA9\xEF\xBF\xBE"));
    const std::string xml = head + "<P T=\"0\">\ta\"b&#13;&#10;&lt;&amp;&gt;???\xC3\xA9??\?</P></PS></M>";
    Message outer = At(Message(1, "", SeverityInformational, -3, 4000000000U));
    outer.InsertParameter(1, new MessageParameter(inner));
    outer.InsertParameter(99, new Parameter(static_cast<const char*>(nullptr)));
    outer.AddChild(inner);
    EXPECT_EQ(outer.GetString(), head + "<P T=\"3\">-3</P><P T=\"1\">" + xml + "</P><P T=\"3\">4000000000</P>" +
                                     "<P T=\"0\"></P></PS><MS>" + xml + "</MS></M>\n");
}

TEST(Message, SeveritiesHaveLetters) {
    const std::string letters = "DIWEFS";
    for (std::size_t i = 0; i < letters.size(); ++i) {
        const auto severity = static_cast<MessageSeverity>(i);
        EXPECT_EQ(Message::ToSeverityChar(severity), letters[i]);
        EXPECT_EQ(Message::FromSeverityChar(&letters[i]), severity);
    }
    for (const char* unknown : {"x", "e", "", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(Message::FromSeverityChar(unknown), SeverityInformational);
    }
}

/// Answers failure, and throws for a fatal record.
struct FailingLogger : Logger {
    bool Log(std::string*, MessageSeverity severity) override {
        return severity == SeverityFatal ? throw static_cast<VError*>(new VI18NError()) : false;
    }
};

TEST(Message, OnlyFailuresAreReportedOnStandardError) {
    FailingLogger failing;
    FileLogger dropping;
    logopt options = {};
    dropping.AttachLogFile(&options);
    EXPECT_EQ(dropping.DetachLogFile(), &options);
    for (const MessageSeverity severity : {SeverityError, SeverityFatal}) {
        Message message = At(Message(7, "", severity, 1, 2, 3));
        testing::internal::CaptureStderr();
        EXPECT_EQ(log_if_set(&dropping, message), 1);
        EXPECT_EQ(log_if_set(&failing, message), 0);
        EXPECT_THAT(testing::internal::GetCapturedStderr(),
                    testing::StartsWith("Message not logged: " + message.GetString() + "Stack: "));
    }
    Logger* const before = std::exchange(Message::s_defaultLogger, &failing);
    EXPECT_NO_THROW(VI18NError(60, 7948, SeverityError).LogShow(SeverityFatal));
    Message::s_defaultLogger = before;
}

/// An error that is no message record.
struct PlainError : VError {
    void LogShow(logopt*, VString) override {}
    VError* Clone() override { return new PlainError(*this); }
};

TEST(Error, IsOneByItsValueItsTextOrItsDetail) {
    PlainError error;
    EXPECT_FALSE(error.IsError());
    for (const auto& [value, text, isError] :
         {std::tuple(0U, "", false), {0U, "x", true}, {0U, "\x80", false}, {5U, "", true}}) {
        error.SetError(60, value, VString(text));
        EXPECT_EQ(error.IsError(), isError) << value << text;
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
    EXPECT_DEATH(PlainError().CopyFrom(nullptr), "Mis/VError.cpp:.*source != nullptr");
    EXPECT_DEATH(flushLog(nullptr), "Mis/Log.cpp:.*pThis != nullptr");
}

/// A run log in a scratch directory.
class LogTest : public testing::Test {
protected:
    ~LogTest() override {
        batutil_LogClose();
        lastLogPath = lastLogName = "";
    }
    bool Open(const char* name = "log", bool numbered = false, int mode = 1) const {
        return batutil_LogOpen((m_dir / "").c_str(), name, mode, numbered);
    }
    std::vector<std::string> Lines(const char* name = "log") const { return Records(ReadFile(m_dir / name)); }
    const TempDir m_dir;
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

TEST_F(LogTest, HoldsAnErrorWithTheSeverityOfALetter) {
    Open();
    VI18NError error(60, 7947, SeveritySixth);
    std::string values;
    for (const char* letter : {"", "W", "F", "x", "D"}) {
        error.LogShow(&g_logopt, letter);
        values += std::to_string(error.GetErrVal());
    }
    EXPECT_EQ(values, "12411") << "5 and 0 stand for 1";
    EXPECT_THAT(Lines(), ElementsAre(version, "UTIL 7947 S", "UTIL 7947 W", "UTIL 7947 F", "UTIL 7947 I"))
        << "no debug record";
    EXPECT_EQ(Message::s_defaultLogger, FileLogger::GetGlobalLogger()) << "the logger for the call is gone";
}

TEST_F(LogTest, EachFileBeginsWithTheVersion) {
    EXPECT_TRUE(Open());
    EXPECT_FALSE(Open("no/log"));
    Message::LogMsg(1, "UTIL", SeverityError, 1, 2, 3);
    batutil_LogClose();
    Message::LogMsg(2, "UTIL", SeverityError);
    EXPECT_EQ(logfp, nullptr);
    EXPECT_EQ(g_logopt.block, nullptr);
    Open("log", false, 0);
    EXPECT_THAT(Lines(), ElementsAre(version, "UTIL 1 E [1] [2] [3]", version));
    logopt first = g_logopt;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(logfp, std::fclose);
    Open();
    EXPECT_THAT(Lines(), ElementsAre()) << "truncated by a second open, which keeps the first block";
    VI18NError(60, 1).LogShow(&first, "");
    EXPECT_THAT(Lines(), ElementsAre("UTIL 1 E"));
}

/// Logs when the process ends.
struct LateRecord {
    bool armed = false;
    ~LateRecord() { armed ? Message::LogMsg(3, "UTIL", SeverityError) : void(); }
} lateRecord;

TEST_F(LogTest, ARecordFromADestructorOfAStaticObjectIsWritten) {
    Open();
    const std::string origin(100, 'o');
    EXPECT_EXIT((lateRecord.armed = true, Message::s_defaultOrigin = origin, std::exit(0)), testing::ExitedWithCode(0),
                "");
    EXPECT_THAT(ReadFile(m_dir / "log"), testing::HasSubstr("<M ID=\"3\" O=\"" + origin + "\" C=\"UTIL\""));
}

TEST_F(LogTest, ALogGoesOnAboveTheLimitUnlessItWasOpenedPlain) {
    std::string line(40000, 'x');
    Open("plain");
    lastLogPath = m_dir / "";
    lastLogName = "log";
    gui_show(0, line.data());
    EXPECT_THAT(Lines("log-1.XLOG"), ElementsAre());
    batutil_LogClose();
    EXPECT_TRUE(Open("log", true));
    line.resize(32768 - ReadFile(m_dir / "log-1.XLOG").size() - 13);
    gui_show(0, line.data());
    EXPECT_THAT(Lines("log-1.XLOG").back(), testing::MatchesRegex("\\?[A-Z][a-z]{2}[0-9]{2} [0-9]{2}:[0-9]{2} x+"));
    EXPECT_EQ(currLogFileNo, 0) << "exactly at the limit";
    gui_show(0, line.data());
    EXPECT_EQ(currLogFileNo, 1);
    EXPECT_THAT(Lines("log-2.XLOG"), ElementsAre(version));
    batutil_LogClose();
    logfp = std::fopen((m_dir / "by hand").c_str(), "w");
    lastLogPath = "";
    lastLogName = m_dir / "other";
    line.resize(40000, 'x');
    gui_show(0, line.data());
    EXPECT_THAT(Lines("other-1.XLOG"), ElementsAre(version));
}

TEST_F(LogTest, ChoosesAmongTheNumberedFiles) {
    constexpr int limit = 32768, full = limit + 1;
    constexpr std::pair<int, int> none = {0, 0};
    // clang-format off
    const struct { std::pair<int, int> sizeAndAge[4]; std::size_t chosen; bool recycled; } cases[] = {
        {{none, none, none, none}, 0, false},             {{{full, 90}, {limit, 50}, {full, 70}, none}, 1, false},
        {{{full, 50}, {9, 50}, none, none}, 2, false},    {{none, {full, 50}, none, {9, 90}}, 2, false},
        {{none, {9, 90}, {9, 80}, {full, 50}}, 0, false}, {{{full, 70}, {9, 90}, {full, 90}, {full, 50}}, 1, true},
        {{{9, 90}, {full, 50}, {9, 70}, {9, 80}}, 0, true},
    };
    // clang-format on
    for (const auto& [files, chosen, recycled] : cases) {
        const TempDir dir;
        std::vector<std::string> paths;
        for (const auto& [size, age] : files) {
            paths.push_back(dir / ("log-" + std::to_string(paths.size() + 1) + ".XLOG"));
            if (size > 0) {
                WriteFile(paths.back(), std::string(static_cast<std::size_t>(size), 'x'));
                fs::last_write_time(paths.back(), fs::file_time_type::clock::now() - std::chrono::seconds(age));
            }
        }
        EXPECT_EQ(batutil_GetNextFilename(dir / "", "log"), paths[chosen]);
        EXPECT_EQ(fs::exists(paths[chosen]), files[chosen] != none && !recycled) << paths[chosen];
    }
    nLogFiles = 0;
    EXPECT_EQ(batutil_GetNextFilename(m_dir / "", "log"), m_dir / "log-1.XLOG") << "a ring has at least one file";
    nLogFiles = 4;
}

TEST_F(LogTest, LinesGoWhereTheOptionsSayAndAreFlushedByCountAndByAge) {
    const auto size = [this] { return fs::file_size(m_dir / "block"); };
    logblk block = {std::fopen((m_dir / "block").c_str(), "w"), 0, 0, 1, "block"};
    constexpr std::size_t length = 1023;
    constexpr std::size_t shown = sizeof "Nov13 02:31 " + length;
    std::string line(length, 'x');
    // clang-format off
    const struct { const char* name; logopt options; std::size_t output, inBlock; } cases[] = {
        {"console", {0, nullptr, true,  &block},  shown, 0},      {"neither", {0, nullptr, false, nullptr}, shown, 0},
        {"nowhere", {1, nullptr, false, nullptr}, 0,     0},      {"cut",     {0, "agent", false, &block},  0,     1022},
        {"block",   {0, nullptr, false, &block},  0,     length},
    };
    // clang-format on
    for (const auto& [name, options, output, inBlock] : cases) {
        const auto before = size();
        testing::internal::CaptureStdout();
        EXPECT_EQ(I18N_log_show(&line, &options, 'I'), 1) << name;
        EXPECT_EQ(testing::internal::GetCapturedStdout().size(), output) << name;
        EXPECT_EQ(size() - before, inBlock) << name;
    }
    testing::internal::CaptureStdout();
    EXPECT_EQ(I18N_log_show(&line, nullptr, 'I'), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout().size(), shown) << "without options";
    block.flushEveryLine = 0;
    line = "x";
    std::string flushed;
    for (int number = 1; number <= 410; ++number) {
        const auto before = size();
        block.lastFlush -= number == 70 ? 5001 : 0;
        I18N_log_show(&line, &std::end(cases)[-1].options, 'I');
        flushed += size() > before && number > 48 ? std::to_string(number) + ' ' : "";
    }
    EXPECT_EQ(flushed, "49 50 70 200 400 ");
    EXPECT_EQ(flushExpiredLines(&block), 0U);
    std::fclose(block.fp);
    Open();
    std::fputs("?by another\n", logfp);
    batutil_FlushLog();
    EXPECT_EQ(Lines().size(), 2U);
    for (std::size_t records = 3; records < 99; ++records) {
        Message::LogMsg(1, "UTIL", SeverityError);
        EXPECT_EQ(Lines().size(), records) << "a run log is written record by record";
    }
    const unsigned before = getTicks();
    usleep(2000);
    EXPECT_NE(getTicks(), before);
}

TEST_F(LogTest, StatisticsCountFourSeveritiesOnRequest) {
    EXPECT_FALSE(g_ErrStart);
    for (const unsigned counting : {0U, 1U}) {
        g_ErrStart = counting == 1;
        for (const char letter : std::string("DIWWEEEFFFFS")) {
            UpdateLogStatistics(letter);
        }
        g_ErrStart = false;
        const auto [errors, fatals, informational, warnings] = std::exchange(g_logStatistics, {});
        EXPECT_EQ(std::tuple(informational, warnings, errors, fatals),
                  std::tuple(counting, 2 * counting, 3 * counting, 4 * counting));
    }
}

TEST_F(LogTest, StampsFollowTheTimeZone) {
    char stamps[2][16];
    for (const auto& [zone, stamp] : {std::pair("UTC0", stamps[0]), {"XXX-11", stamps[1]}}) {
        setenv("TZ", zone, 1);
        EXPECT_EQ(log_gettimestamp(stamp), 12);
    }
    unsetenv("TZ");
    EXPECT_STRNE(stamps[0], stamps[1]);
}

TEST_F(LogTest, AFailedWriteIsShownOnce) {
    Open();
    logblk block = {std::fopen("/dev/full", "w"), 0, 0, 1, "/dev/full"};
    std::setvbuf(block.fp, nullptr, _IONBF, 0);
    logopt options = {0, nullptr, false, &block};
    std::string line = "line\n";
    EXPECT_EQ(I18N_log_show(&line, &options, 'I') + I18N_log_show(&line, &options, 'I'), 0);
    EXPECT_THAT(Lines(), ElementsAre(version, "LOGS 56 E [/dev/full]", "LOGS 56 E [/dev/full]"));
    std::fclose(block.fp);
}

} // namespace
