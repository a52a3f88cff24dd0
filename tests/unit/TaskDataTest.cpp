#include "Mis/TaskData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <numeric>
#include <optional>
#include <random>
#include <vector>

namespace {

constexpr int keyTimeZone = 102;
constexpr int keyDiagnostics = 103;  // #B
constexpr int keyPassword = 104;     // #P
constexpr int keyOperatorMode = 106; // /Console/Remote
constexpr int keyPriority = 107;     // #N
constexpr int keyDescription = 213;
constexpr int keyLogDetail = 402; // /None/Files/Directories/Summary
constexpr int keyInclude = 1003;  // #R
constexpr int keyOracleType = 1202;
constexpr int keyPluginHeader = 13100;
constexpr int keyPluginCode = 13110;
constexpr int keyBiosType = 20400;
constexpr int keySoftwareOs = 23100;
constexpr int keyStockPart = 81000;

/// The value of a key, nothing when it has no entry.
std::optional<std::string> Value(const VTaskData& data, int key) {
    std::string value = "left from before";
    if (data.GetString(key, &value) == 1) {
        return value;
    }
    EXPECT_EQ(value, "") << "the text for a missing key is cleared";
    return std::nullopt;
}

TEST(TaskEntry, OrdersByNameAndWithoutANameByKey) {
    // clang-format off
    const std::tuple<const char*, int, int> cases[] = {
        {"by name against the keys", 604, 603},                 {"by name with an index", 13122, 13113},
        {"the second has no name", keyDescription, keyBiosType + 1}, {"neither has one", keyBiosType + 1, keyBiosType + 2},
        {"the first has no name", keyBiosType + 2, keyStockPart},
    };
    // clang-format on
    for (const auto& [name, lower, higher] : cases) {
        const VTDEntry a(lower, "", 671, 1);
        const VTDEntry b(higher, "", 671, 1);
        EXPECT_EQ(std::tuple(a<b, b> a, a == a), std::tuple(true, true, true)) << name;
        EXPECT_EQ(std::tuple(b<a, a> b, a == b), std::tuple(false, false, false)) << name;
        EXPECT_EQ(std::tuple(a.Compare(&b), b.Compare(&a), a.Compare(&a)), std::tuple(-1, 1, 0)) << name;
    }
}

TEST(TaskEntries, AreFoundThroughManyDeletions) {
    constexpr int first = 10010;
    constexpr int count = 600;
    TaskEntries entries;
    for (int key = first; key < first + count; ++key) {
        entries.Append(VTDEntry(key, std::to_string(key), 671, 1));
    }
    std::vector<int> keys(count);
    std::iota(keys.begin(), keys.end(), first);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(7));
    for (; keys.size() > 100; keys.pop_back()) {
        ASSERT_TRUE(entries.Erase(keys.back()));
        ASSERT_FALSE(entries.Erase(keys.back()));
    }
    constexpr int end = first + count / 2;
    EXPECT_TRUE(entries.EraseRange(INT_MIN, end));
    EXPECT_FALSE(entries.EraseRange(INT_MIN, end));
    std::erase_if(keys, [](int key) { return key <= end; });
    EXPECT_EQ(entries.All().size(), keys.size());
    for (const int key : keys) {
        const VTDEntry* entry = entries.Find(key);
        EXPECT_EQ(entry == nullptr ? "none" : entry->GetValue(), std::to_string(key));
    }
}

TEST(TaskData, AnIndexTooLongForANumberIsTheLargest) {
    int index = 0;
    EXPECT_TRUE(VTaskData::KeyMatch("x99999999999y", "X%%%%%%%%%%%Y", &index));
    EXPECT_EQ(index, INT_MAX);
}

TEST(TaskData, AddsAndReplacesValues) {
    for (const bool raw : {true, false}) {
        SCOPED_TRACE(raw ? "raw" : "converted");
        VTaskData data("", raw);
        EXPECT_EQ(data.SetString(keyDescription, "  x  ", true), 1);
        EXPECT_EQ(Value(data, keyDescription), "x") << "a new value is cropped";
        EXPECT_EQ(data.SetString(keyDescription, std::string("y"), false), 0);
        EXPECT_EQ(data.SetRaw(keyDescription, "y", false), 0);
        EXPECT_EQ(Value(data, keyDescription), "x");
        EXPECT_EQ(data.SetString(keyDescription, VString(" y\xE9 "), true), 1) << "a value that replaces is kept whole";

        for (const auto& [key, value] : {std::pair(keyDescription, " y\xE9 "), {keyTimeZone, ""}}) {
            VString text = "z";
            char buffer[] = "left from before";
            EXPECT_EQ(data.GetString(key, &text), *value != 0 ? 1 : 0);
            EXPECT_EQ(data.GetString(key, buffer), *value != 0 ? 1 : 0);
            EXPECT_STREQ(text, value);
            EXPECT_STREQ(buffer, value);
        }
    }
}

TEST(TaskData, DeletesOneKeyOrARange) {
    VTaskData data("", true);
    for (const int key : {keyDescription, keyPluginCode + 1, keyPluginCode + 2, keyPluginCode + 7}) {
        ASSERT_EQ(data.SetRaw(key, "x", true), 1);
    }
    for (const int deleted : {1, 0}) {
        EXPECT_EQ(data.DeleteKey(keyDescription), deleted);
        EXPECT_EQ(data.DeleteKey(keyPluginCode + 2, keyPluginCode + 7), deleted);
    }
    EXPECT_EQ(Value(data, keyPluginCode + 1), "x");
    EXPECT_EQ(data.DeleteKey(INT_MIN, INT_MAX), 1);
    EXPECT_EQ(Value(data, keyPluginCode + 1), std::nullopt);
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

TEST(TaskData, BooleansAreWordsToTheGetter) {
    const std::tuple<const char*, int, bool> cases[] = {{"yes", 1, true},    {"TRUE", 1, true}, {"no", 1, false},
                                                        {"False", 1, false}, {"1", 0, true},    {"rue", 0, true}};
    VTaskData data("", true);
    for (const auto& [text, result, value] : cases) {
        bool flag = true;
        EXPECT_EQ(data.SetString(keyDiagnostics, text, true), 1) << text;
        EXPECT_EQ(data.GetBool(keyDiagnostics, &flag), result) << text;
        EXPECT_EQ(flag, value) << text;
    }
    for (const bool value : {true, false}) {
        EXPECT_EQ(data.SetBool(keyDiagnostics, value, true), 1);
        EXPECT_EQ(Value(data, keyDiagnostics), value ? "True" : "False");
    }
}

TEST(TaskData, NumbersAreDigits) {
    VTaskData data("", true);
    EXPECT_EQ(data.SetNumeric(keyPriority, -1, true), 0);
    EXPECT_EQ(data.SetNumeric(keyPriority, 42, true), 1);
    EXPECT_EQ(Value(data, keyPriority), "42");
    for (const auto& [text, number] : {std::pair("042", 42), {"99999999999", INT_MAX}}) {
        int found = 0;
        data.SetString(keyPriority, text, true);
        EXPECT_EQ(data.GetNumeric(keyPriority, &found), 1) << text;
        EXPECT_EQ(found, number);
    }
    int kept = 7;
    data.SetString(keyDescription, "4x", true);
    EXPECT_EQ(data.GetNumeric(keyDescription, &kept), 0);
    EXPECT_EQ(kept, 7);
}

TEST(TaskData, NamesOfARowHaveAnIndexAndABit) {
    VTaskData data("", true);
    int index = 7;
    unsigned mask = 7;
    for (const int unknown : {-1, 2}) {
        EXPECT_EQ(data.SetEnum(keyOperatorMode, unknown, true), 0);
    }
    EXPECT_EQ(data.GetEnum(keyOperatorMode, &index), 0);
    EXPECT_EQ(data.SetEnum(keyOperatorMode, 1, true), 1);
    EXPECT_EQ(Value(data, keyOperatorMode), "Remote");
    EXPECT_EQ(data.GetEnum(keyOperatorMode, &index), 1);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(data.SetMask(keyLogDetail, 0b10000, true), 0) << "there are four names";
    EXPECT_EQ(data.GetMask(keyLogDetail, &mask), 0);
    for (const auto& [bits, names] : {std::pair(0b0001U, "None"), {0b1010U, "Files,Summary"}}) {
        EXPECT_EQ(data.SetMask(keyLogDetail, bits, true), 1);
        EXPECT_EQ(Value(data, keyLogDetail), names);
        EXPECT_EQ(data.GetMask(keyLogDetail, &mask), 1);
        EXPECT_EQ(mask, bits);
    }
}

TEST(TaskData, PasswordsAreThoseOfPasswordKeys) {
    VTaskData data("", true);
    for (const auto& [key, result] : {std::pair(keyDescription, 0), {keyPassword, 1}}) {
        std::string password = "left from before";
        EXPECT_EQ(data.SetPassword(key, "p", true), result);
        data.SetString(key, "p", true);
        EXPECT_EQ(data.GetPassword(key, &password), result);
        EXPECT_EQ(password, result == 1 ? "p" : "");
    }
}

// Entries without names compare by number with all others, in which three can compare in a circle.
TEST(TaskData, WritesTheSameTextWhateverTheOrderOfAdding) {
    std::vector<int> keys = {63552, keyBiosType + 10, 212};
    for (int i = 1; i < 100; ++i) {
        keys.insert(keys.end(), {keyBiosType + i, keySoftwareOs + i, keyStockPart + i});
    }
    std::string texts[3];
    for (std::string& text : texts) {
        VTaskData data("", true);
        for (const int key : keys) {
            data.SetString(key, "<" + std::to_string(key), true);
        }
        data.Serialize(text);
        std::string again;
        data.Serialize(again);
        EXPECT_EQ(again, text);
        std::shuffle(keys.begin(), keys.end(), std::mt19937(11));
    }
    EXPECT_EQ(texts[1], texts[0]);
    EXPECT_EQ(texts[2], texts[0]);
    for (const int key : keys) {
        const bool named = key < keyBiosType || key > keySoftwareOs + 100;
        const std::string line = (named ? " = <" : "\n<") + std::to_string(key) + "\r\n";
        EXPECT_NE(texts[0].find(line), std::string::npos) << key;
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
