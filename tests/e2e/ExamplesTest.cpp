#include "tests/support/Process.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace {

/// Runs a script of a plug-in package on the agent below `dir`, which is to end so and to say this.
void Script(const TempDir& dir, const std::string& script, int status, const std::string& text) {
    const std::string tools = fs::path(TOOL).parent_path();
    const Outcome outcome = RunProgram({"/bin/sh", EXAMPLES "/" + script, "ORACLE", dir / "agent", dir / "backup"},
                                       {"PATH=" + tools + ":/usr/bin:/bin"});
    EXPECT_EQ(outcome.status, status) << script;
    EXPECT_THAT(outcome.output + outcome.errors, testing::HasSubstr(text));
}

TEST(Examples, InstallAndRemoveAndKeepTheCopy) {
    const TempDir dir;
    const std::string config = dir / "agent/Global.qxc";
    Script(dir, "post-install", 0, "there is no " + config);
    EXPECT_FALSE(fs::exists(dir / "agent"));
    WriteFile(config, ReadFile(TEST_DATA "/global/Global.qxc"));
    const std::string registered = ReadFile(TEST_DATA "/global/Global.registered.qxc");
    Script(dir, "post-install", 0, "ORACLE is registered; ");
    EXPECT_EQ(ReadFile(config), registered);
    Script(dir, "pre-remove", 0, "ORACLE is unregistered; ");
    EXPECT_EQ(ReadFile(config).find("oracle.so"), std::string::npos);
    Script(dir, "pre-remove", 0, "as it was before");
    EXPECT_EQ(ReadFile(fs::directory_iterator(dir / "backup")->path() / "Global.qxc"), registered);
}

TEST(Examples, TellWhyAndLeaveTheConfiguration) {
    std::string full;
    for (char slot = '0'; slot <= '9'; ++slot) {
        full += std::string("Plugin") + slot + ".Code = S" + slot + "\n";
    }
    for (const auto& [script, text, reason] : {std::tuple("post-install", std::string("no key"), "ID=\"7948\""),
                                               {"pre-remove", "no key", "ID=\"7948\""},
                                               {"post-install", full, "are taken: S0 S1 S2 S3 S4 S5 S6 S7 S8 S9\n"}}) {
        const TempDir dir;
        WriteFile(dir / "agent/Global.qxc", text);
        Script(dir, script, 1, reason);
        EXPECT_EQ(ReadFile(dir / "agent/Global.qxc"), text);
    }
}

} // namespace
