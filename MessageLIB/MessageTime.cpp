#include "MessageLIB/MessageTime.h"

#include "Mis/Dat.h"

#include <cstdio>

#include <sys/time.h>

namespace I18NMessage {

MessageTime::MessageTime(const std::tm& time, int hundredths) noexcept
    : m_set(true), m_time(time), m_hundredths(hundredths) {}

MessageTime MessageTime::GetUTCNow() {
    timeval now = {};
    std::tm utc = {};
    if (gettimeofday(&now, nullptr) != 0 || gmtime_r(&now.tv_sec, &utc) == nullptr) {
        return {};
    }
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
