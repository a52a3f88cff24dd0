#pragma once

#include <ctime>
#include <string>
#include <string_view>

/// The texts for a time that was never set, and for one that cannot be written.
inline constexpr std::string_view dat_unsetTime = "00-000-0000 00:00:00 +0000";
// The escapes keep the compiler from seeing trigraphs.
inline constexpr std::string_view dat_invalidTime = "\?\?-\?\?\?-\?\?\?\? \?\?:\?\?:\?\? +\?\?\?\?";

/// True when every field is one that a calendar has and the year is one of 0 to 9999.
bool dat_isValid(const std::tm& time, int hundredths) noexcept;

/// The long form of a calendar time, as in "13-NOV-2010 02:31:07.42 "; a null time gives dat_unsetTime, an
/// impossible one dat_invalidTime.
std::string dat_longForm(const std::tm* time, int hundredths);

/// The long form of the current local time; dat_invalidTime when the system does not tell it.
std::string dat_localNow();
