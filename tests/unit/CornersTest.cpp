#include "Mis/Log.h"
#include "Mis/TaskData.h"
#include "Mis/VError.h"
#include "tests/support/RoundTrip.h"
#include "tests/support/TempDir.h"

#include <climits>

#include <gtest/gtest.h>

using namespace I18NMessage;

namespace {

TEST(TaskData, TakesASignInTheTypeAlone) {
    const struct {
        const char* line;
        int type;
        int version;
    } rows[] = {
        {"Type = 4", 4, 101},
        {"Type = +4", 4, 101},
        {"Type = -4 and more", -4, 101},
        {"Type = +-4", 0, 101},
        {"Type = -", 0, 101},
        {"Type = 99999999999", INT_MAX, 101},
        {"Type = -99999999999", INT_MIN, 101},
        {"QXCVersion = +102", 1, 0},
        {"QXCVersion = -102", 1, 0},
    };
    for (const auto& row : rows) {
        VTaskData data("", true);
        std::string text = row.line;
        EXPECT_TRUE(data.Deserialize(text, false)) << row.line;
        EXPECT_EQ(data.GetType(), row.type) << row.line;
        EXPECT_EQ(data.GetVersion(), row.version) << row.line;
        EXPECT_TRUE(RoundTrips(data)) << row.line;
    }
}

// A value without a name was written without its " = ", so that the file could not be read again.
TEST(TaskData, WritesWhatItTakes) {
    const struct {
        int type;
        int key;
        const char* value;
        std::string lines;
        bool isReadable;
    } rows[] = {
        {4, 800, "v", " = v", true},
        {4, 800, "", " = ", true},
        {1, 11, "2", "Type = 2", true},
        {1, 13, "672", "QXCVersion = 672", false},
        {1, 213, "a\r\nType = 2", "Description = a\r\nType = 2", true},
        {1, 213, "a\nb", "Description = a\nb", false},
        {1, 20401, "v", " = v", false},
        {4, 20401, "v", " = v", true},
    };
    for (const auto& row : rows) {
        VTaskData data("", true);
        data.SetType(row.type);
        EXPECT_EQ(data.SetRaw(row.key, row.value, true), 1) << row.lines;
        std::string text;
        data.Serialize(text);
        EXPECT_TRUE(text.ends_with("\r\n\r\n" + row.lines + "\r\n\r\n")) << text;
        EXPECT_EQ(VTaskData("", true).Deserialize(text, false), row.isReadable) << text;
    }
}

TEST(Log, TakesRecordsWithoutALogger) {
    const TempDir dir;
    ASSERT_TRUE(batutil_LogOpen((dir / "").c_str(), "log", 1, false));
    Message::s_defaultLogger = nullptr;
    Message message(7, "UTIL", SeverityError, VString("a text"), std::string("another"), sizeof message);
    const std::string record = message.GetString();
    Message::LogMsg(message);
    const std::string written = ReadFile(dir / "log");
    batutil_LogClose();
    EXPECT_EQ(written.substr(written.find('\n') + 1), record);
}

TEST(Message, TakesTheFormsThatCallersWrite) {
    std::string piece = item_open_xml;
    EXPECT_EQ(piece + (item_open_xml + tag_param + item_space), "<<P ");
    const Message message(1, "UTIL", SeverityError);
    EXPECT_EQ(MessageParameter(message).GetValue(), message.CreateMessageElement());
    EXPECT_EQ(MessageParameter(Message(1, "UTIL", SeverityError)).GetType(), ParameterMessage);
    EXPECT_EQ(Parameter(3LL).GetValue() + Parameter(ULLONG_MAX).GetXMLHeader(), "3<P T=\"3\">");
    EXPECT_EQ(VI18NError(60, 7947, VString("v"), std::string("s")).what(), "UTIL-E-7947: v, s");
}

TEST(VError, AssignsThroughCopyFromAlways) {
    struct Counting : VI18NError {
        void CopyFrom(VError*) override { ++copies; }
        int copies = 0;
    } error;
    const Counting& same = error;
    static_cast<VError&>(error) = same;
    static_cast<VI18NError&>(error) = same;
    EXPECT_EQ(error.copies, 2);
}

} // namespace
