#include "Mis/Log.h"
#include "Mis/Dat.h"
#include "Mis/VError.h"
#include "tests/support/Calls.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <cstdlib>
#include <ctime>
#include <memory>
#include <sstream>
#include <utility>

#include <gmock/gmock.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace I18NMessage;
using S = const std::string&;

std::tm TimeOf(int year, int month, int day, int hour, int minute, int second) {
    return {second, minute, hour, day, month - 1, year - 1900, 0, 0, 0, 0, nullptr};
}

Message At(Message message) {
    message.SetTime(MessageTime(TimeOf(2010, 11, 13, 2, 31, 0), 5));
    return message;
}

/// A record with these attributes.
std::string Header(const char* origin, const char* component, const char* user, const char* function) {
    Message message = At(Message(7, component, SeverityWarning));
    message.SetOrigin(origin), message.SetUserName(user), message.SetFunction(function);
    return message.GetString();
}

/// The two ways to write a time.
std::string Times(int year, int month, int day, int hour, int minute, int second, int fraction) {
    const std::tm time = TimeOf(year, month, day, hour, minute, second);
    return MessageTime(time, fraction).ToString() + " | " + dat_longForm(&time, 7);
}

/// A record with all kinds of parameters, and one with this text as parameter and as cause.
std::string Nested(const char* text) {
    Message inner = At(Message(1, "", static_cast<MessageSeverity>(7), text));
    Message outer = At(Message(1, "", SeverityInformational, -3, 4000000000U));
    outer.InsertParameter(1, new MessageParameter(inner));
    outer.InsertParameter(99, new Parameter(static_cast<const char*>(nullptr)));
    outer.AddChild(inner);
    return outer.GetString();
}

TEST(Message, IsWrittenAsXml) {
    const Calls calls = {
        {"header", Header},
        {"nested", Nested},
        {"parameter", [](const char* text) { return Parameter(text).GetXMLValue(); }},
        {"times", Times},
        {"noTimes", [] { return MessageTime().ToString() + " | " + dat_longForm(nullptr, 0); }},
        {"letterOf", [](int severity) { return Message::ToSeverityChar(static_cast<MessageSeverity>(severity)); }},
        {"severityOf", [](const char* letter) { return static_cast<int>(Message::FromSeverityChar(letter)); }},
    };
    MakeCalls("Message", calls);
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
    VI18NError none;
    const auto state = [&] { return std::to_string(error.IsError()) + ' ' + std::to_string(error.GetErrVal()); };
    const Calls calls = {
        {"isError", [&] { return error.IsError(); }},
        {"set", {[&](unsigned value, const char* text) { error.SetError(60, value, VString(text)); }, state}},
        {"setDetail", {[&](unsigned detail) { error.SetError(60, 0, detail); }, state}},
        {"copyItself", {[&] { error.CopyFrom(&error); }, state}},
        {"copyNull", [&] { error.CopyFrom(nullptr); }},
        {"copyNone", [&] { return none.CopyFrom(&none), none.LogShow(), none.IsError(); }},
        {"caught", [] { err_caught(); }},
        {"flushNull", [] { flushLog(nullptr); }},
    };
    MakeCalls("Error", calls);
}

/// What is counted of records with these letters.
std::string Counted(const std::string& letters, bool counting) {
    g_ErrStart = counting;
    for (const char letter : letters) {
        UpdateLogStatistics(letter);
    }
    g_ErrStart = false;
    const auto [errors, fatals, informational, warnings] = std::exchange(g_logStatistics, {});
    std::ostringstream text;
    text << informational << ' ' << warnings << ' ' << errors << ' ' << fatals;
    return text.str();
}

TEST(Log, HoldsTheChainOfCauses) {
    const CurrentTempDir scratch;
    batutil_LogOpen(".", "log", 1, false);
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
    batutil_LogClose();
    EXPECT_THAT(Records(ReadFile("log")),
                testing::ElementsAre("AGNT 4314 I [6.71.2105 Apr 27 2010 12:06:01]", record, "BSTR 4166 W [<file>]",
                                     record, "BSTR 4096 E [text]", record, "BSTR 4096 E [4000000000]"));
}

/// Logs when the process ends.
struct LateRecord {
    bool armed = false;
    ~LateRecord() { armed ? Message::LogMsg(3, "UTIL", SeverityError) : void(); }
} lateRecord;

TEST(Log, ARecordFromADestructorOfAStaticObjectIsWritten) {
    const CurrentTempDir scratch;
    batutil_LogOpen(".", "log", 1, false);
    const std::string origin(100, 'o');
    EXPECT_EXIT((lateRecord.armed = true, Message::s_defaultOrigin = origin, std::exit(0)), testing::ExitedWithCode(0),
                "");
    batutil_LogClose();
    EXPECT_THAT(ReadFile("log"), testing::HasSubstr("<M ID=\"3\" O=\"" + origin + "\" C=\"UTIL\""));
}

TEST(Log, StampsFollowTheTimeZone) {
    char stamps[2][16];
    for (const auto& [zone, stamp] : {std::pair("UTC0", stamps[0]), {"XXX-11", stamps[1]}}) {
        setenv("TZ", zone, 1);
        EXPECT_EQ(log_gettimestamp(stamp), 12);
    }
    unsetenv("TZ");
    EXPECT_STRNE(stamps[0], stamps[1]);
}

/// After which lines the block got longer on the disk. Line 70 finds the last flush over five seconds old.
std::string FlushedAt(logblk& block) {
    const logopt options = {0, nullptr, false, &block};
    std::string line = "x", flushed;
    block.flushEveryLine = 0;
    for (int number = 1; number <= 410; ++number) {
        const auto before = fs::file_size(block.path);
        block.lastFlush -= number == 70 ? 5001 : 0;
        I18N_log_show(&line, &options, 'I');
        flushed += fs::file_size(block.path) > before && number > 48 ? std::to_string(number) + ' ' : "";
    }
    EXPECT_EQ(flushExpiredLines(&block), 0U);
    return flushed;
}

TEST(Log, OpensRotatesAndCounts) {
    VI18NError error(60, 7947, SeveritySixth);
    logblk block = {nullptr, 0, 0, 1, ""};
    logopt options = {};
    logopt kept = {};
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> keptFile(nullptr, std::fclose);
    const Calls calls = {
        {"open", [](const char* name, int mode) { return batutil_LogOpen(".", name, mode, false); }},
        {"openRing", [](const char* name) { return batutil_LogOpen(".", name, 1, true); }},
        {"openByHand", [](const char* file) { logfp = std::fopen(file, "w"); }},
        {"close", batutil_LogClose},
        {"isClosed", [] { return logfp == nullptr && g_logopt.block == nullptr; }},
        {"names", [](const char* directory, const char* name) { lastLogPath = directory, lastLogName = name; }},
        {"record", [](int number) { Message::LogMsg(number, "UTIL", SeverityError, 1, 2, 3); }},
        {"keep", [&] { kept = g_logopt, keptFile.reset(logfp); }},
        {"closeKept", [&] { keptFile.reset(); }},
        {"recordAsKept", [&](int number) { VI18NError(60, number).LogShow(&kept, ""); }},
        {"withLetter", [&](const char* letter) { return error.LogShow(&g_logopt, letter), error.GetErrVal(); }},
        {"text", [](std::size_t size) { return gui_show(0, std::string(size, 'x').data()); }},
        {"textToLimit",
         [](S file) { return gui_show(0, std::string(32768 - 13 - ReadFile(file).size(), 'x').data()); }},
        {"foreign", [] { std::fputs("by another\n", logfp); }},
        {"flush", batutil_FlushLog},
        {"openBlock",
         [&](S file) {
             block = {std::fopen(file.c_str(), "w"), 0, 0, 1, ""};
             std::setvbuf(block.fp, nullptr, file == "/dev/full" ? _IONBF : _IOFBF, 0);
             file.copy(block.path, file.size());
         }},
        {"closeBlock", [&] { return std::fclose(block.fp); }},
        {"flushedAt", [&] { return FlushedAt(block); }},
        {"options",
         [&](int flags, const char* user, bool console, bool hasBlock) {
             options = {flags, user, console, hasBlock ? &block : nullptr};
         }},
        {"show",
         [&](std::size_t size, bool hasOptions) {
             std::string line(size, 'x');
             testing::internal::CaptureStdout();
             const int result = I18N_log_show(&line, hasOptions ? &options : nullptr, 'I');
             return std::to_string(result) + " " + std::to_string(testing::internal::GetCapturedStdout().size());
         }},
        {"endsWithText",
         [](S file) {
             const auto text = testing::MatchesRegex("\\?[A-Z][a-z]{2}[0-9]{2} [0-9]{2}:[0-9]{2} x+");
             return testing::Matches(text)(Records(ReadFile(file)).back());
         }},
        {"fileNumber", [] { return currLogFileNo; }},
        {"next", [](const char* directory) { return batutil_GetNextFilename(directory, "log"); }},
        {"ring", [](int files) { nLogFiles = files; }},
        {"count", Counted},
        {"loggerIsGlobal", [] { return Message::s_defaultLogger == FileLogger::GetGlobalLogger(); }},
        {"ticksGoOn", [] { return getTicks() != (usleep(2000), getTicks()); }},
    };
    MakeCalls("Log", calls);
}

} // namespace
