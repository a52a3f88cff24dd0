#include "Mis/TaskData/TaskRefusal.h"

#include "Mis/TaskData/KeyTable.h"
#include "Mis/TaskData/TaskValue.h"

#include <cstddef>
#include <iterator>

namespace {

// ORDER TaskRefusal
constexpr std::string_view texts[] = {
    "",
    "no \"=\"",
    "key unknown",
    "key known in another section",
    "not legal for the version or type read so far",
    "value not of its kind",
    "version above 671",
    "file empty",
};
static_assert(std::size(texts) == static_cast<std::size_t>(TaskRefusal::textEmpty) + 1);

} // namespace

std::string_view task_refusalText(TaskRefusal cause) noexcept {
    return texts[static_cast<std::size_t>(cause)];
}

TaskRefusal task_whyNotNamed(std::string_view name) {
    if (KeyTable::HasKey(name)) {
        return TaskRefusal::notLegal;
    }
    return KeyTable::HasKeyInSection(name.substr(name.rfind('.') + 1)) ? TaskRefusal::keyElsewhere
                                                                       : TaskRefusal::keyUnknown;
}

TaskRefusal task_whyNotTaken(int key, std::string_view value) {
    bool isKey = false;
    for (const _TOInfo* row : KeyTable::AllOf(key)) {
        if (task_valueFits(row->typeSpec, value)) {
            return TaskRefusal::notLegal;
        }
        isKey = isKey || *row->keyName != '#';
    }
    return isKey ? TaskRefusal::valueNotOfKind : TaskRefusal::keyUnknown;
}
