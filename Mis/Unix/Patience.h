#pragma once

#include <chrono>

/// Waiting for what another process holds: in short sleeps, a minute by the clock in all.
class Patience {
public:
    /// Sleeps a moment. Returns: false, at once, when the minute is over.
    bool Wait() noexcept;

private:
    std::chrono::nanoseconds m_left = std::chrono::minutes(1);
};
