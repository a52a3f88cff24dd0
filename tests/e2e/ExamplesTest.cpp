#include "tests/support/Process.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

namespace {

/// An agent's installation and the scripts of a plug-in package that work on it.
class Examples : public testing::Test {
protected:
    Examples() { WriteFile(configuration, original); }

    Outcome RunScript(const std::string& script) const {
        const std::string tools = std::filesystem::path(TOOL).parent_path();
        return RunProgram({"/bin/sh", EXAMPLES "/" + script, scratch / "agent", scratch / "backup"},
                          {"PATH=" + tools + ":/usr/bin:/bin"});
    }

    const TempDir scratch;
    const std::string configuration = scratch / "agent/Global.qxc";
    const std::string original = ReadFile(TEST_DATA "/global/Global.qxc");
};

} // namespace

TEST_F(Examples, InstallAndRemoveLeaveNothingOfThePlugin) {
    EXPECT_EQ(RunScript("post-install").status, 0);
    EXPECT_EQ(ReadFile(configuration), ReadFile(TEST_DATA "/global/Global.registered.qxc"));
    EXPECT_EQ(RunScript("pre-remove").status, 0);
    EXPECT_EQ(ReadFile(configuration).find("oracle.so"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(scratch / "backup"));
}

TEST_F(Examples, ShowWhatFailed) {
    const std::string broken = "no key at all\n";
    WriteFile(configuration, broken);
    for (const char* script : {"post-install", "pre-remove"}) {
        const Outcome outcome = RunScript(script);
        EXPECT_EQ(outcome.status, 1) << script;
        EXPECT_NE(outcome.errors.find("ID=\"7948\""), std::string::npos) << outcome.errors;
        EXPECT_EQ(ReadFile(configuration), broken) << script;
    }
}

TEST_F(Examples, RestoreWhenNoSlotIsFree) {
    std::string full = "Type = 1\n";
    for (char slot = '0'; slot <= '9'; ++slot) {
        full += std::string("Plugin") + slot + ".Code = SS\n";
    }
    WriteFile(configuration, full);
    EXPECT_EQ(RunScript("post-install").status, 1);
    EXPECT_EQ(ReadFile(configuration), full);
}
