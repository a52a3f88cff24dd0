#pragma once

#include <string_view>
#include <vector>

/// The syntax of values, as the type spec of a row of the key table states it. Letter case in values does not count.

/// True when `value` fits. Nothing fits a header or an empty spec. A boolean fits if it is any part of
/// "/TRUE/FALSE/YES/NO/0/1", a number if it holds nothing but digits, an enumeration if it is one of the names or
/// several with "," between them. So an empty value is a boolean and a number, too.
bool task_valueFits(std::string_view typeSpec, std::string_view value);

/// The names of an enumeration, in order; none for another spec. The views point into `typeSpec`.
std::vector<std::string_view> task_enumNames(std::string_view typeSpec);

/// The position of `name` among the names, -1 for none.
int task_enumIndex(const std::vector<std::string_view>& names, std::string_view name);
