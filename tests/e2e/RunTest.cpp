#include "tests/support/Process.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <iterator>
#include <regex>

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

namespace {

const std::string usageText =
    "To be used from installation only\n"
    "Usage: PlugSetter [-r|-u] \"name\" \"installationDir\" \"backupDir\" \"logFileName\"\n"
    "\n\nExample: \n     PlugSetter.exe -r \"CLUSTER\" \"C:\\Tarnix\" \"C:\\Tmp\" \"install.xlog\"\n";
const std::string started = "AGNT 4314 I [6.71.2105 Apr 27 2010 12:06:01]";
const std::string original = ReadFile(TEST_DATA "/global/Global.qxc");
const std::string registered = ReadFile(TEST_DATA "/global/Global.registered.qxc");
const std::string unregistered = ReadFile(TEST_DATA "/global/Global.unregistered.qxc");
const std::string longText(100000, 'l');

/// An installation in a scratch directory. Its directory has the node's name, so that with the one above as backup
/// directory the copy would be the file itself.
class Run : public testing::Test {
protected:
    Run() { WriteFile(config, original); }

    /// Runs the tool, which must print this and nothing else.
    void Tool(const Texts& arguments, int status = 0, const std::string& output = "") {
        const Outcome outcome = RunTool(arguments);
        EXPECT_EQ(outcome.status, status) << outcome.signal;
        EXPECT_EQ(outcome.output + outcome.errors, output);
    }
    /// Runs the tool, which must fail with these records as the reason.
    void Fail(const std::string& to, const Texts& why, const std::string& rollback = "UTIL 7945 I") {
        Tool({"-r", "SS", agent, to, "install.xlog"}, 1);
        Texts log = {started, rollback, "UTIL 7961 F",
                     "UTIL 7962 I [ \"-r\" \"SS\" \"" + agent + "\" \"" + to + "\" \"install.xlog\"]"};
        log.insert(log.begin() + 1, why.begin(), why.end());
        EXPECT_EQ(Log(), log);
    }
    Texts Log() { return Records(ReadFile(agent + "/install.xlog")); }
    /// How many files and directories there are below the scratch directory.
    long Entries() { return std::distance(fs::recursive_directory_iterator(dir / ""), {}); }

    const TempDir dir;
    const std::string agent = dir / "of/" + NodeName();
    const std::string backup = dir / "backup";
    const std::string config = agent + "/Global.qxc";
    const std::string copyDir = backup + "/" + NodeName() + "/";
};

TEST_F(Run, RegistersAndUnregisters) {
    // The last two texts end the names of the directories.
    for (const Texts& test : {Texts{"-r", "ORACLE", registered, "", "/"},
                              {"-R", "ORACLE", registered, "\\", ""},
                              {"-U", "Oracle_RMAN", unregistered, "/\\", "//"}}) {
        WriteFile(config, original);
        for (const std::string& before : {original, test[2]}) {
            Tool({test[0], test[1], agent + test[3], backup + test[4], "install.xlog", "more"});
            EXPECT_EQ(ReadFile(config), test[2]);
            EXPECT_EQ(ReadFile(copyDir + "Global.qxc"), before);
            EXPECT_THAT(Log(), testing::ElementsAre(started, "UTIL 7953 I [Global.qxc]", "UTIL 7960 I"));
        }
    }
    EXPECT_EQ(Entries(), 7);
}

TEST_F(Run, EditsTheSlots) {
    for (const Texts& test : {
             Texts{"-r", "cluster", "//", "Plugin0 {\n  Code = cluster\n  Name = Cluster virtual servers\n}\n"},
             {"-r", "SV", "Plugin1.Code = V\nPlugin0 {\nCode =\nName = old\nBinary = kept\n}",
              "Plugin0 {\n  Binary = kept\n  Code = SV\n  Name = System Volume\n}\nPlugin1 {\n  Code = V\n}\n"},
             {"-U", "oTm",
              "Plugin1 {\nCode = OTM\nName = n\nLicense = l\nAccount = a\nPassword = p\nDomain = d\nProfile = f\n"
              "Binary = b\nGet_Prop_Retry = 1\nPath = x\n}\nPlugin2.Name = n\nPlugin5.Code = otm",
              "Plugin2 {\n  Name = n\n}\n"},
             {"-u", "ORACLE", "Plugin3.Code = ORACLE_8I_SOLARIS", "Plugin3 {\n  Code = ORACLE_8I_SOLARIS\n}\n"},
         }) {
        WriteFile(config, "QXCVersion = 671\n" + test[2]);
        Tool({test[0], test[1], agent, backup, "install.xlog"});
        const std::string text = "BuildVersion = \n\nQXCVersion = 671\n\nType = 1\n\n" + test[3] + "\n";
        EXPECT_EQ(ReadFile(config), registered.substr(0, registered.find("BuildVersion")) +
                                        std::regex_replace(text, std::regex("\n"), "\r\n"));
    }
}

TEST_F(Run, RefusesWrongArgumentsAndTouchesNothing) {
    Tool({"-r", "CLUSTER", agent, backup}, 1, usageText);
    for (const char* action : {"", "-x", "-rr", "r", "--r"}) {
        Tool({action, "CLUSTER", agent, backup, "log"}, 1, usageText);
    }
    for (const std::string& name : Texts{"", "SHARE", "oracle_8i_solaris", "%s%n", longText}) {
        Tool({"-r", name, agent, backup, "log"}, 1, "ERROR: invalid Plug-in Name " + name + "\n");
    }
    const std::string same = "ERROR: backup directory cannot be the same as the installation directory - ";
    Tool({"-r", "CLUSTER", dir / "AGENT\\", dir / "agent/", "log"}, 1, same + (dir / "AGENT/\n"));
    Tool({"-u", "CLUSTER", "", "/", "log"}, 1, same + "/\n");
    EXPECT_EQ(Entries(), 3);
    EXPECT_EQ(ReadFile(config), original);
}

TEST_F(Run, SucceedsWithoutAConfiguration) {
    fs::remove(config);
    fs::create_directories(dir / "b*");
    fs::create_symlink("loop", dir / "loop");
    Tool({"-r", "CLUSTER", dir / "a/b c", dir / "b*", "log"});
    Tool({"-u", "CLUSTER", dir / "d\\\\", backup, "log"});
    EXPECT_THAT(Records(ReadFile(dir / "a/b c/log")), testing::ElementsAre(started, "UTIL 7960 I"));
    EXPECT_TRUE(fs::exists(dir / "d\\/log"));
    for (const std::string& nowhere : {dir / "loop", dir / longText, dir / "a/b c/log/below"}) {
        Tool({"-r", "CLUSTER", nowhere, backup, "log"});
    }
    EXPECT_EQ(Entries(), 8);
}

TEST_F(Run, KeepsABrokenConfiguration) {
    const std::string broken = "QXCVersion = 671\r\nDescription = a\r\n\r\nNo_such_key = <&\"> \r\n";
    WriteFile(config, broken);
    Fail(backup, {"PARS 4783 E [" + config + "] [4]", "PARS 4783 E [" + config + "] [4] [No_such_key = <&\">]",
                  "UTIL 7948 E [" + config + "]"});
    EXPECT_EQ(ReadFile(config), broken);
    EXPECT_EQ(ReadFile(copyDir + "Global.qxc"), broken);
    Tool({"-r", "ss", agent, backup, "install.xlog", "", "a\n<b>", longText}, 1);
    EXPECT_THAT(ReadFile(agent + "/install.xlog"),
                testing::HasSubstr(" \"install.xlog\" \"\" \"a&#10;&lt;b&gt;\" \"" + longText + "\"</P>"));
}

TEST_F(Run, ChangesNothingThatItCannotCopyOrRead) {
    fs::create_directories(copyDir + "Global.qxc");
    Fail(backup, {"BSTR 4145 E [" + copyDir + "Global.qxc]"});
    Fail(dir / "of/", {"BSTR 4145 E [" + config + "]"}); // the copy would be the file itself
    const std::string inside = config + "/" + NodeName() + "/";
    Fail(config, {"DISK 4341 E [" + inside + "]", "UTIL 4341 E [" + inside + "]"});
    EXPECT_EQ(ReadFile(config), original);
    fs::remove_all(backup);
    fs::remove(config);
    WriteFile(config + "/file", "kept");
    Fail(backup, {"UTIL 7948 E [" + config + "]"}, "UTIL 7943 F [] [] []");
    EXPECT_EQ(ReadFile(config + "/file"), "kept");
}

TEST_F(Run, DeletesAFileUnderTheBackupNameButNothingElse) {
    WriteFile(backup, "a file");
    WriteFile(dir / "other/earlier", "kept");
    for (const char* name : {"backup", "other", "o*r", "other/*", "?????"}) {
        WriteFile(config, original);
        Tool({"-r", "ORACLE", agent, dir / name, "install.xlog"});
        EXPECT_EQ(ReadFile(dir / name + "/" + NodeName() + "/Global.qxc"), original);
        EXPECT_EQ(ReadFile(dir / "other/earlier"), "kept");
    }
}

TEST_F(Run, WorksWithoutALog) {
    fs::create_hard_link(config, agent + "/second");
    for (const std::string& log : Texts{"", "no/such/directory.xlog", "Global.qxc", "second", longText}) {
        WriteFile(config, original);
        Tool({"-r", "ORACLE", agent, backup, log});
        EXPECT_EQ(ReadFile(config), registered);
    }
    EXPECT_EQ(Entries(), 7);
    EXPECT_EQ(mkfifo((agent + "/pipe").c_str(), 0600), 0);
    Tool({"-r", "ORACLE", agent, backup, "pipe"});
    fs::remove(config);
    fs::create_symlink("Global.qxc", agent + "/link");
    for (const std::string& log : Texts{"Global.qxc", "./Global.qxc", "../" + NodeName() + "/Global.qxc", "link"}) {
        Tool({"-r", "ORACLE", agent, backup, log});
        EXPECT_FALSE(fs::exists(config)) << log;
    }
    // If the log were written over the copy, restoring would write the log over the configuration.
    WriteFile(config, original);
    Tool({"-r", "ORACLE", agent, backup, "../../backup/" + NodeName() + "/Global.qxc"}, 1);
    EXPECT_EQ(ReadFile(config), original);
    EXPECT_EQ(Records(ReadFile(copyDir + "Global.qxc")).at(1), "UTIL 7947 E [upgrade() ]");
}

TEST_F(Run, ShowsTheLogOnStandardOutputThroughALink) {
    fs::create_symlink("/proc/self/fd/1", agent + "/shown");
    // The last record is longer than what a pipe holds.
    const std::string run = "'" TOOL "' -r SS '" + agent + "' '" + config + "' shown " + longText + " | cat";
    const Texts log = Records(RunProgram({"/bin/sh", "-c", run}).output);
    ASSERT_EQ(log.size(), 6U);
    EXPECT_THAT(log[5], testing::AllOf(testing::StartsWith("UTIL 7962 I [ \"-r\""), testing::EndsWith("l\"]")));
}

// With standard output closed, what is printed could get into the configuration.
TEST_F(Run, OpensTheStandardStreamsThatAreClosed) {
    fs::remove(config);
    EXPECT_EQ(mkfifo(config.c_str(), 0600), 0);
    const std::string run = "'" TOOL "' -r SS '" + agent + "' '" + backup + "' log <&- >&- 2>&- & exec 9>'" + config;
    const std::string look = "'; for i in 0 1 2; do readlink /proc/$!/fd/$i; done; ";
    const std::string lock = "flock -n -s '" + agent + "' true || echo locked; kill $!";
    EXPECT_EQ(RunProgram({"/bin/sh", "-c", run + look + lock}).output, "/dev/null\n/dev/null\n/dev/null\nlocked\n");
}

TEST_F(Run, ShowsTheLogOnlyToThoseWhoMayReadTheConfiguration) {
    const std::string log = agent + "/install.xlog";
    // The mode of the configuration and that of the log before, 0 for none, and that of the log after.
    constexpr unsigned cases[][3] = {{0600, 0, 0600},    {0640, 0, 0640},    {0640, 0666, 0640},
                                     {0666, 0600, 0600}, {0604, 0666, 0600}, {0, 0666, 0666}};
    for (const auto& [mode, before, after] : cases) {
        fs::remove(log);
        if (before != 0) {
            WriteFile(log, "");
            fs::permissions(log, static_cast<fs::perms>(before));
        }
        mode == 0 ? static_cast<void>(fs::remove(config)) : fs::permissions(config, static_cast<fs::perms>(mode));
        Tool({"-r", "ORACLE", agent, backup, "install.xlog"});
        EXPECT_EQ(static_cast<unsigned>(fs::status(log).permissions()), after) << std::oct << mode;
    }
}

TEST_F(Run, DeletesFurtherNamesOfTheConfigurationUnderTheBackupName) {
    fs::create_hard_link(config, dir / "second");
    fs::create_symlink(config, dir / "link");
    fs::create_symlink(agent, dir / "agent");
    for (const char* name : {"second", "link"}) {
        Tool({"-r", "ORACLE", agent, dir / name, "install.xlog"});
        EXPECT_EQ(ReadFile(config), registered) << name;
        EXPECT_TRUE(fs::is_directory(dir / name)) << name;
    }
    // The backup directory names the link to the installation directory; the link must stay.
    Tool({"-u", "SS", dir / "agent", dir / "./agent", "install.xlog"});
    EXPECT_TRUE(fs::is_symlink(dir / "agent"));
    // So do all links that lead to the file, and the file at their end, even under one of its two names.
    fs::rename(config, dir / "real");
    fs::create_hard_link(dir / "real", dir / "further");
    fs::create_symlink("real", dir / "middle");
    fs::create_symlink("../../middle", config);
    for (const char* name : {"real", "middle", "agent"}) {
        Tool({"-u", "SS", dir / "agent/.", dir / name, "install.xlog"}, name == std::string("agent") ? 0 : 1);
        EXPECT_EQ(ReadFile(config), registered) << name;
    }
    // The system follows 40 links, that under the name of the configuration included.
    fs::remove(config);
    std::string target = "real";
    for (int link = 1; link < 40; ++link) {
        fs::create_symlink(target, dir / std::to_string(link));
        target = std::to_string(link);
    }
    fs::create_symlink("../../" + target, config);
    Tool({"-u", "SS", agent, dir / "real", "install.xlog"}, 1);
    EXPECT_EQ(ReadFile(config), registered);
}

} // namespace
