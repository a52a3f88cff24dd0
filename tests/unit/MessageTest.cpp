#include "Mis/Log.h"
#include "Mis/VError.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>

namespace {

using namespace I18NMessage;
using testing::ElementsAre;

const std::string moment = "T=\"2010-11-13T02:31:00. 5+00:00\"";

Message At(Message message) {
    std::tm time = {};
    time.tm_year = 110, time.tm_mon = 10, time.tm_mday = 13, time.tm_hour = 2, time.tm_min = 31;
    message.SetTime(MessageTime(time, 5));
    return message;
}

TEST(Message, HeadersHoldWhatIsSet) {
    const std::string common = " S=\"W\" " + moment;
    // clang-format off
    const std::tuple<const char*, const char*, const char*, const char*, std::string> cases[] = {
        {"", "", "", "",    common},                              {"o", "c", "", "",  " O=\"o\" C=\"c\"" + common},
        {"%d", "", "", "",  " O=\"%d\"" + common},                {"", "UTIL", "", "", " C=\"UTIL\"" + common},
        {"", "", "u", "",   common + " U=\"u\" F=\"\""},
        {"o", "", "", "f",  " O=\"o\"" + common + " U=\"\" F=\"f\""},
        {"", "c", "", "\n", " C=\"c\"" + common + " U=\"\" F=\"&#10;\""},
        {"<\"", "c", "u", "&", " O=\"&lt;&quot;\" C=\"c\"" + common + " U=\"u\" F=\"&amp;\""},
    };
    // clang-format on
    for (const auto& [origin, component, user, function, attributes] : cases) {
        Message message = At(Message(7, component, SeverityWarning));
        message.SetOrigin(origin), message.SetUserName(user), message.SetFunction(function);
        EXPECT_EQ(message.GetString(), "<M ID=\"7\"" + attributes + "></M>\n");
    }
    EXPECT_EQ(MessageTime().ToString(), "00-000-0000 00:00:00 +0000");
    EXPECT_EQ(MessageTime(std::tm(), 0).ToString(), "\?\?-\?\?\?-\?\?\?\? \?\?:\?\?:\?\? +\?\?\?\?");
}

TEST(Message, ParametersAndCausesStandInside) {
    const std::string head = "<M ID=\"1\" S=\"I\" " + moment + "><PS>";
    Message inner = At(Message(1, "", static_cast<MessageSeverity>(7), "a\"b\r\n<&>\t\x01\xFF\xC3\xA9"));
    const std::string xml = head + "<P T=\"0\">a\"b&#13;&#10;&lt;&amp;&gt;&#9;??\xC3\xA9</P></PS></M>";
    Message outer = At(Message(1, "", SeverityInformational, -3, 4000000000U));
    outer.InsertParameter(1, new MessageParameter(inner));
    outer.InsertParameter(99, new Parameter(static_cast<const char*>(nullptr)));
    outer.AddChild(inner);
    const Message copy(outer);
    outer = inner;
    EXPECT_EQ(outer.GetStringForMessageParam(), xml);
    EXPECT_EQ(Message(copy).GetString(), head + "<P T=\"3\">-3</P><P T=\"1\">" + xml + "</P><P T=\"3\">4000000000</P>" +
                                             "<P T=\"0\"></P></PS><MS>" + xml + "</MS></M>\n");
    std::string letters;
    for (int severity = -1; severity < 7; ++severity) {
        letters += Message::ToSeverityChar(static_cast<MessageSeverity>(severity));
    }
    EXPECT_EQ(letters, "IDIWEFSI");
}

struct PlainError : VError {
    void LogShow(logopt*, VString) override {}
    VError* Clone() override {
        auto* copy = new PlainError();
        copy->CopyFrom(this);
        return copy;
    }
};

struct Failing : Logger {
    bool Log(std::string*, MessageSeverity severity) override {
        return severity == SeverityFatal ? throw static_cast<VError*>(new PlainError()) : false;
    }
};

TEST(Message, OnlyFailuresAreReportedOnStandardError) {
    Failing failing;
    FileLogger dropping;
    for (const MessageSeverity severity : {SeverityError, SeverityFatal}) {
        Message message(7, "UTIL", severity);
        testing::internal::CaptureStderr();
        EXPECT_EQ(log_if_set(&dropping, message) - log_if_set(&failing, message), 1);
        EXPECT_THAT(testing::internal::GetCapturedStderr(),
                    testing::StartsWith("Message not logged: " + message.GetString() + "Stack: "));
    }
}

TEST(Error, ShowsItsChainOfCausesInTheLogThatIsNamed) {
    const TempDir dir;
    batutil_LogOpen((dir / "").c_str(), "log", 1, false);
    auto plain = std::make_unique<PlainError>();
    plain->SetError(32, 12, "<text>");
    auto cause = std::make_unique<VI18NError>(55L, 4096, "why");
    cause->SetChildError(plain.release());
    VI18NError error(60, 7948, SeverityFatal, "file", 2);
    error.SetChildError(cause.release());
    VI18NError copy;
    copy = error;
    const VI18NError& same = copy;
    copy = same;
    error = VI18NError();
    error.LogShow();
    EXPECT_TRUE(copy.IsError() && !error.IsError());
    EXPECT_EQ(copy.what(), "UTIL-F-7948: file, 2");
    std::unique_ptr<VError>(copy.Clone())->ShowError(nullptr, false);

    logblk block = {std::fopen((dir / "other").c_str(), "w"), 0, 0, 1, ""};
    logopt options = {0, nullptr, false, &block};
    VI18NFileNotFoundError missing(55, SeverityWarning, "f");
    for (const char* letter : {"", "Error", "x", "D"}) {
        missing.LogShow(&options, letter);
    }
    missing.LogShow(nullptr, "F");
    std::fclose(block.fp);
    batutil_LogClose();
    EXPECT_THAT(Records(ReadFile(dir / "other")), ElementsAre("BSTR 4166 W [f]", "BSTR 4166 E [f]", "BSTR 4166 I [f]"));
    EXPECT_THAT(Records(ReadFile(dir / "log")), ElementsAre(testing::_, "UTIL 7948 F [file] [2]", "BSTR 4096 E [why]",
                                                            "DISK 12 E [&lt;text&gt;]", "BSTR 4166 F [f]"));
}

TEST(Error, ValuesTellHowBad) {
    std::string values = std::to_string(VI18NError().GetErrVal());
    for (int severity = 0; severity < 6; ++severity) {
        values += std::to_string(VI18NError(60, 1, static_cast<MessageSeverity>(severity)).GetErrVal());
    }
    EXPECT_EQ(values, "1112341");
}

} // namespace
