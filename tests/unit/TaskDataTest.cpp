#include "Mis/TaskData.h"

#include "tests/support/Records.h"
#include "tests/support/RoundTrip.h"
#include "tests/support/ScratchTest.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <regex>
#include <vector>

#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace {

constexpr int keyTimeZone = 102;
constexpr int keyDiagnostics = 103;
constexpr int keyPassword = 104;
constexpr int keyOperatorMode = 106;
constexpr int keyPriority = 107;
constexpr int keyTaskId = 212;
constexpr int keyDescription = 213;
constexpr int keyLogDetail = 402;
constexpr int keyInclude = 1003;
constexpr int keyOracleType = 1202;
constexpr int keyUnnamed = 20401; // to 20499
constexpr int keyPrinterWidth = 63000;
constexpr int keyStockPart = 81000;

/// The value of a key, "none" when it has no entry.
std::string Value(const VTaskData& data, int key) {
    std::string value = "left from before";
    const int found = data.GetString(key, &value);
    return found == 0 && value.empty() ? "none" : value;
}

std::string TextOf(VTaskData& data) {
    std::string text = "left from before";
    data.Serialize(text);
    return text;
}

TEST(TaskData, AddsAndReplacesValues) {
    for (const bool raw : {true, false}) {
        VTaskData data("", raw);
        VString text = "z";
        char buffer[] = "left from before";
        EXPECT_EQ(data.GetString(keyDescription, buffer), 0);
        EXPECT_STREQ(buffer, "");
        EXPECT_EQ(data.SetString(keyDescription, "  x  ", true), 1);
        EXPECT_EQ(Value(data, keyDescription), "x") << "a new value is cropped";
        EXPECT_EQ(data.SetString(keyDescription, std::string("y"), false), 0);
        EXPECT_EQ(data.SetRaw(keyDescription, "y", false), 0);
        EXPECT_EQ(data.GetString(keyDescription, buffer), 1);
        EXPECT_STREQ(buffer, "x") << "not replaced";
        EXPECT_EQ(data.SetString(keyDescription, VString(" y\xE9 "), true), 1);
        EXPECT_EQ(data.GetString(keyDescription, &text), 1);
        EXPECT_STREQ(text, " y\xE9 ") << "a value that replaces is kept whole";
    }
}

TEST(TaskData, DeletesOneKeyOrMany) {
    VTaskData data("", true);
    for (const int key : {keyDescription, keyPluginCode + 1, keyPluginCode + 2, keyPluginCode + 7, keyTimeZone}) {
        data.SetRaw(key, std::to_string(key), true);
    }
    EXPECT_EQ(data.DeleteKey(keyDescription), 1);
    EXPECT_EQ(data.DeleteKey(keyDescription), 0);
    data.SetRaw(keyPriority, "8", true);
    EXPECT_EQ(Value(data, keyTimeZone), "102") << "moved into the gap";
    EXPECT_EQ(data.DeleteKey(keyPluginCode + 1, keyPluginCode + 2), 1);
    EXPECT_EQ(data.DeleteKey(keyPluginCode + 1) + data.DeleteKey(keyPluginCode + 2), 0) << "both are gone";
    EXPECT_EQ(Value(data, keyPluginCode + 7), "13117");
    EXPECT_EQ(Value(data, keyTimeZone), "102") << "moved again";
    EXPECT_EQ(data.DeleteKey(INT_MIN, INT_MAX), 1);
    EXPECT_EQ(Value(data, keyPluginCode + 7), "none");
    EXPECT_DEATH(data.DeleteKey(2, 1), "Mis/TaskData.cpp:.*start <= end");
}

TEST(TaskData, TakesValuesOfTheKind) {
    const struct {
        std::vector<int> keys;
        std::vector<const char*> fitting;
        std::vector<const char*> others;
    } rows[] = {
        {{keyDiagnostics}, {"yes", "TRUE", "No", "1", "", "RUE", "0/1", "/"}, {"01010101010101010101010", "2", " yes"}},
        {{keyPriority}, {"", "0", "007", "99999999999999999999"}, {"-5", "+5", "1.5", " 5", "5 ", "0x1"}},
        {{keyDescription, keyPassword, keyInclude}, {"", "x = { } // \"-\"", "\xff"}, {}},
        {{keyOperatorMode}, {"CONSOLE", "remote", "Console,Remote", "remote,remote"}, {}},
        {{keyOperatorMode, keyOracleType}, {}, {"", "Con", "Consoles", "/Console", "Console,", ",Console", "a, b"}},
        {{100, keyPluginHeader + 3, 20003, -1, 0, 9999, INT_MAX, INT_MIN}, {}, {"", "x", "1"}},
    };
    for (const auto& row : rows) {
        for (const int key : row.keys) {
            for (const char* value : row.fitting) {
                EXPECT_TRUE(VTaskData("", true).IsValidEntry(key, value)) << key << " = " << value;
                EXPECT_EQ(VTaskData("", true).SetRaw(key, value, true), 1) << key << " = " << value;
            }
            for (const char* value : row.others) {
                EXPECT_FALSE(VTaskData("", true).IsValidEntry(key, value)) << key << " = " << value;
                EXPECT_EQ(VTaskData("", true).SetRaw(key, value, true), 0) << key << " = " << value;
            }
        }
    }
}

/// What the typed getters say of a value, as far as they answer.
std::string Typed(const VTaskData& data, int key) {
    bool flag = false;
    int number = 0;
    int index = 0;
    unsigned mask = 0;
    std::string password = "left from before";
    return (data.GetBool(key, &flag) == 1 ? " bool " + std::to_string(flag) : "") +
           (data.GetNumeric(key, &number) == 1 ? " number " + std::to_string(number) : "") +
           (data.GetEnum(key, &index) == 1 ? " index " + std::to_string(index) : "") +
           (data.GetMask(key, &mask) == 1 ? " mask " + std::to_string(mask) : "") +
           (data.GetPassword(key, &password) == 1 ? " password " : "") + password;
}

TEST(TaskData, GivesTypedValues) {
    using Row = std::tuple<int, const char*, const char*>;
    for (const auto& [key, value, answers] : {
             Row(keyDiagnostics, "yes", " bool 1"),
             Row(keyDiagnostics, "TRUE", " bool 1"),
             Row(keyDiagnostics, "False", " bool 0"),
             Row(keyDiagnostics, "no", " bool 0"),
             Row(keyDiagnostics, "1", " number 1"),
             Row(keyPriority, "042", " number 42"),
             Row(keyPriority, "99999999999", " number 2147483647"),
             Row(keyOperatorMode, "remote", " index 1 mask 2"),
             Row(keyLogDetail, "NONE", " index 0 mask 1"),
             Row(keyLogDetail, "None,Summary", " mask 9"),
             Row(keyPassword, "p", " password p"),
         }) {
        VTaskData data("", true);
        EXPECT_EQ(Typed(data, key), "") << "without an entry";
        EXPECT_EQ(data.SetString(key, value, true), 1) << value;
        EXPECT_EQ(Typed(data, key), answers) << key << " = " << value;
    }
}

TEST(TaskData, TakesTypedValues) {
    VTaskData data("", true);
    EXPECT_EQ(data.SetBool(keyDiagnostics, false, true), 1);
    EXPECT_EQ(Value(data, keyDiagnostics), "False");
    EXPECT_EQ(data.SetBool(keyDiagnostics, true, true), 1);
    EXPECT_EQ(data.SetBool(keyDiagnostics, false, false), 0) << "there already";
    EXPECT_EQ(Value(data, keyDiagnostics), "True");
    EXPECT_EQ(data.SetNumeric(keyPriority, 42, true), 1);
    EXPECT_EQ(data.SetNumeric(keyPriority, -1, true), 0);
    EXPECT_EQ(Value(data, keyPriority), "42");
    EXPECT_EQ(data.SetEnum(keyOperatorMode, 1, true), 1);
    EXPECT_EQ(data.SetEnum(keyOperatorMode, 2, true), 0) << "behind the last name";
    EXPECT_EQ(data.SetEnum(keyOperatorMode, -1, true), 0);
    EXPECT_EQ(Value(data, keyOperatorMode), "Remote");
    EXPECT_EQ(data.SetMask(keyLogDetail, 0b1011, true), 1);
    EXPECT_EQ(data.SetMask(keyLogDetail, 0b10001, true), 0) << "a bit behind the last name";
    EXPECT_EQ(Value(data, keyLogDetail), "None,Files,Summary");
    EXPECT_EQ(data.SetPassword(keyPassword, "p", true), 1);
    EXPECT_EQ(Value(data, keyPassword), "p");
    EXPECT_EQ(data.SetPassword(keyDescription, "p", true), 0) << "no password";
}

// With an entry that has no name the key decides, so that three entries could compare in a circle.
TEST(TaskData, TextIgnoresOrderOfAdding) {
    std::vector<int> keys = {keyTaskId,        keyDescription,  keyUnnamed, keyUnnamed + 9, keyPrinterWidth + 552,
                             keyStockPart + 1, keyStockPart + 2};
    do {
        VTaskData data("", true);
        for (const int key : keys) {
            data.SetString(key, "v" + std::to_string(key), true);
        }
        const std::string text = TextOf(data);
        ASSERT_EQ(
            text.substr(text.find("Desc")),
            "Description = v213\r\n\r\n = v20401\r\n\r\n = v20410\r\n\r\nPrinter552 {\r\n  MWidth = v63552\r\n}\r\n"
            "Stock001 {\r\n  Part = v81001\r\n}\r\nStock002 {\r\n  Part = v81002\r\n}\r\nTASK_ID = v212\r\n\r\n")
            << testing::PrintToString(keys);
        ASSERT_EQ(TextOf(data), text) << "written again";
    } while (std::next_permutation(keys.begin(), keys.end()));
}

TEST(TaskEntry, OrdersByNameOrKey) {
    for (const auto& [lower, higher] : {std::pair(604, 603), {13122, 13113}, {20401, 20402}, {213, 20401}}) {
        const VTDEntry a(lower, "", lastFormatVersion, 1), b(higher, "", lastFormatVersion, 1);
        EXPECT_TRUE(a < b && !(b < a) && b > a && !(a > b) && a == VTDEntry(a) && !(a == b)) << lower;
        EXPECT_EQ(std::tuple(a.Compare(&b), b.Compare(&a), a.Compare(&a)), std::tuple(-1, 1, 0)) << lower;
        EXPECT_EQ(a.VObject::Compare(&b) + b.VObject::Compare(&a), a.VObject::Compare(&a)) << "by place";
    }
    EXPECT_EQ(VTDEntry(keyUnnamed, "", lastFormatVersion, 1).GetTypeMask(), 0xFFFFU);
    const VTaskData other("", true);
    EXPECT_NE(VTDEntry(keyUnnamed, "", lastFormatVersion, 1).Compare(&other), 0) << "an object of another class";
}

TEST(TaskData, IsSignedByItsText) {
    VTaskData data(VString("file.qxc"), true);
    EXPECT_TRUE(data.ParseLine("Description = x", false)) << "without a text before";
    EXPECT_EQ(data.SetComment("// z"), 1);
    EXPECT_EQ(txccl::Signature::of(&data), txccl::Signature::of(TextOf(data))) << "the comment counts";
    EXPECT_EQ(TextOf(data).substr(0, 6), "// z\r\n");
}

TEST(TaskText, MergesEntriesAndStartsAfresh) {
    VTaskData data("", true);
    std::string text = "BuildVersion = 6\nQXCVersion = 650\nTime_Zone = a\nDescription = b\nLog {\nAgentName = c\"-\n";
    EXPECT_TRUE(data.Deserialize(text, false));
    text = "\"Time_Zone = not continued\n";
    EXPECT_FALSE(data.Deserialize(text, false));
    text = "QXCVersion = 102\nDescription = d\nAgentName = e\nnonsense \r\nTASK_ID = 1\n";
    EXPECT_FALSE(data.Deserialize(text, false));
    EXPECT_EQ(TextOf(data), "BuildVersion = \r\n\r\nQXCVersion = 102\r\n\r\nType = 1\r\n\r\nAgentName = e\r\n\r\n"
                            "Description = d\r\n\r\nTime_Zone = a\r\n\r\n");
}

TEST(TaskText, HeadersAreReadUpToAnError) {
    const struct {
        std::string text;
        int line; ///< 0 for a text that is accepted
        int version;
        int type;
    } rows[] = {
        {". {\n}\n}\nDescription = x", 0, 101, 1}, // takes two braces
        {". {\n}\nDescription = x", 3, 101, 1},
        {"Type = 4\nQXCVersion = 672", 2, 672, 4},
        {"Type = +4", 0, 101, 4},
        {"Type = -4 and more", 0, 101, -4},
        {"Type = +-4", 0, 101, 0},
        {"Type = -99999999999", 0, 101, INT_MIN},
        {"QXCVersion = +102", 0, 0, 1}, // takes no sign
    };
    for (const auto& row : rows) {
        VTaskData data("", true);
        std::string text = row.text;
        EXPECT_EQ(data.Deserialize(text, false), row.line == 0) << row.text;
        EXPECT_EQ(data.GetErrorLine(), row.line) << row.text;
        EXPECT_EQ(data.GetVersion(), row.version) << row.text;
        EXPECT_EQ(data.GetType(), row.type) << row.text;
        EXPECT_TRUE(row.line > 0 || RoundTrips(data)) << row.text;
        text = "Type = 1";
        EXPECT_TRUE(data.Deserialize(text, false)) << row.text;
        EXPECT_EQ(data.GetErrorLine(), 0) << "that of the text before: " << row.text;
    }
}

// A value without a name was written without its " = ", so that the file could not be read again.
TEST(TaskText, HoldsWhatWasSet) {
    const struct {
        int type;
        int key;
        const char* value;
        const char* lines;
        bool isReadable;
    } rows[] = {
        {4, keyUnnamed, "v", " = v", true},
        {4, 800, "", " = ", true},
        {1, keyUnnamed, "v", " = v", false},
        {1, keyFormatVersion, "672", "QXCVersion = 672", false},
        {1, keyDescription, "a\r\nType = 2", "Description = a\r\nType = 2", true},
    };
    for (const auto& row : rows) {
        VTaskData data("", true);
        data.SetType(row.type);
        EXPECT_EQ(data.SetRaw(row.key, row.value, true), 1) << row.lines;
        std::string text = TextOf(data);
        EXPECT_THAT(text, testing::EndsWith(std::string("\r\n\r\n") + row.lines + "\r\n\r\n"));
        EXPECT_EQ(VTaskData("", true).Deserialize(text, false), row.isReadable) << text;
    }
}

TEST(TaskText, SideEffectsAreOnRequest) {
    EXPECT_FALSE(VTaskData::extensionLoaded) << "at the start of the process";
    setenv("ORACLE_HOME", "/before", 1);
    VTaskData data("", true);
    std::string text = "Oracle0.OraHome = /opt/o0\nOracle1.OraHome = /opt/o1\nPlugins = a.so";
    EXPECT_TRUE(data.Deserialize(text, false));
    EXPECT_STREQ(getenv("ORACLE_HOME"), "/before");
    EXPECT_FALSE(VTaskData::extensionLoaded);
    EXPECT_TRUE(data.Deserialize(text, true));
    EXPECT_STREQ(getenv("ORACLE_HOME"), "/opt/o0");
    EXPECT_TRUE(VTaskData::extensionLoaded);
    text = "Plugins = b.so";
    EXPECT_TRUE(data.Deserialize(text, true));
    EXPECT_EQ(Value(data, keyPlugins), "b.so") << "follows the file, though the list was handed over";
    VTaskData::extensionLoaded = false;
}

class TaskFile : public ScratchTest {
protected:
    /// What a file of this text becomes when it is loaded and saved.
    static std::string Resaved(const std::string& text) {
        WriteFile("file", text);
        VTaskData data("file", true);
        EXPECT_EQ(data.LoadFromFile("", false, "", false), 1) << "line " << data.GetErrorLine();
        const long written = data.SaveToFile("");
        EXPECT_EQ(written, static_cast<long>(fs::file_size("file")));
        return ReadFile("file");
    }
    static std::string WithLineFeeds(const std::string& text) {
        return std::regex_replace(text, std::regex("\r\n"), "\n");
    }
};

TEST_F(TaskFile, PairsAreRewrittenAndStay) {
    const std::vector<fs::path> files(fs::directory_iterator(TEST_DATA "/pairs"), {});
    EXPECT_FALSE(files.empty());
    for (const fs::path& file : files) {
        const std::string text = ReadFile(file), name = file.stem().stem();
        const std::string out = ReadFile(TEST_DATA "/pairs/" + name + ".out.qxc");
        // Values with joints or leading blanks settle only when they are read again.
        const bool settles = name == "continuation" && text == out;
        EXPECT_EQ(Resaved(text), settles ? Resaved(Resaved(text)) : out) << file;
        EXPECT_EQ(Resaved(WithLineFeeds(text)), Resaved(text)) << file;
    }
}

TEST_F(TaskFile, RefusalsAreShownOnRequest) {
    WriteFile("bad", "Description = x\n<y> \r\n");
    batutil_LogOpen(".", "log", 1, false);
    VTaskData data("bad", true);
    std::string line;
    EXPECT_EQ(data.LoadFromFile("", true, "why", true), 0);
    EXPECT_EQ(data.LoadFromFile("missing", true, "why", true), -1) << "nothing to show";
    EXPECT_EQ(data.LoadFromFile("", true, nullptr, true), 0) << "without a context nothing is shown";
    data.GetErrorLine(line);
    EXPECT_EQ(line, "<y>");
    EXPECT_THAT(Records(ReadFile("log")),
                testing::ElementsAre(testing::_, "PARS 4456 E [syntax error bad, line 2: <y>] [why]"));
}

TEST_F(TaskFile, TooLargeOnesAreNotRead) {
    constexpr std::uintmax_t limit = 64U << 20;
    WriteFile("large", "Description = x\n//");
    VTaskData data("large", true);
    fs::resize_file("large", limit);
    EXPECT_EQ(data.LoadFile("", true), 1);
    fs::resize_file("large", limit + 1);
    EXPECT_EQ(data.LoadFile("", true), -1) << "no syntax error";
}

TEST_F(TaskFile, SavingTellsWhatWasWritten) {
    VTaskData data("", true);
    data.SetString(keyDescription, "x", true);
    const std::string text = TextOf(data);
    const auto size = static_cast<long>(text.size());
    for (const std::size_t before : {0U, 9U, 9000U, 3U << 20}) {
        WriteFile("file", std::string(before, 'o'));
        EXPECT_EQ(data.SaveToFile("file"), size) << "over " << before;
        EXPECT_EQ(ReadFile("file"), text) << "over " << before;
    }
    EXPECT_EQ(data.SaveToFile("made"), size);
    EXPECT_EQ(fs::status("made").permissions(), static_cast<fs::perms>(0644));
    EXPECT_EQ(data.SaveToFile("/dev/null"), size);
    EXPECT_EQ(data.SaveToFile("/dev/full"), 0);
    EXPECT_EQ(data.SaveToFile("."), -1);
    EXPECT_EQ(data.SaveToFile("no/file"), -1);
    EXPECT_EQ(VTaskData(static_cast<const char*>(nullptr), true).SaveToFile(""), -1) << "without a name";
}

} // namespace
