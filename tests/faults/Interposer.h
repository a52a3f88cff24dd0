/// How the fault tests work.
///
/// A test lays the files, fills in a Plan, and runs the tool in a child process. The plan lies in memory that both
/// share, so that what is reported in it stands however the run ends. Interposer.cpp stands between the tool and the C
/// library: during a run under a plan it counts the calls of the sets in `calls`; the one numbered `first`, alone or
/// with all after it, suffers the `effect`.
///
/// A call is one to a function that Interposer.cpp defines for the linker, below `extern "C"`. What the C library calls
/// inside itself cannot be replaced by name: every stream of a planned run is therefore one that reads, writes, seeks
/// and closes by these functions. All buffering and all error flags stay the C library's own; a flush fails by its
/// writes. Two calls are counted and not made: fsync, since only lost power shows what it does, and nanosleep, so that
/// a minute passes at once; the clock is put forward by it.
///
/// A test ends with the first run that is not as it must be, and prints the calls of that run with their numbers, and
/// its log. So does one fault that is run by hand:
///
///     FAULT_CALL=31 build/release/tests/faults_tests --gtest_filter='*/Growth_AnyCall'

#pragma once

#include <functional>
#include <span>
#include <string_view>

/// The sets of calls. An opening is for reading, or may write; one with O_PATH is but a look.
enum Call : unsigned {
    callOpen,
    callOpenToWrite,
    callRead,
    callWrite,
    callRoom,
    callSync,
    callLock,
    callStat,
    callOther,
    callMemory
};

constexpr unsigned Only(Call call) {
    return 1U << call;
}

constexpr unsigned everyCall = Only(callMemory) - 1;

enum class Effect {
    fail, ///< the call does nothing and answers with the error
    half, ///< as above, but the first call moves or reserves half of what it could
    less, ///< the call moves half of what it could, but at least a byte, and says so
    act,  ///< something happens before the call, which then takes its course
};

/// A call as it was made.
struct Step {
    long number; ///< among the calls of the sets, 0 for none of them
    bool hit;
    Call set;
    std::string_view call;
    bool byName;    ///< not by a descriptor alone
    char path[256]; ///< as the tool gave it, of a renaming the new one; of a descriptor: the full name of its file

    /// True for the configuration, false for its copy.
    bool IsLive() const {
        const std::string_view name = path;
        return name.ends_with("agent/Global.qxc") && name.find("backups/t/") == name.npos;
    }
    bool IsLog() const { return std::string_view(path).ends_with("agent/run.xlog"); }
    bool OpensLive() const { return IsLive() && byName && (set == callOpen || set == callOpenToWrite); }
    bool OpensLiveToWrite() const { return OpensLive() && set == callOpenToWrite; }
};

struct Plan {
    unsigned calls = 0;
    Effect effect = Effect::fail;
    int error = 0;
    bool onwards = false;             ///< all calls after the first suffer, too
    std::function<void()> event = {}; ///< what happens, in the process of the run
    long first = 1;
    std::string_view failing = {}; ///< the first call of this name on the configuration fails besides, by EIO
    // What the run reports:
    long reached = 0; ///< calls of the sets
    long slept = 0;   ///< in milliseconds
    std::size_t stepCount = 0;
    Step steps[256] = {};

    bool WasHit() const { return reached >= first; }
    bool FailsBy(int number) const { return effect == Effect::fail && error == number; }
    std::span<const Step> Steps() const { return {steps, stepCount}; }
};

/// The plan of the run under way in this process, null when there is none.
extern Plan* runPlan;
