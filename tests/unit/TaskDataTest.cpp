#include "Mis/TaskData.h"

#include "Mis/Log.h"
#include "Mis/TaskKeys.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <random>
#include <regex>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr int keyTimeZone = 102;
constexpr int keyDiagnostics = 103;
constexpr int keyPassword = 104;
constexpr int keyOperatorMode = 106;
constexpr int keyPriority = 107;
constexpr int keyUsePasswordFile = 108;
constexpr int keyDescription = 213;
constexpr int keyLogDetail = 402;
constexpr int keyLogFormat = 403;
constexpr int keyInclude = 1003;
constexpr int keyOracleType = 1202;
constexpr int keyBiosType = 20400;
constexpr int keySoftwareOs = 23100;
constexpr int keyStockPart = 81000;

/// The value of a key, "none" when it has no entry.
std::string Value(const VTaskData& data, int key) {
    std::string value = "left from before";
    const int found = data.GetString(key, &value);
    return found == 0 && value.empty() ? "none" : value;
}

TEST(TaskEntry, OrdersByNameAndWithoutANameByKey) {
    using Row = std::tuple<const char*, int, int>;
    for (const auto& [name, lower, higher] : {Row("by name", 604, 603),
                                              {"with an index", 13122, 13113},
                                              {"one name", keyDescription, keyBiosType + 1},
                                              {"other name", keyBiosType + 2, keyStockPart},
                                              {"no name", keyBiosType + 1, keyBiosType + 2},
                                              {"no row", keyBiosType + 1, INT_MAX}}) {
        const VTDEntry a(lower, "", 671, 1);
        const VTDEntry b(higher, "", 671, 1);
        EXPECT_TRUE(a < b && !(b < a)) << name;
        EXPECT_TRUE(b > a && !(a > b)) << name;
        EXPECT_TRUE(a == VTDEntry(a) && !(a == b)) << name;
        EXPECT_EQ(std::tuple(a.Compare(&b), b.Compare(&a), a.Compare(&a)), std::tuple(-1, 1, 0)) << name;
    }
    const VTaskData other("", true);
    EXPECT_NE(VTDEntry(keyDescription, "", 671, 1).Compare(&other), 0) << "an object of another class";
}

TEST(TaskEntriesDeathTest, MisuseStopsTheProcess) {
    TaskEntries entries;
    entries.Append(VTDEntry(keyDescription, "", 671, 1));
    EXPECT_DEATH(entries.Append(VTDEntry(keyDescription, "", 671, 1)), "TaskEntries.cpp:.*added");
    std::string text(3U << 20, 'x'), buffer = text.substr(0, 2U << 20);
    const std::string_view beyond(buffer.data(), text.size());
    for (const std::string_view foreign : {std::string_view(text), beyond}) {
        EXPECT_DEATH(VTDEntry(keyDescription, "", 671, 1).SetValue(foreign, &buffer), "TaskEntry.cpp:.*buffer");
    }
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

TEST(TaskData, DeletesOneKeyOrARange) {
    VTaskData data("", true);
    for (const int key : {keyDescription, keyPluginCode + 1, keyPluginCode + 2, keyPluginCode + 7}) {
        data.SetRaw(key, "x", true);
    }
    for (const int deleted : {1, 0}) {
        EXPECT_EQ(data.DeleteKey(keyDescription), deleted);
        EXPECT_EQ(data.DeleteKey(keyPluginCode + 2, keyPluginCode + 7), deleted);
    }
    EXPECT_EQ(Value(data, keyPluginCode + 1), "x");
    data.SetRaw(keyTimeZone, "z", true);
    data.SetRaw(keyPriority, "8", true);
    EXPECT_EQ(data.DeleteKey(keyPluginCode, keyPluginCode + 9), 1);
    EXPECT_EQ(Value(data, keyTimeZone) + Value(data, keyPriority), "z8") << "found where they have moved to";
    EXPECT_EQ(data.DeleteKey(INT_MIN, INT_MAX), 1);
    EXPECT_EQ(Value(data, keyPluginCode + 1), "none");
    EXPECT_DEATH(data.DeleteKey(2, 1), "Mis/TaskData.cpp:.*start <= end");
}

void ExpectFits(int fits, std::initializer_list<int> keys, std::initializer_list<const char*> values) {
    for (const int key : keys) {
        for (const char* value : values) {
            EXPECT_EQ(VTaskData("", true).IsValidEntry(key, value), fits == 1) << key << ' ' << value;
            EXPECT_EQ(VTaskData("", true).SetRaw(key, value, true), fits) << key << ' ' << value;
        }
    }
}

TEST(TaskData, TakesOnlyValuesOfTheKeysKind) {
    ExpectFits(1, {keyDiagnostics}, {"yes", "TRUE", "No", "1", "", "RUE", "0/1", "e/fa", "/", "yes/no"});
    ExpectFits(0, {keyDiagnostics}, {"maybe", "2", "01", " yes", "no/yes"});
    ExpectFits(1, {keyPriority}, {"", "0", "007", "99999999999999999999"});
    ExpectFits(0, {keyPriority}, {"-5", "+5", "1.5", " 5", "5 ", "0x1", "1,2"});
    ExpectFits(1, {keyDescription, keyPassword, keyInclude}, {"", "x = { } // \"-\"", "\xff"});
    ExpectFits(1, {keyOperatorMode}, {"CONSOLE", "remote", "Console,Remote", "remote,remote"});
    ExpectFits(0, {keyOperatorMode, keyOracleType},
               {"", "Con", "Consoles", "/Console", "Console,", ",Console", "logs", "Full, Full"});
    ExpectFits(0, {100, keyPluginHeader + 3, 20003, -1, 0, 9999, INT_MAX, INT_MIN}, {"", "x", "1"});
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
    for (const auto& [key, text, answers] :
         {Row(keyDiagnostics, "yes", " bool 1"), Row(keyDiagnostics, "TRUE", " bool 1"),
          Row(keyDiagnostics, "no", " bool 0"), Row(keyDiagnostics, "False", " bool 0"),
          Row(keyDiagnostics, "1", " number 1"), Row(keyDiagnostics, "rue", ""), Row(keyPriority, "042", " number 42"),
          Row(keyPriority, "99999999999", " number 2147483647"), Row(keyOperatorMode, "remote", " index 1 mask 2"),
          Row(keyLogDetail, "NONE", " index 0 mask 1"), Row(keyLogDetail, "None,Summary", " mask 9"),
          Row(keyPassword, "p", " password p"), Row(keyDescription, "4x", "")}) {
        VTaskData data("", true);
        EXPECT_EQ(Typed(data, key), "") << "without an entry";
        EXPECT_EQ(data.SetString(key, text, true), 1) << text;
        EXPECT_EQ(Typed(data, key), answers) << key << ' ' << text;
    }
}

TEST(TaskData, TakesTypedValues) {
    VTaskData data("", true);
    using Row = std::tuple<const char*, int, int, const char*>;
    for (const auto& [name, result, key, value] :
         {Row("bool", data.SetBool(keyDiagnostics, true, true), keyDiagnostics, "True"),
          Row("not bool", data.SetBool(keyUsePasswordFile, false, true), keyUsePasswordFile, "False"),
          Row("no overwrite", data.SetBool(keyDiagnostics, false, false), 0, ""),
          Row("number", data.SetNumeric(keyPriority, 42, true), keyPriority, "42"),
          Row("sign", data.SetNumeric(keyPriority, -1, true), 0, ""),
          Row("name", data.SetEnum(keyOperatorMode, 1, true), keyOperatorMode, "Remote"),
          Row("first name", data.SetEnum(keyLogFormat, 0, true), keyLogFormat, "Brief"),
          Row("past names", data.SetEnum(keyOperatorMode, 2, true), 0, ""),
          Row("before names", data.SetEnum(keyOperatorMode, -1, true), 0, ""),
          Row("mask", data.SetMask(keyLogDetail, 0b1011, true), keyLogDetail, "None,Files,Summary"),
          Row("past names", data.SetMask(keyLogDetail, 0b10000, true), 0, ""),
          Row("password", data.SetPassword(keyPassword, "p", true), keyPassword, "p"),
          Row("no password", data.SetPassword(keyDescription, "p", true), 0, "")}) {
        EXPECT_EQ(result, *value != 0 ? 1 : 0) << name;
        EXPECT_TRUE(*value == 0 || Value(data, key) == value) << name << ' ' << Value(data, key);
    }
}

// Entries without names compare by number with all others, in which three can compare in a circle.
TEST(TaskData, WritesTheSameTextWhateverTheOrderOfAdding) {
    std::vector<int> keys = {63552, keyBiosType + 10, 212, keyDescription};
    for (int i = 1; i < 100; ++i) {
        keys.insert(keys.end(), {keyBiosType + i, keySoftwareOs + i, keyStockPart + i});
    }
    std::string first;
    for (int order = 0; order < 3; ++order) {
        VTaskData data("", true);
        for (const int key : keys) {
            data.SetString(key, "<" + std::to_string(key), true);
        }
        for (const char* time : {"first", "second"}) {
            std::string text;
            data.Serialize(text);
            first = first.empty() ? text : first;
            EXPECT_EQ(text, first) << time << " text of order " << order;
        }
        std::shuffle(keys.begin(), keys.end(), std::mt19937(11));
    }
    EXPECT_LT(first.find("<213"), first.find("<20401")) << "of those with and without names, the lower key first";
    for (const int key : keys) {
        const bool named = key < keyBiosType || key > keySoftwareOs + 100;
        EXPECT_NE(first.find((named ? " = <" : "\n<") + std::to_string(key) + "\r\n"), std::string::npos) << key;
    }
}

TEST(TaskData, IsSignedByTheTextThatItWouldWrite) {
    VTaskData data(VString("file.qxc"), true);
    data.SetString(keyDescription, "x", true);
    const std::string before = txccl::Signature::of(&data);
    EXPECT_EQ(data.SetComment("// z"), 1);
    const std::string signature = txccl::Signature::of(&data);
    std::string text;
    data.Serialize(text);
    EXPECT_EQ(signature, txccl::Signature::of(text));
    EXPECT_NE(signature, before) << "the comment counts";
}

/// What a file of this text becomes when it is loaded and saved.
std::string Resaved(const std::string& text) {
    const TempDir dir;
    WriteFile(dir / "file", text);
    VTaskData data(dir / "file", true);
    EXPECT_EQ(data.LoadFromFile("", false, "", false), 1) << "line " << data.GetErrorLine();
    const long written = data.SaveToFile("");
    EXPECT_EQ(written, static_cast<long>(fs::file_size(dir / "file")));
    return ReadFile(dir / "file");
}

std::string WithLineFeeds(const std::string& text) {
    return std::regex_replace(text, std::regex("\r\n"), "\n");
}

TEST(TaskFile, PairsAreRewrittenAndStayAsTheyAre) {
    const std::vector<fs::path> files(fs::directory_iterator(TEST_DATA "/pairs"), {});
    EXPECT_GE(files.size(), 30U);
    for (const fs::path& file : files) {
        const std::string text = ReadFile(file), name = file.stem().stem();
        const std::string out = ReadFile(TEST_DATA "/pairs/" + name + ".out.qxc");
        // Values with joints or leading blanks settle only when they are read again.
        const bool settles = name == "continuation" && text == out;
        EXPECT_EQ(Resaved(text), settles ? Resaved(Resaved(text)) : out) << file;
        EXPECT_EQ(Resaved(WithLineFeeds(text)), Resaved(text)) << file;
    }
}

TEST(TaskFile, BadFilesAreRefusedAtTheirLine) {
    const std::vector<fs::path> files(fs::directory_iterator(TEST_DATA "/bad"), {});
    EXPECT_GE(files.size(), 10U);
    for (const std::string path : files) {
        const int number = std::stoi(fs::path(path).filename());
        std::istringstream lines(WithLineFeeds(ReadFile(path)));
        std::string line;
        for (int i = 0; i < number; ++i) {
            std::getline(lines, line);
        }
        const TempDir dir;
        batutil_LogOpen((dir / "").c_str(), "log", 1, false);
        EXPECT_EQ(VTaskData(path, true).LoadFromFile("", true, "why", true), 0);
        batutil_LogClose();
        std::ostringstream refused;
        refused << "PARS 4456 E [syntax error " << path << ", line " << number << ": " << line << "] [why]";
        EXPECT_EQ(Records(ReadFile(dir / "log")).back(), refused.str());
    }
}

TEST(TaskFile, WhatCannotBeReadIsNoSyntaxError) {
    const TempDir dir;
    WriteFile(dir / "large", "Description = x\n//");
    VTaskData data(dir / "large", true);
    for (const auto& [above, result] : {std::pair(0U, 1), {1U, -1}}) {
        fs::resize_file(dir / "large", (64U << 20) + above);
        EXPECT_EQ(data.LoadFile("", true), result) << above << " bytes above the limit";
    }
    EXPECT_EQ(data.SaveToFile(dir / "no/directory"), -1);
}

TEST(TaskFile, LoadingMergesAndStartsAfresh) {
    VTaskData data("", true);
    std::string text = "BuildVersion = 6\nQXCVersion = 650\nTime_Zone = a\nDescription = b\nLog {\nAgentName = c\"-\n";
    EXPECT_TRUE(data.Deserialize(text, true));
    text = "\"Time_Zone = not continued\n";
    EXPECT_FALSE(data.Deserialize(text, true));
    text = "QXCVersion = 102\nDescription = d\nAgentName = e\nnonsense \r\nTASK_ID = 1\n";
    EXPECT_FALSE(data.Deserialize(text, true));
    data.Serialize(text);
    EXPECT_EQ(text, "BuildVersion = \r\n\r\nQXCVersion = 102\r\n\r\nType = 1\r\n\r\nAgentName = e\r\n\r\n"
                    "Description = d\r\n\r\nTime_Zone = a\r\n\r\n");
}

TEST(TaskFile, AnUnfinishedLineEndsWithItsTextAndASectionDoesNot) {
    VTaskData data("", true);
    std::string text = "Log {\nFormat = Brief\nDetail = None\"-";
    EXPECT_TRUE(data.Deserialize(text, false));
    EXPECT_FALSE(data.ParseLine("\",Files", false));
    EXPECT_TRUE(VTaskData("", true).ParseLine("Description = x", false)) << "without a text before";
    EXPECT_TRUE(data.ParseLine("Format = Full", false));
    EXPECT_EQ(Value(data, keyLogFormat), "Full");
}

// A long value is copied unless it takes most of the text.
TEST(TaskFile, ALongValueIsPutTogetherWhole) {
    const std::string half(600000, 'h');
    const std::string whole = half + half;
    for (const char* joint : {"", "\"-\r\n \"", "\"-\""}) {
        const std::string value = std::string(half).append(joint).append(half);
        for (const auto& [second, zone] : {std::pair(std::string("z"), std::string("z")), {value, whole}}) {
            VTaskData data("", true);
            std::string text = "Description = first\nDescription = ";
            text.append(value).append(" // comment\nTime_Zone = ").append(second);
            EXPECT_TRUE(data.Deserialize(text, false));
            EXPECT_EQ(Value(data, keyDescription), whole);
            EXPECT_EQ(Value(data, keyTimeZone), zone);
        }
    }
}

TEST(TaskFile, IsRefusedAtALineWithTheVersionThatWasRead) {
    using Row = std::tuple<std::string, int, int>;
    for (auto [text, line, version] : {Row(". {\n}\n}\nDescription = x", 0, 101), // takes two braces
                                       {". {\n}\nDescription = x", 3, 101},
                                       {"Type = 4\nQXCVersion = 672", 2, 672}}) {
        VTaskData data("", true);
        EXPECT_EQ(data.GetErrorLine(), 0);
        EXPECT_EQ(data.Deserialize(text, false), line == 0) << text;
        EXPECT_EQ(data.GetErrorLine(), line) << text;
        EXPECT_EQ(data.GetVersion(), version) << text;
        EXPECT_EQ(data.GetType(), version == 672 ? 4 : 1);
        text = "Type = 1";
        EXPECT_TRUE(data.Deserialize(text, false));
        EXPECT_EQ(data.GetErrorLine(), 0) << "of the text before";
    }
}

TEST(TaskFile, SideEffectsAreOnRequest) {
    VTaskData data("", true);
    setenv("ORACLE_HOME", "/before", 1);
    VTaskData::extensionLoaded = false;
    // The list of plug-ins is handed over once; its entry follows each file.
    for (const std::string list : {"no.so", "a.so", "b.so"}) {
        std::string text = "Oracle0.OraHome = /opt/o0\nOracle1.OraHome = /opt/o1\nPlugins = " + list;
        EXPECT_TRUE(data.Deserialize(text, list != "no.so"));
        EXPECT_STREQ(getenv("ORACLE_HOME"), list != "no.so" ? "/opt/o0" : "/before");
        EXPECT_EQ(VTaskData::extensionLoaded, list != "no.so");
        EXPECT_EQ(Value(data, keyPlugins), list);
    }
}

} // namespace
