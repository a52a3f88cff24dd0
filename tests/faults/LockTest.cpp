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
    /// Returns: the directory of the installation, locked; not open when another holds the lock.
    Descriptor Lock() const {
        Descriptor directory(open((m_dir / "agent").c_str(), O_RDONLY | O_DIRECTORY));
        return flock(directory.Number(), LOCK_EX | LOCK_NB) == 0 ? std::move(directory) : Descriptor();
    }
};

TEST_F(LockTest, IsHeldToTheEnd) {
    const auto tryToLock = [&] {
        if (Lock().IsOpen() && Did([](const Step& step) { return step.call == "flock" && !step.hit; })) {
            std::abort();
        }
    };
    ForEachCall(growth, {everyCall, Effect::act, 0, false, tryToLock}, [](const Outcome&) {});
}

TEST_F(LockTest, IsGivenUpAfterAMinute) {
    Lay(growth);
    const Descriptor lock = Lock();
    const Outcome outcome = Run(growth);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "ERROR: another run holds the installation directory - " + m_dir / "agent/\n");
    EXPECT_EQ(m_plan->slept, 60000);
    EXPECT_EQ(Live(growth), "old");
    EXPECT_FALSE(std::filesystem::exists(m_log) || std::filesystem::exists(m_dir / "backups"));
}

} // namespace
