#include "Mis/Log.h"
#include "Mis/VError.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>

#include <utility>

namespace {

using namespace I18NMessage;
using testing::_;
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
    const std::tuple<const char*, const char*, const char*, const char*, std::string> cases[] = {
        {"", "", "", "", common},
        {"o", "", "", "", " O=\"o\"" + common},
        {"%d", "", "u", "", " O=\"%d\"" + common + " U=\"u\" F=\"\""},
        {"", "c", "", "\n", " C=\"c\"" + common + " U=\"\" F=\"&#10;\""},
        {"<\"\t", "c", "u", "&", " O=\"&lt;&quot;&#9;\" C=\"c\"" + common + " U=\"u\" F=\"&amp;\""},
    };
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
    Message inner = At(Message(1, "", static_cast<MessageSeverity>(7), "\ta\"b\r\n<&>\x01\xBF\xBF\xC3\xA9"));
    const std::string xml = head + "<P T=\"0\">\ta\"b&#13;&#10;&lt;&amp;&gt;???\xC3\xA9</P></PS></M>";
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
        EXPECT_EQ(Message::FromSeverityChar(letters[i]), severity);
        EXPECT_EQ(Message::FromSeverityChar(&letters[i]), severity);
    }
    for (const char* unknown : {"x", "e", "", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(Message::FromSeverityChar(unknown), SeverityInformational);
    }
    EXPECT_EQ(Message::ToSeverityChar(static_cast<MessageSeverity>(-1)), 'I');
}

/// Fails to log a record, and throws for a fatal one.
struct FailingLogger : Logger {
    bool Log(std::string*, MessageSeverity severity) override {
        return severity == SeverityFatal ? throw static_cast<VError*>(new VI18NError()) : false;
    }
};

/// Has a text of its own in the buffer that is logged.
struct Buffered : Message {
    using Message::Message;
    const char* GetStringBuffer() override { return "from the buffer\n"; }
};

TEST(Message, OnlyFailuresAreReportedOnStandardError) {
    FailingLogger failing;
    FileLogger dropping;
    for (const MessageSeverity severity : {SeverityError, SeverityFatal}) {
        Buffered message(7, "UTIL", severity);
        testing::internal::CaptureStderr();
        EXPECT_EQ(log_if_set(&dropping, message), 1);
        EXPECT_EQ(log_if_set(&failing, message), 0);
        EXPECT_THAT(testing::internal::GetCapturedStderr(),
                    testing::StartsWith("Message not logged: from the buffer\nStack: "));
    }
    Logger* const before = std::exchange(Message::s_defaultLogger, &failing);
    EXPECT_NO_THROW(VI18NError(60, 7948, SeverityFatal).LogShow());
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
         {std::tuple(0U, "x", true), {0U, "", false}, {0U, "\x80", false}, {5U, "", true}}) {
        error.SetError(60, value, VString(text));
        EXPECT_EQ(error.IsError(), isError) << value << text;
        EXPECT_EQ(error.GetErrVal(), static_cast<int>(value));
    }
    error.SetError(60, 0, 7U);
    EXPECT_TRUE(error.IsError()) << "detail";
}

TEST(Error, IsCopiedWithItsCause) {
    PlainError error;
    error.SetError(60, 7948, VString("text"));
    error.SetChildError(new VI18NError(55, 4096));
    PlainError assigned;
    assigned = error;
    const std::unique_ptr<VError> clone(error.Clone());
    for (const VError* copy : {clone.get(), static_cast<VError*>(&assigned)}) {
        EXPECT_EQ(copy->GetDetail().GetValue(), "text");
        EXPECT_NE(copy->GetChildError(), error.GetChildError());
        EXPECT_EQ(dynamic_cast<VI18NError&>(*copy->GetChildError()).what(), "BSTR-E-4096");
    }
}

class ErrorLog : public testing::Test {
protected:
    ErrorLog() { batutil_LogOpen((m_dir / "").c_str(), "log", 1, false); }
    ~ErrorLog() override { batutil_LogClose(); }
    std::vector<std::string> Lines() const { return Records(ReadFile(m_dir / "log")); }
    const TempDir m_dir;
};

TEST_F(ErrorLog, HoldsTheChainOfCauses) {
    VI18NError error(60, 7948, SeverityFatal, "file", 2);
    error.SetChildError(new VI18NFileNotFoundError(55, SeverityWarning, "<file>"));
    VI18NError copy;
    copy = error;
    error = VI18NError();
    EXPECT_FALSE(error.IsError());
    EXPECT_EQ(copy.what(), "UTIL-F-7948: file, 2");
    copy.ShowError(nullptr, false);
    EXPECT_THAT(Lines(), ElementsAre(_, "UTIL 7948 F [file] [2]", "BSTR 4166 W [<file>]"));
}

TEST_F(ErrorLog, HoldsAPlainCauseAsARecord) {
    VI18NError error(60, 7947);
    for (const bool hasText : {true, false}) {
        auto cause = std::make_unique<PlainError>();
        hasText ? cause->SetError(55, 4096, VString("text")) : cause->SetError(55, 4096, 4000000000U);
        error.SetChildError(cause.release());
        error.LogShow();
    }
    EXPECT_THAT(Lines(),
                ElementsAre(_, "UTIL 7947 E", "BSTR 4096 E [text]", "UTIL 7947 E", "BSTR 4096 E [4000000000]"));
}

TEST_F(ErrorLog, HoldsAnErrorWithTheSeverityOfALetter) {
    VI18NError error(60, 7947, SeveritySixth);
    std::string values;
    for (const char* letter : {"", "W", "F", "x", "D"}) {
        error.LogShow(&g_logopt, letter);
        values += std::to_string(error.GetErrVal());
    }
    EXPECT_EQ(values, "12411") << "5 and 0 stand for 1";
    EXPECT_THAT(Lines(), ElementsAre(_, "UTIL 7947 S", "UTIL 7947 W", "UTIL 7947 F", "UTIL 7947 I"))
        << "no debug record";
    EXPECT_EQ(Message::s_defaultLogger, FileLogger::GetGlobalLogger()) << "the logger for the call is gone";
}

} // namespace
