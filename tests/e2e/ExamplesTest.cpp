#include "tests/support/Process.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

const std::string original = ReadFile(TEST_DATA "/global/Global.qxc");
const std::string registered = ReadFile(TEST_DATA "/global/Global.registered.qxc");

/// An agent in a scratch directory, and the scripts of a plug-in package that work on it.
class Examples : public testing::Test {
protected:
    /// Runs a script, which is to end so and to say this.
    void Script(const std::string& name, int status, const std::string& text) {
        const std::string tools = fs::path(TOOL).parent_path();
        const Outcome outcome = RunProgram({"/bin/sh", EXAMPLES "/" + name, "ORACLE", dir / "agent", dir / "backup"},
                                           {"PATH=" + tools + ":/usr/bin:/bin", "TMPDIR=" + dir / "scratch"});
        EXPECT_EQ(outcome.status, status) << name;
        EXPECT_NE((outcome.output + outcome.errors).find(text), std::string::npos) << outcome.output << outcome.errors;
        EXPECT_TRUE(fs::is_empty(dir / "scratch"));
    }
    std::string Copy() { return ReadFile(fs::directory_iterator(dir / "backup")->path() / "Global.qxc"); }

    const TempDir dir;
    const std::string config = dir / "agent/Global.qxc";
    const bool scratchMade = fs::create_directory(dir / "scratch");
};

TEST_F(Examples, RegisterAndUnregisterAndKeepTheCopy) {
    WriteFile(config, original);
    Script("post-install", 0, "ORACLE is registered; ");
    EXPECT_EQ(ReadFile(config), registered);
    Script("post-install", 0, "as it was before");
    EXPECT_EQ(Copy(), original);
    Script("pre-remove", 0, "ORACLE is unregistered; ");
    EXPECT_EQ(ReadFile(config).find("oracle.so"), std::string::npos);
    Script("pre-remove", 0, "as it was before");
    EXPECT_EQ(Copy(), registered);
}

TEST_F(Examples, TellWhyAndLeaveTheConfiguration) {
    Script("post-install", 0, "there is no " + config);
    EXPECT_FALSE(fs::exists(dir / "agent"));
    std::string full;
    for (char slot = '0'; slot <= '9'; ++slot) {
        full += std::string("Plugin") + slot + ".Code = S" + slot + "\n";
    }
    for (const auto& [script, text, reason] : {std::tuple("post-install", std::string("no key"), "ID=\"7948\""),
                                               {"pre-remove", "no key", "ID=\"7948\""},
                                               {"post-install", full, "are taken: S0 S1 S2 S3 S4 S5 S6 S7 S8 S9\n"}}) {
        WriteFile(config, text);
        Script(script, 1, reason);
        EXPECT_EQ(ReadFile(config), text);
        EXPECT_FALSE(fs::exists(dir / "backup"));
    }
}

} // namespace
