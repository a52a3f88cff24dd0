/// How the fault tests work.
///
/// The tool runs with a preload library, Interposer.cpp, that stands between it and the C library. A test lays the
/// files, fills in a Plan, and starts the tool with LD_PRELOAD naming the library and FAULT_PLAN naming the file in
/// which the plan lies. Test and library map that file, so that what the library reports in it stands however the tool
/// ends. From the start of main() to its end the library counts the calls of the sets in `calls`; those numbered
/// `first` to `last` suffer the `effect`.
///
/// A call is one to a function of the table at the end of Interposer.cpp. What the C library calls inside itself cannot
/// be replaced by name: every stream is therefore one whose reads, writes, seeks and closing are functions of the
/// library. All buffering and all error flags stay the C library's own; a flush fails by its writes. Two calls are
/// counted and not made: fsync, since only lost power shows what it does, and nanosleep, so that a minute passes at
/// once.
///
/// A test that fails prints the calls of the run with their numbers, and its log. So does one fault that is run by
/// hand:
///
///     FAULT_CALL=31 build/release/tests/faults_tests --gtest_filter='*/Growth_AnyCall'

#pragma once

#include <string_view>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

/// The sets of calls.
enum Call : unsigned { callOpen, callRead, callWrite, callRoom, callSync, callLock, callStat, callOther, callMemory };

constexpr unsigned Only(Call call) {
    return 1U << call;
}

constexpr unsigned everyCall = Only(callMemory) - 1;

enum class Effect {
    fail,    ///< the call does nothing and answers with the error
    half,    ///< as above, but the first call moves or reserves half of what it could
    signal,  ///< the process gets a signal before the call
    fill,    ///< a neighbour takes all room of the disk before the call, which then takes its course
    command, ///< a shell command runs before the call, which then takes its course
};

/// A call as it was made.
struct Step {
    long number; ///< among the calls of the sets, 0 for none of them
    bool hit;
    bool writes; ///< of an opening: for writing
    char call[16];
    char path[256]; ///< as the tool gave it; of a descriptor: the full name of its file
};

struct Plan {
    unsigned calls = 0;
    long first = 0; ///< from 1
    long last = 0;
    Effect effect = Effect::fail;
    int error = 0;          ///< the errno, or the number of the signal
    char command[256] = {}; ///< of a neighbour that fills the disk: its file
    char failing[16] = {};  ///< the first call of this name on the configuration fails besides
    long injected = 0;      ///< calls that were hit
    long slept = 0;         ///< in milliseconds
    long reached = 0;
    long stepCount = 0;
    Step steps[256] = {};
};

/// True for the name of the configuration, false for that of its copy.
inline bool IsConfiguration(std::string_view path) {
    return path.ends_with("agent/Global.qxc") && path.find("backups/t/") == std::string_view::npos;
}

inline Plan* MapPlan(const char* path) {
    const int file = open(path, O_RDWR);
    void* const plan = mmap(nullptr, sizeof(Plan), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    return static_cast<Plan*>(plan);
}
