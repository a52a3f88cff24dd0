#pragma once

#include "tests/support/TempDir.h"

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

/// How a program ended and what it wrote to standard output and standard error together.
struct Outcome {
    int status = -1; ///< exit status, -1 when a signal ended it
    int signal = 0;
    std::string output;
};

/// Seconds after which a process that a test has started is killed. The machine may be busy; an emulator gets more.
extern const unsigned timeLimit;

/// A process of its own that runs `program` and ends with what that returns. One that is not over in time is killed,
/// and the test fails.
class Child {
public:
    explicit Child(const std::function<int()>& program);
    /// Waits for its end.
    Outcome Wait();

private:
    const TempDir m_scratch;
    const pid_t m_process;
};

/// The words as main() takes them. They must outlive the result.
std::vector<char*> Pointers(std::vector<std::string>& words);

/// The name of this machine up to the first ".".
std::string NodeName();
