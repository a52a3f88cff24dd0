#include "MessageLIB/Message.h"

#include "Mis/Dat.h"
#include "Mis/Log.h"
#include "Mis/VError.h"

#include <climits>
#include <cstring>
#include <ctime>
#include <utility>

#include <gmock/gmock.h>

namespace {

using namespace I18NMessage;

const std::string moment = "T=\"2010-11-13T02:31:00. 5+00:00\"";

Message At(Message message) {
    std::tm time = {};
    time.tm_year = 110, time.tm_mon = 10, time.tm_mday = 13, time.tm_hour = 2, time.tm_min = 31;
    message.SetTime(MessageTime(time, 5));
    return message;
}

TEST(Message, HeadersHoldWhatIsSet) {
    const std::string common = " S=\"W\" " + moment;
    const struct {
        const char* origin;
        const char* component;
        const char* user;
        const char* function;
        std::string attributes;
    } rows[] = {
        {"", "", "", "", common},
        {"o", "", "", "", " O=\"o\"" + common},
        {"o", "c", "", "", " O=\"o\" C=\"c\"" + common},
        {"%d", "", "u", "", " O=\"%d\"" + common + " U=\"u\" F=\"\""},
        {"", "c", "", "\n", " C=\"c\"" + common + " U=\"\" F=\"&#10;\""},
        {"", "", "u", "", common + " U=\"u\" F=\"\""},
        {"<\"\t", "\"", "\"", "&\t", " O=\"&lt;&quot;&#9;\" C=\"&quot;\"" + common + " U=\"&quot;\" F=\"&amp;&#9;\""},
    };
    for (const auto& row : rows) {
        Message message = At(Message(7, row.component, SeverityWarning));
        message.SetOrigin(row.origin), message.SetUserName(row.user), message.SetFunction(row.function);
        EXPECT_EQ(message.GetString(), "<M ID=\"7\"" + row.attributes + "></M>\n");
    }
}

TEST(Message, TimesAreWrittenIfPossible) {
    EXPECT_EQ(MessageTime().ToString(), "00-000-0000 00:00:00 +0000");
    EXPECT_EQ(dat_longForm(nullptr, 0), "00-000-0000 00:00:00 +0000");
    const std::tm last = {60, 59, 23, 31, 11, 8099, 0, 0, 0, 0, nullptr};
    EXPECT_EQ(MessageTime(last, 99).ToString(), "9999-12-31T23:59:60.99+00:00");
    const std::tm first = {0, 0, 0, 1, 0, -1900, 0, 0, 0, 0, nullptr};
    EXPECT_EQ(MessageTime(first, 0).ToString(), "0000-01-01T00:00:00. 0+00:00");
    int number = 0;
    for (int std::tm::*field : {&std::tm::tm_sec, &std::tm::tm_min, &std::tm::tm_hour, &std::tm::tm_mday,
                                &std::tm::tm_mon, &std::tm::tm_year}) {
        for (std::tm none : {last, first}) {
            none.*field += none.tm_mon == 11 ? 1 : -1;
            EXPECT_EQ(MessageTime(none, 0).ToString(), "\?\?-\?\?\?-\?\?\?\? \?\?:\?\?:\?\? +\?\?\?\?") << number;
            EXPECT_EQ(dat_longForm(&none, 0), MessageTime(none, 0).ToString()) << number;
        }
        ++number;
    }
}

TEST(Message, MonthsHaveNames) {
    std::tm time = {6, 5, 4, 3, 0, 110, 0, 0, 0, 0, nullptr};
    for (const char* month : {"JAN", "FEB", "MAR", "APR", "MAY", "JUN", "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"}) {
        EXPECT_EQ(dat_longForm(&time, 7), std::string("03-") + month + "-2010 04:05:06.07 ");
        ++time.tm_mon;
    }
}

TEST(Message, TextHoldsCharactersOfXml) {
    const char* const kept =
        " ~\xC2\xA0\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBD\xF0\x90\x80\x80\xF4\x8F"
        "\xBF\xBF";
    EXPECT_EQ(Parameter(kept).GetXMLValue(), kept) << "the first and the last of each length";
    for (const char* none : {"\x1F", "\x7F", "\x80", "\xC2\x9F", "\xC1\xBF", "\xC2\xC0", "\xC3\xC0", "\xE0\x9F\xBF",
                             "\xED\xA0\x80", "\xED\xBF\xBF", "\xEF\xBF\xBE", "\xEF\xBF\xBF", "\xEF\xBF",
                             "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"}) {
        EXPECT_EQ(Parameter(none).GetXMLValue(), std::string(std::strlen(none), '?')) << testing::PrintToString(none);
    }
    EXPECT_EQ(Parameter("\xC2 ").GetXMLValue(), "? ");
}

TEST(Message, HoldsParametersAndCauses) {
    const std::string head = "<M ID=\"1\" S=\"I\" " + moment + "><PS>";
    const char* const text = "\ta\"b\r\n<&>\x01\xBF\xBF\xC3\xA9\xEF\xBF\xBE";
    const std::string xml = head + "<P T=\"0\">\ta\"b&#13;&#10;&lt;&amp;&gt;???\xC3\xA9??\?</P></PS></M>";
    Message inner = At(Message(1, "", static_cast<MessageSeverity>(7), text)); // an unknown severity
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
        EXPECT_EQ(Message::FromSeverityChar(&letters[i]), severity) << letters[i];
    }
    for (const char* unknown : {"x", "e", "", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(Message::FromSeverityChar(unknown), SeverityInformational) << unknown;
    }
}

/// Answers failure, and throws for a fatal record.
struct FailingLogger : Logger {
    bool Log(std::string*, MessageSeverity severity) override {
        return severity == SeverityFatal ? throw static_cast<VError*>(new VI18NError()) : false;
    }
};

struct Textless : Message {
    using Message::Message;
    const char* GetStringBuffer() override { return nullptr; }
};

TEST(Message, FailuresGoToStandardError) {
    Textless textless(7, "", SeverityError);
    testing::internal::CaptureStderr();
    EXPECT_EQ(log_if_set(nullptr, textless), 0);
    EXPECT_EQ(textless.Log(nullptr), 0);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("Message cannot be logged\nStack: "));

    FailingLogger failing;
    FileLogger dropping;
    logopt options = {};
    dropping.AttachLogFile(&options);
    EXPECT_EQ(dropping.DetachLogFile(), &options);
    for (const MessageSeverity severity : {SeverityError, SeverityFatal}) {
        Message message = At(Message(7, "", severity, 1, 2, 3));
        testing::internal::CaptureStderr();
        EXPECT_EQ(log_if_set(&dropping, message), 1) << severity;
        EXPECT_EQ(log_if_set(&failing, message), 0) << severity;
        EXPECT_THAT(testing::internal::GetCapturedStderr(),
                    testing::StartsWith("Message not logged: " + message.GetString() + "Stack: "));
    }
    Logger* const before = std::exchange(Message::s_defaultLogger, &failing);
    testing::internal::CaptureStderr();
    EXPECT_NO_THROW(VI18NError(60, 7948, SeverityError).LogShow(SeverityFatal));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("<M ID=\"7948\" C=\"UTIL\" S=\"F\""));
    Message::s_defaultLogger = before;
}

TEST(Message, TakesFormsThatCallersWrite) {
    EXPECT_EQ("" + item_open_xml + tag_param + item_space, "<P ");
    const Message message(1, "UTIL", SeverityError);
    EXPECT_EQ(MessageParameter(message).GetValue(), message.CreateMessageElement());
    EXPECT_EQ(MessageParameter(Message(1, "UTIL", SeverityError)).GetType(), ParameterMessage);
    EXPECT_EQ(Parameter(3LL).GetValue() + Parameter(ULLONG_MAX).GetXMLHeader(), "3<P T=\"3\">");
    EXPECT_EQ(VI18NError(60, 7947, VString("v"), std::string("s")).what(), "UTIL-E-7947: v, s");
}

} // namespace
