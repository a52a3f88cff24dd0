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
    const std::tuple<const char*, const char*, const char*, const char*, std::string> cases[] = {
        {"", "", "", "", common},
        {"%d", "", "u", "", " O=\"%d\"" + common + " U=\"u\" F=\"\""},
        {"", "c", "", "\n", " C=\"c\"" + common + " U=\"\" F=\"&#10;\""},
        {"<\"", "c", "u", "&", " O=\"&lt;&quot;\" C=\"c\"" + common + " U=\"u\" F=\"&amp;\""},
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
    Message inner = At(Message(1, "", static_cast<MessageSeverity>(7), "a\"b\r\n<&>\t\x01\xFF\xC3\xA9"));
    const std::string xml = head + "<P T=\"0\">a\"b&#13;&#10;&lt;&amp;&gt;&#9;??\xC3\xA9</P></PS></M>";
    Message outer = At(Message(1, "", SeverityInformational, -3, 4000000000U));
    outer.InsertParameter(1, new MessageParameter(inner));
    outer.InsertParameter(99, new Parameter(static_cast<const char*>(nullptr)));
    outer.AddChild(inner);
    EXPECT_EQ(outer.GetString(), head + "<P T=\"3\">-3</P><P T=\"1\">" + xml + "</P><P T=\"3\">4000000000</P>" +
                                     "<P T=\"0\"></P></PS><MS>" + xml + "</MS></M>\n");
}

struct Failing : Logger {
    bool Log(std::string*, MessageSeverity severity) override {
        return severity == SeverityFatal ? throw static_cast<VError*>(new VI18NError()) : false;
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

TEST(Error, ShowsItsChainOfCauses) {
    const TempDir dir;
    batutil_LogOpen((dir / "").c_str(), "log", 1, false);
    VI18NError error(60, 7948, SeverityFatal, "file", 2);
    error.SetChildError(new VI18NFileNotFoundError(55, SeverityWarning, "<file>"));
    VI18NError copy;
    copy = error;
    error = VI18NError();
    EXPECT_TRUE(copy.IsError() && !error.IsError());
    EXPECT_EQ(copy.what(), "UTIL-F-7948: file, 2");
    std::unique_ptr<VError>(copy.Clone())->ShowError(nullptr, false);
    batutil_LogClose();
    EXPECT_THAT(Records(ReadFile(dir / "log")),
                ElementsAre(testing::_, "UTIL 7948 F [file] [2]", "BSTR 4166 W [&lt;file&gt;]"));
}

} // namespace
