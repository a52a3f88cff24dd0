#include "PlugSetter/Backup.h"

#include "Mis/Log.h"
#include "Mis/VError.h"
#include "PlugSetter/Globals.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>

namespace {

/// A run that has saved two files and then spoilt them.
class Backup : public testing::Test {
protected:
    Backup() {
        batutil_LogOpen((m_dir / "").c_str(), "log", 1, false);
        for (const std::string name : {"first", "second"}) {
            WriteFile(m_dir / ("live/" + name), name);
            backupFile(m_dir / "live/", name, m_dir / "copies/", "", false);
            WriteFile(m_dir / ("live/" + name), "spoilt " + name);
            bakFiles.push_back(new BackupEntry{VFileName(m_dir / ("live/" + name), -1, false),
                                               VFileName(m_dir / ("copies/" + name), -1, false)});
        }
    }

    ~Backup() override {
        batutil_LogClose();
        for (const BackupEntry* entry : bakFiles) {
            delete entry;
        }
        bakFiles.clear();
    }

    const TempDir m_dir;
};

TEST_F(Backup, RollbackRestoresEachFile) {
    rollback();
    EXPECT_EQ(ReadFile(m_dir / "live/first"), "first");
    EXPECT_EQ(ReadFile(m_dir / "live/second"), "second");
    EXPECT_EQ(ReadFile(m_dir / "copies/first"), "first");
    EXPECT_EQ(Records(ReadFile(m_dir / "log")).back(), "UTIL 7945 I");
}

TEST_F(Backup, RollbackStopsAtTheFirstFailure) {
    std::filesystem::remove(m_dir / "live/first");
    std::filesystem::create_directory(m_dir / "live/first");
    rollback();
    EXPECT_EQ(ReadFile(m_dir / "live/second"), "spoilt second");
    EXPECT_EQ(Records(ReadFile(m_dir / "log")).back(), "UTIL 7943 F [] [] []");
}

TEST_F(Backup, CopiesExactlyAndOnlyWhatIsThere) {
    for (const std::size_t size : {0U, 4096U, 100000U}) {
        WriteFile(m_dir / "live/file", std::string(size, '\0'));
        backupFile(m_dir / "live/", "file", m_dir / "copies/", "renamed", true);
        EXPECT_EQ(ReadFile(m_dir / "copies/renamed"), std::string(size, '\0'));
        EXPECT_FALSE(std::filesystem::exists(m_dir / "live/file"));
        std::filesystem::remove(m_dir / "copies/renamed");
    }
    backupFile(m_dir / "live/", "missing", m_dir / "none/", "", false);
    EXPECT_FALSE(std::filesystem::exists(m_dir / "none"));
}

} // namespace
