#include "Mis/Unix/Patience.h"

#include <ctime>

bool Patience::Wait() noexcept {
    constexpr timespec moment = {0, 10'000'000};
    if (m_left <= m_left.zero()) {
        return false;
    }
    const auto begin = std::chrono::steady_clock::now();
    nanosleep(&moment, nullptr);
    m_left -= std::chrono::steady_clock::now() - begin;
    return true;
}
