#include "Mis/TaskData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <numeric>
#include <random>
#include <vector>

namespace {

/// The values of the keys, each after "="; nothing for a key without an entry.
std::string Values(const VTaskData& data, std::initializer_list<int> keys) {
    std::string values;
    for (const int key : keys) {
        std::string value = "left from before";
        values += (data.GetString(key, &value) == 1 ? "=" : "") + value;
    }
    return values;
}

TEST(TaskEntry, OrdersByNameAndWithoutANameByKey) {
    for (const auto& [lower, higher] : {std::pair(604, 603), {13122, 13113}, {213, 20401}, {20402, 81000}}) {
        const VTDEntry a(lower, "", 671, 1);
        const VTDEntry b(higher, "", 671, 1);
        EXPECT_TRUE(a < b && b > a && !(a > b) && !(b < a) && !(a == b)) << lower;
        EXPECT_TRUE(a.Compare(&b) == -1 && b.Compare(&a) == 1 && a.Compare(&a) == 0 && a == a) << lower;
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

TEST(TaskData, StoresReplacesAndDeletes) {
    for (const bool raw : {true, false}) {
        VTaskData data("", raw);
        EXPECT_EQ(data.SetString(213, "  x  ", true) + data.SetString(102, std::string("UTC"), false), 2);
        EXPECT_EQ(data.SetString(213, "y", false) + data.SetRaw(213, "y", false), 0);
        EXPECT_EQ(Values(data, {213, 102, 101}), "=x=UTC");
        EXPECT_EQ(data.SetString(213, VString("  y  "), true) + data.SetString(102, "", true), 2);
        EXPECT_EQ(Values(data, {213, 102}), "=  y  =");
        EXPECT_EQ(data.SetRaw(13111, "a", true) + data.SetRaw(13112, "b", true) + data.SetRaw(13117, "c", true), 3);
        for (const int deleted : {1, 0}) {
            EXPECT_EQ(data.DeleteKey(213) + data.DeleteKey(13112, 13117), deleted * 2);
            EXPECT_EQ(Values(data, {102, 213, 13111, 13112, 13117}), "==a");
        }
        EXPECT_EQ(data.DeleteKey(INT_MIN, INT_MAX), 1);
        EXPECT_EQ(Values(data, {102, 13111}), "");
    }
}

void ExpectFits(bool fits, std::initializer_list<int> keys, std::initializer_list<const char*> values) {
    VTaskData data("", true);
    for (const int key : keys) {
        for (const char* value : values) {
            EXPECT_EQ(data.IsValidEntry(key, value) + data.SetRaw(key, value, true), fits ? 2 : 0) << key << value;
        }
    }
}

TEST(TaskData, TakesOnlyValuesOfTheKeysKind) {
    ExpectFits(true, {103}, {"yes", "TRUE", "No", "1", "", "RUE", "0/1", "e/fa", "/", "yes/no"});
    ExpectFits(false, {103}, {"maybe", "2", "01", " yes", "no/yes"});
    ExpectFits(true, {107}, {"", "0", "007", "99999999999999999999"});
    ExpectFits(false, {107}, {"-5", "+5", "1.5", " 5", "5 ", "0x1", "1,2"});
    ExpectFits(true, {213, 104, 1003, 14}, {"", "x = { } // \"-\"", "\xff"});
    ExpectFits(true, {106}, {"CONSOLE", "remote", "Console,Remote", "remote,remote"});
    ExpectFits(false, {106, 1202}, {"", "Con", "Consoles", "/Console", "Console,", ",Console", "logs", "Full, Full"});
    ExpectFits(false, {100, 13103, 20003, -1, 0, 9999, INT_MAX, INT_MIN}, {"", "x", "1"});
}

TEST(TaskData, HasTypedValues) {
    VTaskData data("", true);
    bool flag = false;
    int number = 0;
    int index = 0;
    unsigned mask = 0;
    EXPECT_EQ(data.SetBool(103, true, true) + data.SetNumeric(107, 42, true) + data.SetEnum(106, 1, true), 3);
    EXPECT_EQ(data.SetMask(402, 0b1010, true) + data.SetPassword(104, "p", true), 2);
    EXPECT_EQ(data.SetMask(402, 0b10000, true) + data.SetPassword(213, "p", true), 0);
    EXPECT_EQ(data.SetBool(103, false, false) + data.SetNumeric(107, -1, true) + data.SetEnum(106, 2, true), 0);
    EXPECT_EQ(Values(data, {103, 107, 106, 402, 104}), "=True=42=Remote=Files,Summary=p");
    EXPECT_EQ(data.GetBool(103, &flag) + data.GetNumeric(107, &number), 2);
    EXPECT_EQ(data.GetEnum(106, &index) + data.GetMask(402, &mask), 2);
    EXPECT_EQ(std::tuple(flag, number, index, mask), std::tuple(true, 42, 1, 0b1010U));
}

// Entries without names compare by number with all others, in which three can compare in a circle.
TEST(TaskData, WritesTheSameTextWhateverTheOrderOfAdding) {
    constexpr int keyInACircle[] = {63552, 20410, 212};
    std::vector<int> keys(std::begin(keyInACircle), std::end(keyInACircle));
    for (int i = 1; i < 100; ++i) {
        keys.insert(keys.end(), {20400 + i, 23100 + i, 81000 + i});
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
        const bool named = key < 20400 || key > 23200;
        const std::string line = (named ? " = <" : "\n<") + std::to_string(key) + "\r\n";
        EXPECT_NE(texts[0].find(line), std::string::npos) << key;
    }
}

TEST(Signature, IsTheSha1OfWhatTaskDataWouldWrite) {
    EXPECT_EQ(txccl::Signature::of("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
    VTaskData data("file.qxc", true);
    EXPECT_EQ(data.SetString(213, "x", true) + data.SetString(10010, "y", true) + data.SetComment("// z"), 3);
    const std::string signature = txccl::Signature::of(&data);
    std::string text;
    data.Serialize(text);
    EXPECT_EQ(signature, txccl::Signature::of(text));
}

} // namespace
