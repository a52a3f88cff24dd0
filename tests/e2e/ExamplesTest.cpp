#include "tests/support/Process.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

namespace {

/// Runs a script of a plug-in package on the agent below `dir`.
Outcome RunScript(const std::string& script, const TempDir& dir) {
    const std::string tools = std::filesystem::path(TOOL).parent_path();
    return RunProgram({"/bin/sh", EXAMPLES "/" + script, dir / "agent", dir / "backup"},
                      {"PATH=" + tools + ":/usr/bin:/bin"});
}

TEST(Examples, InstallAndRemoveLeaveNothingOfThePlugin) {
    const TempDir dir;
    const std::string configuration = dir / "agent/Global.qxc";
    WriteFile(configuration, ReadFile(TEST_DATA "/global/Global.qxc"));
    EXPECT_EQ(RunScript("post-install", dir).status, 0);
    EXPECT_EQ(ReadFile(configuration), ReadFile(TEST_DATA "/global/Global.registered.qxc"));
    EXPECT_EQ(RunScript("pre-remove", dir).status, 0);
    EXPECT_EQ(ReadFile(configuration).find("oracle.so"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(dir / "backup"));
}

TEST(Examples, TellWhyAndLeaveTheConfiguration) {
    std::string full;
    for (char slot = '0'; slot <= '9'; ++slot) {
        full += std::string("Plugin") + slot + ".Code = SS\n";
    }
    for (const auto& [text, reason] : {std::pair(std::string("no key"), "ID=\"7948\""), {full, "no slot is free"}}) {
        const TempDir dir;
        WriteFile(dir / "agent/Global.qxc", text);
        const Outcome outcome = RunScript("post-install", dir);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.errors.find(reason), std::string::npos) << outcome.errors;
        EXPECT_EQ(ReadFile(dir / "agent/Global.qxc"), text);
    }
}

} // namespace
