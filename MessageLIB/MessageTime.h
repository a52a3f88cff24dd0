#pragma once

#include <ctime>
#include <string>

namespace I18NMessage {

/// A moment in UTC, to the hundredth of a second.
class MessageTime {
public:
    /// An unset time.
    MessageTime() = default;
    MessageTime(const std::tm& time, int hundredths) noexcept;

    /// The current time; unset when the clock does not answer.
    static MessageTime GetUTCNow();

    /// The form "2010-11-13T02:31:00. 5+00:00", with a blank before a single digit of hundredths. An unset time gives
    /// dat_unsetTime, an impossible one dat_invalidTime.
    std::string ToString() const;

private:
    bool m_set = false;
    std::tm m_time = {};
    int m_hundredths = 0;
};

} // namespace I18NMessage
