#pragma once

#include <string_view>

/// Why a line of a task-data text, or a whole text, is refused.
// ORDER TaskRefusal
enum class TaskRefusal {
    none,
    noEquals,
    keyUnknown,
    keyElsewhere, ///< a key, but in another section
    notLegal,     ///< neither key nor value are wrong, but the version or type that the lines above gave
    valueNotOfKind,
    versionTooNew,
    textEmpty,
};

/// The cause in words, under which Global.qxc(5) explains it; empty for none.
std::string_view task_refusalText(TaskRefusal cause) noexcept;

/// Why no row legal for the version and type that were read has this dotted name.
TaskRefusal task_whyNotNamed(std::string_view name);

/// Why the row that is legal for `key` does not take this value.
TaskRefusal task_whyNotTaken(int key, std::string_view value);
