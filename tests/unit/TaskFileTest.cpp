#include "Mis/Log.h"
#include "Mis/TaskData.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>

namespace fs = std::filesystem;

namespace {

constexpr int keyPlugins = 14;
constexpr int keyLogFormat = 403;

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
        const std::string text = ReadFile(file);
        const std::string name = file.stem().stem();
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
        std::ostringstream error;
        error << "PARS 4456 E [syntax error " << path << ", line " << number << ": " << line << "] [why]";
        EXPECT_EQ(Records(ReadFile(dir / "log")).back(), error.str());
    }
}

TEST(TaskFile, WhatCannotBeReadIsNoSyntaxError) {
    constexpr std::uintmax_t limit = 64 << 20;
    const TempDir dir;
    const std::string large = dir / "large";
    WriteFile(large, "Description = x\n//");
    VTaskData data(large, true);
    fs::resize_file(large, limit);
    EXPECT_EQ(data.LoadFile("", true), 1);
    fs::resize_file(large, limit + 1);
    EXPECT_EQ(data.LoadFile("", true), -1);
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

TEST(TaskFile, ARefusedVersionIsTheOneThatWasRead) {
    VTaskData data("", true);
    std::string text = "QXCVersion = 672\n";
    EXPECT_FALSE(data.Deserialize(text, false));
    EXPECT_EQ(data.GetVersion(), 672);
}

TEST(TaskFile, AnUnfinishedLineEndsWithItsTextAndASectionDoesNot) {
    VTaskData data("", true);
    std::string text = "Log {\nFormat = Brief\nDetail = None\"-";
    EXPECT_TRUE(data.Deserialize(text, false));
    EXPECT_FALSE(data.ParseLine("\",Files", false));
    EXPECT_TRUE(data.ParseLine("Format = Full", false));
    EXPECT_EQ(data.GetString(keyLogFormat, &text), 1);
    EXPECT_EQ(text, "Full");
}

TEST(TaskFile, ASectionNamedDotTakesTwoBraces) {
    for (const auto& [text, line] : {std::pair(". {\n}\n}\nDescription = x", 0), {". {\n}\nDescription = x", 3}}) {
        VTaskData data("", true);
        std::string copy = text;
        data.Deserialize(copy, false);
        EXPECT_EQ(data.GetErrorLine(), line) << text;
    }
}

TEST(TaskFile, SideEffectsAreOnRequest) {
    VTaskData data("", true);
    unsetenv("ORACLE_HOME");
    VTaskData::extensionLoaded = false;
    // The list of plug-ins is handed over only once, but each file sets its entry.
    for (const std::string list : {"no.so", "a.so", "b.so"}) {
        std::string text = "Oracle0.OraHome = /opt/o0\nOracle1.OraHome = /opt/o1\nPlugins = " + list;
        EXPECT_TRUE(data.Deserialize(text, list != "no.so"));
        EXPECT_STREQ(getenv("ORACLE_HOME"), list != "no.so" ? "/opt/o0" : nullptr);
        EXPECT_EQ(VTaskData::extensionLoaded, list != "no.so");
        EXPECT_EQ(data.GetString(keyPlugins, &text), 1);
        EXPECT_EQ(text, list);
    }
}

} // namespace
