#include "MessageLIB/MessageTime.h"

#include "Mis/Dat.h"

#include <chrono>
#include <cstdio>

#include <sys/time.h>

namespace I18NMessage {

MessageTime::MessageTime(const std::tm& time, int hundredths) noexcept
    : m_set(true), m_time(time), m_hundredths(hundredths) {}

MessageTime MessageTime::GetUTCNow() {
    using namespace std::chrono;
    timeval now = {};
    if (gettimeofday(&now, nullptr) != 0) {
        return {};
    }
    // Not gmtime_r, which reads the file of the local time zone first.
    const sys_seconds moment{seconds(now.tv_sec)};
    const sys_days day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss<seconds> time(moment - day);
    std::tm utc = {};
    utc.tm_year = static_cast<int>(date.year()) - 1900;
    utc.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
    utc.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
    utc.tm_hour = static_cast<int>(time.hours().count());
    utc.tm_min = static_cast<int>(time.minutes().count());
    utc.tm_sec = static_cast<int>(time.seconds().count());
    return {utc, static_cast<int>(now.tv_usec / 10000)};
}

std::string MessageTime::ToString() const {
    if (!m_set) {
        return std::string(dat_unsetTime);
    }
    if (!dat_isValid(m_time, m_hundredths)) {
        return std::string(dat_invalidTime);
    }
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%2d+00:00", m_time.tm_year + 1900,
                  m_time.tm_mon + 1, m_time.tm_mday, m_time.tm_hour, m_time.tm_min, m_time.tm_sec, m_hundredths);
    return text;
}

} // namespace I18NMessage
