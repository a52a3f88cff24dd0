// The lock that keeps runs apart.

#include "Mis/Unix/Descriptor.h"
#include "tests/faults/Installation.h"

#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>

namespace {

class LockTest : public Installation {
protected:
    const std::string m_agent = m_dir / "agent";
    const std::string m_copies = std::filesystem::path(m_copy).parent_path();

    /// Returns: the directory, locked; not open when another holds the lock.
    static Descriptor Lock(const std::string& path) {
        Descriptor directory(open(path.c_str(), O_RDONLY | O_DIRECTORY));
        return flock(directory.Number(), LOCK_EX | LOCK_NB) == 0 ? std::move(directory) : Descriptor();
    }

    /// The number of the first call of the last run that locks or closes this directory.
    std::size_t FirstOn(const std::string& directory, std::string_view call) const {
        return First([&](const Step& step) { return step.call == call && step.path == directory && !step.hit; });
    }
};

TEST_F(LockTest, BothAreHeldToTheEnd) {
    const auto tryToLock = [&] {
        for (const std::string& directory : {m_agent, m_copies}) {
            const bool isHeld = FirstOn(directory, "flock") != never && FirstOn(directory, "close") == never;
            if (isHeld && Lock(directory).IsOpen()) {
                std::abort();
            }
        }
    };
    BeforeEachCall(growth, tryToLock, [](const Outcome&) {});
    const auto isWork = [](const Step& step) { return step.IsLive() && step.set != callOther; };
    for (const std::string& directory : {m_agent, m_copies}) {
        EXPECT_NE(FirstOn(directory, "flock"), never) << directory;
        EXPECT_EQ(First(isWork, FirstOn(directory, "close")), never) << directory;
    }
}

TEST_F(LockTest, IsGivenUpAfterAMinute) {
    Lay(growth);
    const Descriptor lock = Lock(m_agent);
    const Outcome outcome = Run(growth);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "ERROR: another run holds the installation directory - " + m_dir / "agent/\n");
    EXPECT_EQ(m_plan->slept, 60000);
    EXPECT_EQ(Live(growth), "old");
    EXPECT_FALSE(std::filesystem::exists(m_log) || std::filesystem::exists(m_dir / "backups"));
}

TEST_F(LockTest, BothWaitsTogetherLastAMinute) {
    for (const long firstWait : {0L, 40000L}) {
        Lay(growth);
        std::filesystem::create_directories(m_copies);
        const Descriptor copies = Lock(m_copies);
        const Descriptor agent = Lock(m_agent);
        const auto release = [&] {
            if (m_plan->slept >= firstWait) {
                flock(agent.Number(), LOCK_UN);
            }
        };
        const Outcome outcome = Run(growth, {Only(callLock), Effect::act, 0, true, release});
        EXPECT_NEAR(static_cast<double>(m_plan->slept), 60000, 1000);
        EXPECT_TRUE(Claims(7947) && Claims(7945)) << ReadFile(m_log);
        EXPECT_NE(ReadFile(m_log).find("backupFile()"), std::string::npos);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(Check(growth, outcome), "old");
        EXPECT_TRUE(std::filesystem::is_empty(m_copies));
    }
}

} // namespace
