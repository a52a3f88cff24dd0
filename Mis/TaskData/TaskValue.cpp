#include "Mis/TaskData/TaskValue.h"

#include "classlib/String.h"

#include <algorithm>
#include <string>

namespace {

constexpr std::string_view booleans = "/true/false/yes/no/0/1";

bool IsPartOfBooleans(std::string_view value) {
    if (value.size() > booleans.size()) {
        return false;
    }
    std::string lowered(value);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(), txccl::string::Lowered);
    return booleans.find(lowered) != std::string_view::npos;
}

bool IsListOfNames(std::string_view typeSpec, std::string_view value) {
    const std::vector<std::string_view> names = task_enumNames(typeSpec);
    for (;;) {
        const std::size_t comma = value.find(',');
        if (task_enumIndex(names, value.substr(0, comma)) < 0) {
            return false;
        }
        if (comma == std::string_view::npos) {
            return true;
        }
        value.remove_prefix(comma + 1);
    }
}

} // namespace

bool task_valueFits(std::string_view typeSpec, std::string_view value) {
    if (typeSpec == "#S" || typeSpec == "#P" || typeSpec == "#R") {
        return true;
    }
    if (typeSpec == "#N") {
        return value.find_first_not_of("0123456789") == std::string_view::npos;
    }
    if (typeSpec == "#B") {
        return IsPartOfBooleans(value);
    }
    return IsListOfNames(typeSpec, value);
}

std::vector<std::string_view> task_enumNames(std::string_view typeSpec) {
    if (!typeSpec.starts_with('/')) {
        return {};
    }
    return txccl::string::Split(typeSpec.substr(1), '/');
}

int task_enumIndex(const std::vector<std::string_view>& names, std::string_view name) {
    const auto found = std::find_if(names.begin(), names.end(), [name](std::string_view candidate) {
        return txccl::string::EqualIgnoringCase(candidate, name);
    });
    return found == names.end() ? -1 : static_cast<int>(found - names.begin());
}
