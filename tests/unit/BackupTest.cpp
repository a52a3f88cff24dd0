#include "PlugSetter/Backup.h"

#include "Mis/Log.h"
#include "Mis/Unix/Descriptor.h"
#include "Mis/Unix/FileAccess.h"
#include "Mis/Unix/FileStatus.h"
#include "Mis/VError.h"
#include "PlugSetter/Globals.h"
#include "PlugSetter/Guard.h"
#include "tests/support/Calls.h"
#include "tests/support/TempDir.h"

#include <csignal>

#include <gtest/gtest.h>

#include <sys/xattr.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr const char* accessList = "system.posix_acl_access";

void Forget() {
    batutil_LogClose();
    std::for_each(bakFiles.begin(), bakFiles.end(), std::default_delete<BackupEntry>());
    bakFiles.clear();
}

/// A run that has saved two files, by relative names, and then spoilt them.
void Spoil() {
    Forget();
    for (const char* const directory : {"live", "copies", "elsewhere"}) {
        fs::remove_all(directory);
    }
    batutil_LogOpen(".", "log", 1, false);
    for (const std::string name : {"first", "second"}) {
        WriteFile("live/" + name, name);
        backupFile("live/", name, "copies/", "", false);
        WriteFile("live/" + name, "spoilt " + name);
        bakFiles.push_back(
            new BackupEntry{VFileName("live/" + name, -1, false), VFileName("copies/" + name, -1, false)});
    }
}

/// Rolls back. Returns: the number of the last record, and whether signals were held.
std::string RollBack() {
    rollback();
    sigset_t none, held;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, &held);
    const std::string log = ReadFile("log");
    return log.substr(log.rfind("<M ID=") + 7, 4) + (sigismember(&held, SIGTERM) == 1 ? ", signals wait" : "");
}

bool Narrow(const char* log, uid_t user, uid_t owner, gid_t group, mode_t mode) {
    const Descriptor file(open(log, O_WRONLY));
    EXPECT_EQ(seteuid(user), 0);
    const bool result = sys_narrowAccess(file.Number(), FileStatus::Of(file.Number()), {owner, group, mode});
    EXPECT_EQ(seteuid(getuid()), 0);
    return result;
}

struct OtherError : VError {
    OtherError() { ++alive; }
    ~OtherError() override { --alive; }
    void LogShow(logopt*, VString) override {}
    VError* Clone() override { return new OtherError(*this); }
    static inline int alive = 0;
};

void Guarded(const std::function<void()>& action) {
    try {
        action();
    } catch (...) {
        throwAsError("label");
    }
}

std::ifstream opened;
std::string list;

const Calls onBackups = {
    {"spoil", Spoil},
    {"forget", Forget},
    {"copy", [] { backupFile("live/", "first", "copies/", "", false); }},
    {"backup", backupFile},
    {"rollBack", RollBack},
    {"firstWasOpened", [] { bakFiles.front()->liveWasOpened = true; }},
    {"guardInt", [] { Guarded([] { throw 5; }); }},
    {"guardError", [] { Guarded([] { throw static_cast<VError*>(new OtherError); }); }},
    {"errorsAlive", [] { return OtherError::alive; }},
    {"guardNothing", [] { throwAsError("label"); }},
    {"narrow", Narrow},
    {"list", [](const std::string& bytes) { list = bytes; }},
    {"giveList", [](const char* file, const char* name) { return setxattr(file, name, list.data(), list.size(), 0); }},
    {"hasList", [](const char* file) { return getxattr(file, accessList, nullptr, 0) >= 0; }},
    {"modeToKeep", [](const char* file) { return sys_accessOf(file, FileStatus::Of(file)).mode; }},
    {"stayOpen", [](const char* file) { opened.open(file); }},
    {"openSize", [] { return opened.seekg(0, std::ios::end).tellg(); }},
    {"closeOpen", [] { opened.close(); }},
};

TEST(Backup, CopiesAndPutsBack) {
    MakeCalls("Backup", onBackups);
}

TEST(Backup, AnAccessListLeavesOnlyTheOwner) {
    const TempDir dir;
    if (getxattr((dir / "").c_str(), accessList, nullptr, 0) < 0 && errno == EOPNOTSUPP) {
        GTEST_SKIP() << "the file system has no access lists";
    }
    MakeCalls("AccessLists", onBackups);
}

} // namespace
