#include "Mis/Dat.h"

#include <cstdio>

#include <sys/time.h>

namespace {

constexpr const char* months[] = {
    "JAN", "FEB", "MAR", "APR", "MAY", "JUN", "JUL", "AUG", "SEP", "OCT", "NOV", "DEC",
};

} // namespace

bool dat_isValid(const std::tm& time, int hundredths) noexcept {
    const auto within = [](int value, int first, int last) { return value >= first && value <= last; };
    return within(time.tm_year, -1900, 8099) && within(time.tm_mon, 0, 11) && within(time.tm_mday, 1, 31) &&
           within(time.tm_hour, 0, 23) && within(time.tm_min, 0, 59) && within(time.tm_sec, 0, 60) &&
           within(hundredths, 0, 99);
}

std::string dat_longForm(const std::tm* time, int hundredths) {
    if (time == nullptr) {
        return std::string(dat_unsetTime);
    }
    if (!dat_isValid(*time, hundredths)) {
        return std::string(dat_invalidTime);
    }
    char text[80];
    std::snprintf(text, sizeof text, "%02d-%s-%04d %02d:%02d:%02d.%02d ", time->tm_mday, months[time->tm_mon],
                  time->tm_year + 1900, time->tm_hour, time->tm_min, time->tm_sec, hundredths);
    return text;
}

std::string dat_localNow() {
    timeval now = {};
    std::tm local = {};
    tzset(); // localtime_r need not look whether TZ has changed
    if (gettimeofday(&now, nullptr) != 0 || localtime_r(&now.tv_sec, &local) == nullptr) {
        return std::string(dat_invalidTime);
    }
    return dat_longForm(&local, static_cast<int>(now.tv_usec / 10000));
}
