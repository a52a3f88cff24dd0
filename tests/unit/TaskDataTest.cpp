#include "Mis/TaskData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <numeric>
#include <random>
#include <vector>

using txccl::Signature;

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
    const auto expectAscending = [](const std::vector<int>& keys) {
        for (std::size_t i = 1; i < keys.size(); ++i) {
            const VTDEntry a(keys[i - 1], "x", 671, 1);
            const VTDEntry b(keys[i], "x", 671, 1);
            EXPECT_TRUE(a < b && b > a && !(a > b) && !(b < a) && !(a == b)) << keys[i];
            EXPECT_TRUE(a.Compare(&b) == -1 && b.Compare(&a) == 1 && a.Compare(&a) == 0 && a == a) << keys[i];
        }
    };
    expectAscending({101, 213, 104, 109, 604, 603, 602, 612, 13122, 13113});
    expectAscending({213, 20401, 20402, 81000});
}

TEST(TaskEntry, TakesItsNameFromTheTableAndCropsItsValue) {
    const VTDEntry entry(25107, " \t\r\nx y\n \t", 650, 0x2);
    EXPECT_EQ(entry.GetName() + "=" + entry.GetValue(), "VSSWriterBackup007.Name=x y");
    EXPECT_EQ(VTDEntry(14, "", 650, 0x2).GetName() + VTDEntry(20401, "", 650, 1).GetName(), "Plugins");
}

TEST(TaskEntries, KeepTheirOrderThroughManyDeletions) {
    TaskEntries entries;
    std::vector<int> keys(600);
    std::iota(keys.begin(), keys.end(), 10010);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(7));
    for (const int key : keys) {
        entries.Append(VTDEntry(key, "", 671, 1));
    }
    for (std::size_t i = 0; i < 500; ++i) {
        const int key = keys[i * 7919 % keys.size()];
        const int last = key + (i % 90 == 0 ? 3 : 0);
        ASSERT_TRUE(key == last ? entries.Erase(key) && !entries.Erase(key) : entries.EraseRange(key, last));
        std::erase_if(keys, [&](int other) { return key <= other && other <= last; });
        if (i % 5 == 0) {
            entries.Append(VTDEntry(key, "", 671, 1));
            keys.push_back(key);
        }
        ASSERT_EQ(entries.Find(keys[keys.size() / 2])->GetKey(), keys[keys.size() / 2]);
    }
    EXPECT_TRUE(std::equal(keys.begin(), keys.end(), entries.All().begin(), entries.All().end(),
                           [](int key, const VTDEntry& entry) { return entry.GetKey() == key; }));
}

TEST(TaskData, StoresReplacesAndDeletes) {
    for (const bool raw : {true, false}) {
        VTaskData data("", raw);
        EXPECT_EQ(data.SetString(213, "  x  ", true) + data.SetString(102, std::string("UTC"), false), 2);
        EXPECT_EQ(data.SetString(213, "y", false) + data.SetRaw(213, "y", false), 0);
        EXPECT_EQ(Values(data, {213, 102, 101}), "=x=UTC");
        EXPECT_EQ(data.SetString(213, VString("  y  "), true), 1);
        EXPECT_EQ(data.SetString(102, static_cast<const char*>(nullptr), true), 1);
        EXPECT_EQ(Values(data, {213, 102}), "=  y  =");
        char buffer[8] = "before";
        VString text("before");
        EXPECT_EQ(data.GetString(213, buffer) + data.GetString(101, &text), 1);
        EXPECT_EQ(std::string(buffer) + static_cast<const char*>(text), "  y  ");
        EXPECT_EQ(data.GetString(101, buffer), 0);
        EXPECT_STREQ(buffer, "");
        EXPECT_EQ(data.SetRaw(13111, "a", true) + data.SetRaw(13112, "b", true) + data.SetRaw(13117, "c", true), 3);
        for (const int deleted : {1, 0}) {
            EXPECT_EQ(data.DeleteKey(213) + data.DeleteKey(13112, 13117), deleted * 2);
            EXPECT_EQ(Values(data, {102, 213, 13111, 13112, 13117}), "==a");
        }
        EXPECT_EQ(data.DeleteKey(INT_MIN, INT_MAX), 1);
        EXPECT_EQ(Values(data, {102, 13111}), "");
    }
    EXPECT_DEATH(VTaskData("", true).DeleteKey(2, 1), "Mis/TaskData.*start <= end");
}

void ExpectFits(bool fits, std::initializer_list<int> keys, std::initializer_list<const char*> values,
                int version = 671, int type = 1) {
    for (const int key : keys) {
        VTaskData data("", true);
        data.SetVersion(version);
        data.SetType(type);
        for (const char* value : values) {
            EXPECT_EQ(data.IsValidEntry(key, value) + data.SetRaw(key, value, true), fits ? 2 : 0) << key << value;
        }
    }
}

TEST(TaskData, TakesOnlyValuesOfTheKeysKindVersionAndType) {
    ExpectFits(true, {103}, {"yes", "TRUE", "No", "1", "", "RUE", "0/1", "e/fa", "/", "yes/no"});
    ExpectFits(false, {103}, {"maybe", "2", "01", " yes", "no/yes"});
    ExpectFits(true, {107}, {"", "0", "007", "99999999999999999999"});
    ExpectFits(false, {107}, {"-5", "+5", "1.5", " 5", "5 ", "0x1", "1,2"});
    ExpectFits(true, {213, 104, 1003, 14}, {"", "x = { } // \"-\"", "\xff"});
    ExpectFits(true, {106}, {"CONSOLE", "remote", "Console,Remote", "remote,remote"});
    ExpectFits(false, {106}, {"", "Con", "Consoles", "/Console", "Console/Remote", "Console,", ",Console"});
    ExpectFits(true, {1202}, {"transaction logs", "full,Transaction Logs"});
    ExpectFits(false, {1202}, {"transaction", "logs", "Full, Transaction Logs"});
    // Headers, and numbers without a row.
    ExpectFits(false, {100, 13103, 20003, -1, 0, 9999, INT_MAX, INT_MIN}, {"", "x", "1"});
    ExpectFits(true, {212}, {"7"}, 101);
    ExpectFits(false, {212}, {"seven"}, 101);
    ExpectFits(true, {212}, {"seven"}, 102);
    ExpectFits(false, {212}, {"7"}, 672);
    ExpectFits(false, {14, 800}, {"x"}, 671, 2);
}

TEST(TaskData, HasTypedValues) {
    VTaskData data("", true);
    bool flag = false;
    int number = 0;
    unsigned mask = 0;
    std::string text;
    EXPECT_EQ(data.SetBool(103, true, true) + data.SetBool(401, false, true) + data.SetNumeric(107, 42, true), 3);
    EXPECT_EQ(data.SetEnum(106, 1, true) + data.SetMask(402, 0b1010, true) + data.SetPassword(104, "p", true), 3);
    EXPECT_EQ(data.SetBool(103, false, false) + data.SetNumeric(107, -1, true) + data.SetEnum(106, 2, true), 0);
    EXPECT_EQ(data.SetEnum(106, -1, true) + data.SetMask(402, 0b10000, true) + data.SetPassword(213, "p", true), 0);
    EXPECT_EQ(Values(data, {103, 401, 107, 106, 402}), "=True=False=42=Remote=Files,Summary");
    EXPECT_EQ(data.GetNumeric(107, &number) == 1 ? number : -1, 42);
    EXPECT_EQ(data.SetRaw(106, "rEMOTE", true) == 1 && data.GetEnum(106, &number) == 1 ? number : -1, 1);
    EXPECT_EQ(data.SetRaw(402, "summary,NONE", true) == 1 && data.GetMask(402, &mask) == 1 ? mask : 0, 0b1001U);
    EXPECT_EQ(data.GetPassword(104, &text) == 1 ? text : "", "p");
    for (const char* value : {"yes", "TRUE", "nO", "false", "1", "RUE", ""}) {
        text += data.SetRaw(103, value, true) == 0 || data.GetBool(103, &flag) == 0 ? "?" : flag ? "t" : "f";
    }
    EXPECT_EQ(text, "pttff???");
}

// Entries without names compare by number with all others, which is no order once three of them are mixed.
TEST(TaskData, WritesEachEntryOnceThoughSomeHaveNoName) {
    std::vector<int> keys = {102, 213, 216, 10011, 10012, 10013};
    for (const int family : {20400, 20500, 23100, 23200, 81000}) {
        keys.resize(keys.size() + 99);
        std::iota(keys.end() - 99, keys.end(), family + 1);
    }
    std::shuffle(keys.begin(), keys.end(), std::mt19937(11));
    VTaskData data("", true);
    for (const int key : keys) {
        ASSERT_EQ(data.SetString(key, "<" + std::to_string(key), true), 1) << key;
    }
    std::string text;
    const long length = data.Serialize(text);
    EXPECT_EQ(length, static_cast<long>(text.size()));
    EXPECT_EQ(std::count(text.begin(), text.end(), '<'), static_cast<long>(keys.size()));
    for (const int key : keys) {
        const std::string before = key > 20400 && key < 23300 ? "\n<" : " = <";
        EXPECT_NE(text.find(before + std::to_string(key) + "\r\n"), std::string::npos) << key;
    }
}

TEST(Signature, IsTheSha1OfBytesAndOfWhatTaskDataWouldWrite) {
    EXPECT_EQ(Signature::of(), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    EXPECT_EQ(Signature::of(static_cast<Signature::SignableObject*>(nullptr)), Signature::of());
    EXPECT_EQ(Signature::of("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(Signature::of(std::string(1000000, 'a')), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
    Signature signature;
    EXPECT_EQ(signature.to_string(), "");
    signature.close();
    signature.update(reinterpret_cast<const unsigned char*>("late"), 4);
    EXPECT_EQ(signature.to_string(), Signature::of());

    VTaskData one("one.qxc", true);
    VTaskData two("two.qxc", true);
    EXPECT_TRUE(one.SetString(213, "x", true) == 1 && one.SetString(10010, "y", true) == 1);
    EXPECT_TRUE(two.SetString(10010, "y", true) == 1 && two.SetString(213, "x", true) == 1);
    EXPECT_EQ(Signature::of(&one), Signature::of(&two));
    std::string text;
    one.Serialize(text);
    two.SetComment("// two");
    EXPECT_EQ(Signature::of(&two), Signature::of("// two\r\n" + text));
}

} // namespace
