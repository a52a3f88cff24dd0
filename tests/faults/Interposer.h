#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

/// The outside calls of the tool that the preload library counts. A flush fails by its writes.
enum Call : unsigned { callOpen, callRead, callWrite, callStat, callOther, callMemory };

constexpr unsigned Only(Call call) {
    return 1U << call;
}

enum class Effect {
    fail,    ///< the call does nothing and answers with the error
    half,    ///< as above, but the first read ends early, or the first write fails halfway
    kill,    ///< the process is gone before the call
    command, ///< a shell command runs before the call, which then takes its course
};

/// A test's order to the library, and the library's report. Both look at one mapped file, which the environment names
/// in FAULT_PLAN, so that the report stands however the program ends.
struct Plan {
    unsigned calls; ///< a set of Only(...)
    long first;     ///< the first call of the set to be hit, from 1
    long last;
    Effect effect;
    int error;
    char live[256] = {}; ///< the file whose writing is watched
    char command[256] = {};
    long reached = 0;        ///< calls of the set
    long injected = 0;       ///< calls that were hit
    long injectedInSave = 0; ///< those of them from the opening of the live file for writing to its closing
};

inline Plan* MapPlan(const char* path) {
    const int file = open(path, O_RDWR);
    void* const plan = mmap(nullptr, sizeof(Plan), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    return static_cast<Plan*>(plan);
}
