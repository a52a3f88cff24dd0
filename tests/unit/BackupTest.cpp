#include "PlugSetter/Backup.h"

#include "Mis/VError.h"
#include "PlugSetter/Globals.h"
#include "PlugSetter/Guard.h"
#include "tests/support/Records.h"
#include "tests/support/ScratchTest.h"
#include "tests/support/Thrown.h"

#include <chrono>
#include <csignal>

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

const char* const restored = "UTIL 7945 I";
const char* const notRestored = "UTIL 7943 F [] [] []";

using Access = std::tuple<mode_t, uid_t, gid_t>;

Access AccessOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return {status.st_mode & 07777U, status.st_uid, status.st_gid};
}

/// The group is the one after the owner.
void Give(const std::string& path, mode_t mode, uid_t owner) {
    EXPECT_EQ(lchown(path.c_str(), owner, owner + 1), 0) << path;
    SetMode(path, mode);
}

/// A run that has saved two files, by relative names, and then spoilt them.
class Backup : public ScratchTest {
protected:
    Backup() {
        sigprocmask(SIG_SETMASK, nullptr, &m_signals);
        batutil_LogOpen(".", "log", 1, false);
        for (const std::string name : {"first", "second"}) {
            WriteFile("live/" + name, name);
            backupFile("live/", name, "copies/", "", false);
            WriteFile("live/" + name, "spoilt " + name);
            bakFiles.push_back(
                new BackupEntry{VFileName("live/" + name, -1, false), VFileName("copies/" + name, -1, false)});
        }
    }
    ~Backup() override {
        for (const BackupEntry* entry : bakFiles) {
            delete entry;
        }
        bakFiles.clear();
        sigprocmask(SIG_SETMASK, &m_signals, nullptr);
    }

    static void Copy() { backupFile("live/", "first", "copies/", "", false); }

    /// Rolls back, which must log this and nothing else.
    static void ExpectRollback(const char* record) {
        rollback();
        EXPECT_THAT(Records(ReadFile("log")),
                    testing::ElementsAre("AGNT 4314 I [6.71.2105 Apr 27 2010 12:06:01]", record));
    }

private:
    sigset_t m_signals = {};
};

TEST_F(Backup, RollbackRestoresEachFile) {
    fs::create_hard_link("live/first", "other name");
    ExpectRollback(restored);
    EXPECT_EQ(ReadFile("live/first"), "first");
    EXPECT_EQ(ReadFile("live/second"), "second");
    EXPECT_EQ(ReadFile("copies/first"), "first");
    EXPECT_EQ(ReadFile("other name"), "first") << "in place";
    sigset_t held;
    sigprocmask(SIG_BLOCK, nullptr, &held);
    EXPECT_EQ(sigismember(&held, SIGTERM), 1) << "writing comes to its end";
}

TEST_F(Backup, RollbackStopsAtTheFirstFailure) {
    fs::remove("live/first");
    fs::create_directory("live/first");
    ExpectRollback(notRestored);
    EXPECT_EQ(ReadFile("live/second"), "spoilt second");
}

TEST_F(Backup, RollbackComparesWholeFiles) {
    const std::string block(16384, 'b');
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"empty", "", block},
        {"no more empty", block, ""},
        {"shorter", block, block + "c"},
        {"longer", block + "c", block},
        {"other at the end", block + block + "d", block + block + "c"},
    };
    for (const auto& [name, live, copy] : rows) {
        WriteFile("live/first", live);
        WriteFile("copies/first", copy);
        rollback();
        EXPECT_EQ(ReadFile("live/first"), copy) << name;
    }
}

TEST_F(Backup, RollbackSetsTheTime) {
    WriteFile("live/first", "first");
    const auto before = fs::file_time_type::clock::now() - std::chrono::seconds(100);
    fs::last_write_time("live/first", before);
    ExpectRollback(restored);
    EXPECT_GT(fs::last_write_time("live/first"), before);
}

TEST_F(Backup, RollbackPassesOverMissingCopies) {
    fs::remove("copies/first");
    ExpectRollback(restored);
    EXPECT_EQ(ReadFile("live/first"), "spoilt first");
    EXPECT_EQ(ReadFile("live/second"), "second");
}

// A device in the place of the copy read as empty, so the file was emptied.
TEST_F(Backup, RollbackNeedsAReadableCopy) {
    fs::remove("copies/first");
    fs::create_symlink("/dev/null", "copies/first");
    ExpectRollback(notRestored);
    EXPECT_EQ(ReadFile("live/first"), "spoilt first");
}

TEST_F(Backup, CopiesAreExact) {
    for (const std::string& text : {std::string(), std::string(100000, '\0'), std::string("a\0b", 3)}) {
        WriteFile("live/f*", text);
        backupFile("live/", "f*", "copies/", "renamed", true);
        EXPECT_EQ(ReadFile("copies/renamed"), text) << text.size();
        EXPECT_FALSE(fs::exists("live/f*")) << text.size();
    }
    EXPECT_TRUE(fs::exists("live/first")) << "a name is no pattern";
    fs::create_symlink("/dev/null", "copies/device");
    backupFile("live/", "first", "copies/", "device", false);
    EXPECT_TRUE(fs::is_symlink("copies/device"));
    EXPECT_EQ(fs::status("copies/device").permissions(), fs::perms(0666));
    backupFile("live/", "missing", "none/", "", false);
    EXPECT_FALSE(fs::exists("none")) << "nothing to copy";
}

TEST_F(Backup, IncompleteCopiesAreFailures) {
    // The system gives 0 as the size of both. The first has bytes all the same, the second cannot be read.
    for (const auto& [directory, name] : {std::pair("/proc/", "version"), {"/proc/self/", "mem"}}) {
        EXPECT_EQ(Thrown([&, from = directory, file = name] { backupFile(from, file, "copies/", "", false); }),
                  "UTIL-E-7947: backupFile()")
            << name;
    }
}

template <class Action> std::string Guarded(Action action) {
    return Thrown([&] {
        try {
            action();
        } catch (...) {
            throwAsError("label");
        }
    });
}

TEST(Guard, TurnsExceptionsIntoErrors) {
    EXPECT_EQ(Guarded([] { throw 5; }), "UTIL-E-7947: label");
    EXPECT_EQ(Guarded([] { throw static_cast<VError*>(new PlainError); }), "UTIL-E-7947: label");
    EXPECT_EQ(PlainError::alive, 0) << "not freed";
    EXPECT_EQ(Guarded([] { throw new VI18NError(60, 7948); }), "UTIL-E-7948");
    EXPECT_DEATH(throwAsError("label"), "PlugSetter/Guard.cpp:.*current_exception");
}

/// For tests that give files away.
class BackupByRoot : public Backup {
protected:
    void SetUp() override {
        if (geteuid() != 0 || lchown("log", 7, 7) != 0) {
            GTEST_SKIP() << "only root gives files away";
        }
    }
};

TEST_F(BackupByRoot, VanishedFilesGetTheCopysAccess) {
    fs::remove_all("live");
    Give("copies/first", 0640, 7);
    ExpectRollback(restored);
    EXPECT_EQ(ReadFile("live/first"), "first");
    EXPECT_EQ(AccessOf("live/first"), Access(0640, 7, 8));
}

TEST_F(BackupByRoot, CopiesHaveTheirSourcesAccess) {
    for (const auto& [source, copy] : {std::pair(0640U, 0640U), {0440U, 0640U}, {06755U, 0755U}}) {
        Give("live/first", source, 7);
        Copy();
        EXPECT_EQ(AccessOf("copies/first"), Access(copy, 7, 8)) << std::oct << source;
        EXPECT_EQ(ReadFile("copies/first"), "spoilt first") << std::oct << source;
    }
}

TEST_F(Backup, AccessListsLeaveOnlyTheOwner) {
    constexpr char list[] = "\2\0\0\0"                  // the version
                            "\1\0\6\0\xFF\xFF\xFF\xFF"  // the owner reads and writes
                            "\2\0\4\0\7\0\0\0"          // user 7 reads
                            "\4\0\4\0\xFF\xFF\xFF\xFF"  // so does the group
                            "\20\0\4\0\xFF\xFF\xFF\xFF" // users and groups do no more than that
                            "\40\0\0\0\xFF\xFF\xFF\xFF";
    const char* const ofFile = "system.posix_acl_access";
    if (setxattr("copies", "system.posix_acl_default", list, sizeof list - 1, 0) != 0) {
        GTEST_SKIP() << "the file system has no access lists";
    }
    SetMode("live/first", 0644);
    for (const unsigned mode : {0644U, 0600U}) {
        fs::remove("copies/first");
        Copy();
        EXPECT_EQ(static_cast<unsigned>(fs::status("copies/first").permissions()), mode);
        EXPECT_LT(getxattr("copies/first", ofFile, nullptr, 0), 0) << "that of the directory is taken off";
        EXPECT_EQ(setxattr("live/first", ofFile, list, sizeof list - 1, 0), 0) << "for the second round";
    }
}

} // namespace
