#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The syntax of values, as the type spec of a key table row states it. Letter case never counts.

/// True when `value` fits. No value fits a header or an empty spec. A boolean need only be a part of
/// "/TRUE/FALSE/YES/NO/0/1", a number only consist of digits, an enumeration may list several names with "," between.
bool task_valueFits(std::string_view typeSpec, std::string_view value);

/// The names of an enumeration, in order; none for another spec. They are parts of `typeSpec`.
std::vector<std::string_view> task_enumNames(std::string_view typeSpec);

/// The position of `name` among the names, -1 for none.
int task_enumIndex(const std::vector<std::string_view>& names, std::string_view name);
