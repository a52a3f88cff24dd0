#include "PlugSetter/Backup.h"

#include "Mis/Log.h"
#include "Mis/Unix/Descriptor.h"
#include "Mis/Unix/FileAccess.h"
#include "Mis/Unix/FileStatus.h"
#include "Mis/VError.h"
#include "PlugSetter/Globals.h"
#include "PlugSetter/Guard.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"
#include "tests/support/Thrown.h"

#include <csignal>

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

struct stat StatusOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

/// "mode owner group", the mode in octal.
std::string AccessOf(const std::string& path) {
    const struct stat status = StatusOf(path);
    std::ostringstream text;
    text << std::oct << (status.st_mode & 07777U) << std::dec << ' ' << status.st_uid << ' ' << status.st_gid;
    return text.str();
}

void SetAccess(const std::string& path, mode_t mode, uid_t owner) {
    EXPECT_EQ(lchown(path.c_str(), owner, owner + 1), 0);
    if (!fs::is_symlink(path)) {
        fs::permissions(path, static_cast<fs::perms>(mode));
    }
}

/// A run that has saved two files, by relative names, and then spoilt them.
class Backup : public testing::Test {
protected:
    Backup() {
        fs::current_path(m_dir / "");
        batutil_LogOpen("", (m_dir / "log").c_str(), 1, false);
        for (const std::string name : {"first", "second"}) {
            WriteFile("live/" + name, name);
            backupFile("live/", name, "copies/", "", false);
            WriteFile("live/" + name, "spoilt " + name);
            bakFiles.push_back(
                new BackupEntry{VFileName("live/" + name, -1, false), VFileName("copies/" + name, -1, false)});
        }
    }

    ~Backup() override {
        batutil_LogClose();
        for (const BackupEntry* entry : bakFiles) {
            delete entry;
        }
        bakFiles.clear();
        fs::current_path("/");
    }

    /// Rolls back. Returns: the last record.
    std::string RollBack() const {
        rollback();
        return Records(ReadFile(m_dir / "log")).back();
    }

    static constexpr const char* restored = "UTIL 7945 I";
    static constexpr const char* notRestored = "UTIL 7943 F [] [] []";

    const TempDir m_dir;
};

class BackupByRoot : public Backup {
protected:
    void SetUp() override {
        if (lchown((m_dir / "log").c_str(), 7, 7) != 0) {
            GTEST_SKIP() << "only root gives files away";
        }
    }
};

TEST_F(Backup, RollbackRestoresEachFile) {
    const ino_t inode = StatusOf("live/first").st_ino;
    EXPECT_EQ(RollBack(), restored);
    EXPECT_EQ(ReadFile("live/first"), "first");
    EXPECT_EQ(ReadFile("live/second"), "second");
    EXPECT_EQ(ReadFile("copies/first"), "first");
    EXPECT_EQ(StatusOf("live/first").st_ino, inode);
    sigset_t held;
    sigprocmask(SIG_BLOCK, nullptr, &held);
    EXPECT_EQ(sigismember(&held, SIGTERM), 1) << "writing comes to its end";
}

TEST_F(Backup, RollbackStopsAtTheFirstFailure) {
    fs::remove("live/first");
    fs::create_directory("live/first");
    EXPECT_EQ(RollBack(), notRestored);
    EXPECT_EQ(ReadFile("live/second"), "spoilt second");
}

TEST_F(Backup, RollbackLeavesWhatHoldsTheBytesAndSetsItsTime) {
    WriteFile("live/first", "first");
    const auto before = fs::file_time_type::clock::now() - std::chrono::seconds(2);
    fs::last_write_time("live/first", before);
    EXPECT_EQ(RollBack(), restored);
    EXPECT_GT(fs::last_write_time("live/first"), before);
}

TEST_F(Backup, RollbackTellsAMissingCopyByWhetherTheFileWasOpened) {
    fs::remove("copies/first");
    EXPECT_EQ(RollBack(), restored);
    EXPECT_EQ(ReadFile("live/second"), "second");
    bakFiles.front()->liveWasOpened = true;
    EXPECT_EQ(RollBack(), notRestored);
    EXPECT_EQ(ReadFile("live/first"), "spoilt first");
}

TEST(BackupDeathTest, AGuardTurnsWhatIsNoErrorIntoOne) {
    EXPECT_DEATH(throwAsError("label"), "PlugSetter/Guard.cpp:.*current_exception");
    const auto guarded = [] {
        try {
            throw 5;
        } catch (...) {
            throwAsError("label");
        }
    };
    EXPECT_EQ(Thrown(guarded), "UTIL-E-7947: label");
}

// A device in the place of the copy read as empty, so the file was emptied.
TEST_F(Backup, RollbackDoesNotBeginWithACopyThatCannotBeRead) {
    fs::remove("copies/first");
    fs::create_symlink("/dev/null", "copies/first");
    EXPECT_EQ(RollBack(), notRestored);
    EXPECT_EQ(ReadFile("live/first"), "spoilt first");
}

TEST_F(BackupByRoot, RollbackMakesAVanishedFileWithTheAccessOfTheCopy) {
    fs::remove_all("live");
    SetAccess("copies/first", 0640, 7);
    EXPECT_EQ(RollBack(), restored);
    EXPECT_EQ(ReadFile("live/first"), "first");
    EXPECT_EQ(AccessOf("live/first"), "640 7 8");
}

TEST_F(Backup, CopiesExactlyAndOnlyWhatIsThere) {
    for (const std::size_t size : {0U, 4096U, 100000U, 10U}) {
        WriteFile("live/f*", std::string(size, '\0'));
        backupFile("live/", "f*", "copies/", "renamed", true);
        EXPECT_EQ(ReadFile("copies/renamed"), std::string(size, '\0'));
        EXPECT_FALSE(fs::exists("live/f*"));
    }
    EXPECT_TRUE(fs::exists("live/first")) << "a name is no pattern";
    fs::create_symlink("/dev/null", "copies/device");
    backupFile("live/", "first", "copies/", "device", false);
    // A file that the system calls empty and that is not.
    EXPECT_EQ(Thrown([] { backupFile("/proc/", "version", "copies/", "", false); }), "UTIL-E-7947: backupFile()");
    backupFile("live/", "missing", "none/", "", false);
    EXPECT_FALSE(fs::exists("none"));
}

TEST_F(BackupByRoot, ACopyIsReadableByNobodyWhoCannotReadItsSource) {
    const struct {
        const char* name;
        mode_t source;
        mode_t earlier; ///< 0 for none
        const char* copy;
    } cases[] = {
        {"new", 0640, 0, "640 7 8"},
        {"new, the owner may not write", 0440, 0, "640 7 8"},
        {"new, with other bits", 06755, 0, "755 7 8"},
        {"earlier one is wider", 0600, 0666, "600 7 8"},
        {"earlier one is closed", 0644, 0400, "644 7 8"},
    };
    for (const auto& test : cases) {
        fs::remove("copies/first");
        if (test.earlier != 0) {
            WriteFile("copies/first", "an earlier and longer copy");
            SetAccess("copies/first", test.earlier, 0);
        }
        SetAccess("live/first", test.source, 7);
        backupFile("live/", "first", "copies/", "", false);
        EXPECT_EQ(AccessOf("copies/first"), test.copy) << test.name;
        EXPECT_EQ(ReadFile("copies/first"), "spoilt first") << test.name;
    }
    for (const auto& [owner, length] : {std::pair(9U, 26), {7U, 12}}) {
        WriteFile("copies/first", "an earlier and longer copy");
        SetAccess("copies/first", 0644, owner);
        std::ifstream opened("copies/first");
        backupFile("live/", "first", "copies/", "", false);
        EXPECT_EQ(opened.seekg(0, std::ios::end).tellg(), length) << "a stranger may have his open: it is replaced";
    }
    // Root opens and closes whatever there is; others must replace it, and cannot give it away.
    fs::permissions(m_dir / "", static_cast<fs::perms>(0711));
    SetAccess("live", 0700, 65534);
    for (const auto& [source, mode, owner] :
         {std::tuple(65534U, 0400U, 65534U), {65534U, 0400U, 7U}, {7U, 0666U, 7U}}) {
        SetAccess("live/first", 0644, source);
        SetAccess("copies/first", mode, owner);
        SetAccess("copies", 0700, 65534);
        EXPECT_EQ(seteuid(65534), 0);
        backupFile("live/", "first", "copies/", "", false);
        EXPECT_EQ(seteuid(0), 0);
        EXPECT_EQ(ReadFile("copies/first"), "spoilt first") << owner;
        EXPECT_EQ(AccessOf("copies/first"), "600 65534 " + std::to_string(getegid())) << owner;
    }
    SetAccess("live/first", 0400, 65534);
    EXPECT_EQ(seteuid(65534), 0);
    EXPECT_EQ(Thrown([] { backupFile("live/", "first", "live/", "", false); }), "BSTR-E-4145: live/first") << "itself";
    EXPECT_EQ(seteuid(0), 0);
    SetAccess("copies/first", 0666, 0);
    fs::create_hard_link("copies/first", "other name");
    backupFile("live/", "first", "copies/", "", false);
    EXPECT_EQ(AccessOf("copies/first"), "666 0 1");
}

TEST_F(Backup, AnAccessListLeavesOnlyTheOwner) {
    constexpr char list[] = "\2\0\0\0"                  // the version
                            "\1\0\6\0\xFF\xFF\xFF\xFF"  // the owner reads and writes
                            "\2\0\4\0\7\0\0\0"          // user 7 reads
                            "\4\0\4\0\xFF\xFF\xFF\xFF"  // so does the group
                            "\20\0\4\0\xFF\xFF\xFF\xFF" // users and groups do no more than that
                            "\40\0\0\0\xFF\xFF\xFF\xFF";
    const auto give = [&](const char* name, const char* path) {
        return setxattr(path, name, list, sizeof list - 1, 0);
    };
    const char* const ofFile = "system.posix_acl_access";
    EXPECT_EQ(sys_accessOf("/proc/version", FileStatus::Of("/proc/version")).mode, 0644U) << "no lists there";
    if (give("system.posix_acl_default", "copies") != 0) {
        GTEST_SKIP() << "the file system has no access lists";
    }
    const auto access = [](const std::string& path) { return AccessOf(path).substr(0, 3); };
    fs::permissions("live/first", static_cast<fs::perms>(0644));
    for (const char* mode : {"644", "600"}) {
        fs::remove("copies/first");
        backupFile("live/", "first", "copies/", "", false);
        EXPECT_EQ(access("copies/first"), mode);
        EXPECT_EQ(sys_accessOf("live/first", FileStatus::Of("live/first")).mode, std::stoul(mode, nullptr, 8));
        EXPECT_LT(getxattr("copies/first", ofFile, nullptr, 0), 0) << "that of the directory is taken off";
        EXPECT_EQ(give(ofFile, "live/first"), 0) << "for the second round";
    }
    WriteFile("live/log", "");
    for (const char* mode : {"644", "600"}) {
        fs::permissions("live/log", static_cast<fs::perms>(0666));
        const Descriptor log(open("live/log", O_WRONLY));
        EXPECT_TRUE(sys_narrowAccess(log.Number(), FileStatus::Of(log.Number()), {geteuid(), getegid(), 0644}));
        EXPECT_EQ(access("live/log"), mode);
        EXPECT_EQ(give(ofFile, "live/log"), 0) << "for the second round";
    }
}

TEST_F(BackupByRoot, ALogIsNarrowedToThoseWhoMayReadTheConfiguration) {
    for (const auto& [configuration, narrowed] : {std::pair(FileAccess{7, 8, 0640}, "640 7 8"),
                                                  {FileAccess{7, 9, 0640}, "600 7 8"},
                                                  {FileAccess{9, 8, 0644}, "644 0 8"}}) {
        SetAccess("live/second", 0666, 7);
        const Descriptor log(open("live/second", O_WRONLY));
        EXPECT_TRUE(sys_narrowAccess(log.Number(), FileStatus::Of(log.Number()), configuration));
        EXPECT_EQ(AccessOf("live/second"), narrowed);
    }
    for (const auto& [owner, isNarrow] : {std::pair(0U, true), {65534U, true}, {9U, false}}) {
        SetAccess("live/second", 0600, owner);
        const Descriptor log(open("live/second", O_WRONLY));
        EXPECT_EQ(seteuid(65534), 0);
        EXPECT_EQ(sys_narrowAccess(log.Number(), FileStatus::Of(log.Number()), {7, 7, 0600}), isNarrow) << owner;
        EXPECT_EQ(seteuid(0), 0);
    }
}

TEST_F(BackupByRoot, ACopyFollowsOwnLinksOnlyAndNoPipe) {
    const auto copy = [] { return Thrown([] { backupFile("live/", "first", "copies/", "", false); }); };
    const char* const refused = "BSTR-E-4145: copies/first";
    WriteFile("elsewhere/target", "target");
    fs::remove("copies/first");
    fs::create_symlink("../elsewhere/link", "copies/first");
    fs::create_symlink("target", "elsewhere/link");
    EXPECT_EQ(copy(), "nothing");
    EXPECT_EQ(ReadFile("elsewhere/target"), "spoilt first");
    fs::permissions(m_dir / "", static_cast<fs::perms>(0711));
    SetAccess("elsewhere/target", 0644, 65534);
    SetAccess("live/first", 0644, 65534);
    SetAccess("copies", 0700, 65534);
    EXPECT_EQ(seteuid(65534), 0);
    EXPECT_EQ(copy(), "nothing") << "anybody follows the links of root";
    EXPECT_EQ(seteuid(0), 0);
    WriteFile("elsewhere/target", "target");
    SetAccess("elsewhere/link", 0, 7);
    EXPECT_EQ(copy(), refused);
    EXPECT_EQ(ReadFile("elsewhere/target"), "target");
    SetAccess("elsewhere/link", 0, 0);
    SetAccess("elsewhere/target", 0644, 9);
    EXPECT_EQ(copy(), refused) << "a link is not replaced by a copy";
    fs::remove("copies/first");
    EXPECT_EQ(mkfifo("copies/first", 0600), 0);
    EXPECT_EQ(copy(), refused);
    fs::remove("copies/first");
    fs::create_symlink("../live/first", "copies/first");
    EXPECT_EQ(copy(), refused);
    EXPECT_EQ(ReadFile("live/first"), "spoilt first");
}

} // namespace
