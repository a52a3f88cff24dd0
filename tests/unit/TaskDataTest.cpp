#include "Mis/TaskData.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <climits>
#include <numeric>
#include <random>
#include <vector>

namespace {

constexpr int keyDiagnostics = 103;
constexpr int keyPassword = 104;
constexpr int keyOperatorMode = 106;
constexpr int keyPriority = 107;
constexpr int keyUsePasswordFile = 108;
constexpr int keyDescription = 213;
constexpr int keyLogDetail = 402;
constexpr int keyInclude = 1003;
constexpr int keyOracleType = 1202;
constexpr int keyServerName = 10010;
constexpr int keyPluginHeader = 13100;
constexpr int keyPluginCode = 13110;
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
    // clang-format off
    const std::tuple<const char*, int, int> cases[] = {
        {"by name", 604, 603},                                      {"with an index", 13122, 13113},
        {"one name",  keyDescription, keyBiosType + 1},             {"other name", keyBiosType + 2, keyStockPart},
        {"no name", keyBiosType + 1, keyBiosType + 2},
    };
    // clang-format on
    for (const auto& [name, lower, higher] : cases) {
        const VTDEntry a(lower, "", 671, 1);
        const VTDEntry b(higher, "", 671, 1);
        EXPECT_THAT((std::array{a<b, b> a, a == a}), testing::Each(true)) << name;
        EXPECT_THAT((std::array{b<a, a> b, a == b}), testing::Each(false)) << name;
        EXPECT_EQ(std::tuple(a.Compare(&b), b.Compare(&a), a.Compare(&a)), std::tuple(-1, 1, 0)) << name;
    }
}

TEST(TaskEntries, AreFoundThroughManyDeletions) {
    TaskEntries entries;
    std::vector<int> keys(600);
    std::iota(keys.begin(), keys.end(), keyServerName);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(7));
    for (const int key : keys) {
        entries.Append(VTDEntry(key, std::to_string(key), 671, 1));
    }
    for (; keys.size() > 100; keys.pop_back()) {
        ASSERT_TRUE(entries.Erase(keys.back()));
        ASSERT_FALSE(entries.Erase(keys.back()));
    }
    for (const bool erased : {true, false}) {
        EXPECT_EQ(entries.EraseRange(INT_MIN, keyServerName + 300), erased);
    }
    std::erase_if(keys, [](int key) { return key <= keyServerName + 300; });
    EXPECT_EQ(entries.All().size(), keys.size());
    for (const int key : keys) {
        EXPECT_EQ(entries.Find(key) == nullptr ? "" : entries.Find(key)->GetValue(), std::to_string(key));
    }
}

TEST(TaskData, AnIndexTooLongForANumberIsTheLargest) {
    int index = 0;
    EXPECT_TRUE(VTaskData::KeyMatch("x99999999999y", "X%%%%%%%%%%%Y", &index));
    EXPECT_EQ(index, INT_MAX);
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
    EXPECT_EQ(data.DeleteKey(INT_MIN, INT_MAX), 1);
    EXPECT_EQ(Value(data, keyPluginCode + 1), "none");
    EXPECT_DEATH(data.DeleteKey(2, 1), "Mis/TaskData.cpp:.*start <= end");
}

void ExpectFits(bool fits, std::initializer_list<int> keys, std::initializer_list<const char*> values) {
    VTaskData data("", true);
    for (const int key : keys) {
        for (const char* value : values) {
            EXPECT_EQ(data.IsValidEntry(key, value), fits) << key << ' ' << value;
            EXPECT_EQ(data.SetRaw(key, value, true), fits ? 1 : 0) << key << ' ' << value;
        }
    }
}

TEST(TaskData, TakesOnlyValuesOfTheKeysKind) {
    ExpectFits(true, {keyDiagnostics}, {"yes", "TRUE", "No", "1", "", "RUE", "0/1", "e/fa", "/", "yes/no"});
    ExpectFits(false, {keyDiagnostics}, {"maybe", "2", "01", " yes", "no/yes"});
    ExpectFits(true, {keyPriority}, {"", "0", "007", "99999999999999999999"});
    ExpectFits(false, {keyPriority}, {"-5", "+5", "1.5", " 5", "5 ", "0x1", "1,2"});
    ExpectFits(true, {keyDescription, keyPassword, keyInclude}, {"", "x = { } // \"-\"", "\xff"});
    ExpectFits(true, {keyOperatorMode}, {"CONSOLE", "remote", "Console,Remote", "remote,remote"});
    ExpectFits(false, {keyOperatorMode, keyOracleType},
               {"", "Con", "Consoles", "/Console", "Console,", ",Console", "logs", "Full, Full"});
    ExpectFits(false, {100, keyPluginHeader + 3, 20003, -1, 0, 9999, INT_MAX, INT_MIN}, {"", "x", "1"});
}

/// The answers of those typed getters that accept the value.
std::string Typed(const VTaskData& data, int key) {
    bool flag = false;
    int number = 0;
    int index = 0;
    unsigned mask = 0;
    std::string password = "left from before";
    std::string answers;
    answers += data.GetBool(key, &flag) == 1 ? " bool " + std::to_string(flag) : "";
    answers += data.GetNumeric(key, &number) == 1 ? " number " + std::to_string(number) : "";
    answers += data.GetEnum(key, &index) == 1 ? " index " + std::to_string(index) : "";
    answers += data.GetMask(key, &mask) == 1 ? " mask " + std::to_string(mask) : "";
    answers += data.GetPassword(key, &password) == 1 ? " password " : "";
    return answers + password;
}

TEST(TaskData, GivesTypedValues) {
    // clang-format off
    const std::tuple<int, const char*, const char*> cases[] = {
        {keyDiagnostics, "yes", " bool 1"},              {keyDiagnostics, "TRUE", " bool 1"},
        {keyDiagnostics, "no", " bool 0"},               {keyDiagnostics, "False", " bool 0"},
        {keyDiagnostics, "1", " number 1"},              {keyDiagnostics, "rue", ""},
        {keyPriority, "042", " number 42"},              {keyPriority, "99999999999", " number 2147483647"},
        {keyOperatorMode, "remote", " index 1 mask 2"},  {keyLogDetail, "NONE", " index 0 mask 1"},
        {keyLogDetail, "None,Summary", " mask 9"},       {keyPassword, "p", " password p"},
        {keyDescription, "4x", ""},
    };
    // clang-format on
    for (const auto& [key, text, answers] : cases) {
        VTaskData data("", true);
        EXPECT_EQ(Typed(data, key), "") << "without an entry";
        EXPECT_EQ(data.SetString(key, text, true), 1) << text;
        EXPECT_EQ(Typed(data, key), answers) << key << ' ' << text;
    }
}

TEST(TaskData, TakesTypedValues) {
    VTaskData data("", true);
    // clang-format off
    const std::tuple<const char*, int, int, const char*> cases[] = {
        {"bool",         data.SetBool(keyDiagnostics, true, true),      keyDiagnostics,  "True"},
        {"not bool",     data.SetBool(keyUsePasswordFile, false, true), keyUsePasswordFile, "False"},
        {"no overwrite", data.SetBool(keyDiagnostics, false, false),    keyDiagnostics,  ""},
        {"number",       data.SetNumeric(keyPriority, 42, true),        keyPriority,     "42"},
        {"sign",         data.SetNumeric(keyPriority, -1, true),        keyPriority,     ""},
        {"name",         data.SetEnum(keyOperatorMode, 1, true),        keyOperatorMode, "Remote"},
        {"past names",   data.SetEnum(keyOperatorMode, 2, true),        keyOperatorMode, ""},
        {"before names", data.SetEnum(keyOperatorMode, -1, true),       keyOperatorMode, ""},
        {"mask",         data.SetMask(keyLogDetail, 0b1011, true),      keyLogDetail,    "None,Files,Summary"},
        {"past names",   data.SetMask(keyLogDetail, 0b10000, true),     keyLogDetail,    ""},
        {"password",     data.SetPassword(keyPassword, "p", true),      keyPassword,     "p"},
        {"no password",  data.SetPassword(keyDescription, "p", true),   keyDescription,  ""},
    };
    // clang-format on
    for (const auto& [name, result, key, value] : cases) {
        EXPECT_EQ(result, *value != 0 ? 1 : 0) << name;
        if (*value != 0) {
            EXPECT_EQ(Value(data, key), value) << name;
        }
    }
}

// An entry without a name compares with all others by number, so three entries can compare in a circle.
TEST(TaskData, WritesTheSameTextWhateverTheOrderOfAdding) {
    std::vector<int> keys = {63552, keyBiosType + 10, 212};
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
    for (const int key : keys) {
        const bool named = key < keyBiosType || key > keySoftwareOs + 100;
        EXPECT_NE(first.find((named ? " = <" : "\n<") + std::to_string(key) + "\r\n"), std::string::npos) << key;
    }
}

TEST(Signature, IsTheSha1OfWhatTaskDataWouldWrite) {
    EXPECT_EQ(txccl::Signature::of("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
    VTaskData data("file.qxc", true);
    EXPECT_EQ(data.SetString(keyDescription, "x", true), 1);
    const std::string before = txccl::Signature::of(&data);
    EXPECT_EQ(data.SetComment("// z"), 1);
    const std::string signature = txccl::Signature::of(&data);
    std::string text;
    data.Serialize(text);
    EXPECT_EQ(signature, txccl::Signature::of(text));
    EXPECT_NE(signature, before) << "the comment counts";
}

} // namespace
