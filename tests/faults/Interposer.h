/// How the fault tests work.
///
/// A test lays the files, fills in a Plan, and runs the tool in a child process. The plan lies in memory that both
/// share, so that what is reported in it stands however the run ends. Interposer.cpp stands between the tool and the C
/// library: during a run under a plan it counts the calls of the sets in `calls`; those numbered `first` to `last`
/// suffer the `effect`.
///
/// A call is one to a function that Interposer.cpp defines for the linker, below `extern "C"`. What the C library calls
/// inside itself cannot be replaced by name: every stream of a planned run is therefore one whose reads, writes, seeks
/// and closing are functions of Interposer.cpp. All buffering and all error flags stay the C library's own; a flush
/// fails by its writes. Two calls are counted and not made: fsync, since only lost power shows what it does, and
/// nanosleep, so that a minute passes at once.
///
/// A test that fails prints the calls of the run with their numbers, and its log. So does one fault that is run by
/// hand:
///
///     FAULT_CALL=31 build/release/tests/faults_tests --gtest_filter='*/Growth_AnyCall'

#pragma once

#include <functional>
#include <string_view>

/// The sets of calls.
enum Call : unsigned { callOpen, callRead, callWrite, callRoom, callSync, callLock, callStat, callOther, callMemory };

constexpr unsigned Only(Call call) {
    return 1U << call;
}

constexpr unsigned everyCall = Only(callMemory) - 1;

enum class Effect {
    fail,   ///< the call does nothing and answers with the error
    half,   ///< as above, but the first call moves or reserves half of what it could
    signal, ///< the process gets a signal before the call
    act,    ///< a neighbour acts before the call, which then takes its course
};

/// A call as it was made.
struct Step {
    long number; ///< among the calls of the sets, 0 for none of them
    bool hit;
    bool writes; ///< of an opening: for writing
    std::string_view call;
    char path[256]; ///< as the tool gave it; of a descriptor: the full name of its file

    /// True for the configuration, false for its copy.
    bool IsLive() const {
        const std::string_view name = path;
        return name.ends_with("agent/Global.qxc") && name.find("backups/t/") == name.npos;
    }
};

struct Plan {
    unsigned calls = 0;
    long first = 0; ///< from 1
    long last = 0;
    Effect effect = Effect::fail;
    int error = 0;                        ///< the errno, or the number of the signal
    std::function<void()> neighbour = {}; ///< for Effect::act
    std::string_view failing = {};        ///< the first call of this name on the configuration fails besides
    long injected = 0;                    ///< calls that were hit
    long slept = 0;                       ///< in milliseconds
    long reached = 0;
    long stepCount = 0;
    Step steps[256] = {};
};

/// The plan of the run under way in this process, null when there is none.
extern Plan* runPlan;
