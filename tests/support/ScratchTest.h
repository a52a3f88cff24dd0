#pragma once

#include "Mis/Log.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

/// A test in a scratch directory, with the usual umask. At its end no file may be open; the user, the umask, the
/// directory and the log are those of before.
class ScratchTest : public testing::Test {
protected:
    ~ScratchTest() override {
        EXPECT_EQ(seteuid(getuid()), 0);
        umask(m_umask);
        batutil_LogClose();
        lastLogPath = lastLogName = "";
        EXPECT_EQ(OpenFiles(), m_openBefore) << "files were left open";
    }

private:
    const long m_openBefore = OpenFiles();
    const mode_t m_umask = umask(022);
    const CurrentTempDir m_directory;
};

inline constexpr uid_t nobody = 65534;

/// While it lives, root is somebody whom permissions bind. Anybody else stays himself.
class AsUser {
public:
    AsUser() { EXPECT_EQ(seteuid(getuid() == 0 ? nobody : getuid()), 0); }
    AsUser(const AsUser&) = delete;
    AsUser& operator=(const AsUser&) = delete;
    ~AsUser() { EXPECT_EQ(seteuid(getuid()), 0); }
};

inline void SetMode(const std::string& path, unsigned mode) {
    std::filesystem::permissions(path, static_cast<std::filesystem::perms>(mode));
}
