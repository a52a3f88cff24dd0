#include "Mis/TaskData.h"

#include "Mis/Log.h"
#include "Mis/TaskKeys.h"
#include "tests/support/Calls.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <optional>
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

TEST(TaskData, HoldsReadsAndWritesValues) {
    std::optional<VTaskData> data;
    const Calls calls = {
        {"new", [&](bool raw) { data.emplace("", raw); }},
        {"get", [&](int key) { return Value(*data, key); }},
        {"getText",
         [&](int key) {
             VString text = "z";
             return data->GetString(key, &text), text;
         }},
        {"getChars",
         [&](int key) {
             char text[] = "left from before";
             return data->GetString(key, text), std::string(text);
         }},
        {"typed", [&](int key) { return Typed(*data, key); }},
        {"set", [&](int key, std::string value) { return data->SetString(key, value, true); }},
        {"add", [&](int key, std::string value) { return data->SetString(key, value, false); }},
        {"setText", [&](int key, VString value) { return data->SetString(key, value, true); }},
        {"setRaw", [&](int key, std::string value) { return data->SetRaw(key, value, true); }},
        {"addRaw", [&](int key, std::string value) { return data->SetRaw(key, value, false); }},
        {"fits", [&](int key, std::string value) { return data->IsValidEntry(key, value); }},
        {"setBool", [&](int key, bool value, bool overwrite) { return data->SetBool(key, value, overwrite); }},
        {"setNumber", [&](int key, int value) { return data->SetNumeric(key, value, true); }},
        {"setIndex", [&](int key, int index) { return data->SetEnum(key, index, true); }},
        {"setMask", [&](int key, unsigned mask) { return data->SetMask(key, mask, true); }},
        {"setPassword", [&](int key, std::string value) { return data->SetPassword(key, value, true); }},
        {"delete", [&](int key) { return data->DeleteKey(key); }},
        {"deleteFromTo", [&](int first, int last) { return data->DeleteKey(first, last); }},
        {"read", [&](std::string text) { return data->Deserialize(text, false); }},
        {"line", [&](std::string line) { return data->ParseLine(line, false); }},
        {"write",
         [&] {
             std::string text;
             return data->Serialize(text), text;
         }},
        {"errorLine", [&] { return data->GetErrorLine(); }},
        {"version", [&] { return data->GetVersion(); }},
        {"type", [&] { return data->GetType(); }},
    };
    MakeCalls("TaskData", calls);
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
