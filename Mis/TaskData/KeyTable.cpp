#include "Mis/TaskData/KeyTable.h"

#include "Mis/TaskData/KeyIndex.h"
#include "Mis/TaskOptions.h"
#include "classlib/String.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>

using Row = KeyIndex::Row;
using txccl::string::IsDigit;
using txccl::string::Lowered;

namespace {

constexpr bool IsBlank(char c) noexcept {
    return c == ' ' || c == '\t';
}

/// The part of `text` that is matched: from the first character that is not a blank to the next blank or zero byte.
std::string_view FirstWord(std::string_view text) noexcept {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    std::size_t length = 0;
    while (length < text.size() && !IsBlank(text[length]) && text[length] != '\0') {
        ++length;
    }
    return text.substr(0, length);
}

bool MatchWord(std::string_view word, const char* pattern, int* index) noexcept {
    *index = 0;
    for (const char c : word) {
        if (*pattern == '%') {
            if (!IsDigit(c)) {
                return false;
            }
            *index = static_cast<int>(std::min<long long>(*index * 10LL + (c - '0'), INT_MAX));
        } else if (c != *pattern && Lowered(c) != Lowered(*pattern)) {
            return false;
        }
        ++pattern;
    }
    return *pattern == '\0';
}

/// The first row with this id that fits; null for none.
template <class Fits> const _TOInfo* FirstRow(int id, Fits fits) {
    for (Row row = taskOptionIndex.FirstOfId(id); row != KeyIndex::noRow; row = taskOptionIndex.NextOfId(row)) {
        if (taskOptions[row].id == id && fits(taskOptions[row])) {
            return &taskOptions[row];
        }
    }
    return nullptr;
}

/// True when `name` matches the part of a row's name that `part` takes. Headings are no keys.
template <class Part> bool AnyKey(std::string_view name, Part part) {
    const std::string_view word = FirstWord(txccl::string::CropEnd(name));
    return !word.empty() && std::any_of(taskOptions, taskOptions + taskOptionCount, [word, part](const _TOInfo& row) {
        int index = 0;
        return *row.keyName != '#' && MatchWord(word, part(row.keyName), &index);
    });
}

} // namespace

int KeyTable::RowId(int key) noexcept {
    if (key > 9999) {
        key -= key % 10;
    }
    if (key > 19999) {
        key -= key % 100;
    }
    if (key > 29999) {
        key -= key % 1000;
    }
    return key;
}

bool KeyTable::Match(std::string_view text, const char* pattern, int* index) noexcept {
    return MatchWord(FirstWord(text), pattern, index);
}

std::vector<const _TOInfo*> KeyTable::AllOf(int key) {
    std::vector<const _TOInfo*> rows;
    FirstRow(RowId(key), [&rows](const _TOInfo& row) {
        rows.push_back(&row);
        return false;
    });
    return rows;
}

const _TOInfo* KeyTable::FirstOf(int key) {
    return FirstRow(RowId(key), [](const _TOInfo&) { return true; });
}

const _TOInfo* KeyTable::FirstLegal(int key, int version, int type) {
    return FirstRow(RowId(key), [=](const _TOInfo& row) { return row.IsLegal(version, type); });
}

const _TOInfo* KeyTable::FirstNamed(std::string_view name, int version, int type, int* index) {
    const std::string_view word = FirstWord(txccl::string::CropEnd(name));
    for (Row row = taskOptionIndex.FirstOfName(word); row != KeyIndex::noRow; row = taskOptionIndex.NextOfName(row)) {
        const _TOInfo& option = taskOptions[row];
        if (option.IsLegal(version, type) && MatchWord(word, option.keyName, index)) {
            return &option;
        }
    }
    return nullptr;
}

const _TOInfo* KeyTable::LastNaming(int key, int version, int type) {
    constexpr int longestSpan = 1000;
    const _TOInfo* last = nullptr;
    const auto consider = [&](Row row) {
        const bool later = last == nullptr || &taskOptions[row] > last;
        if (later && taskOptions[row].IsLegal(version, type)) {
            last = &taskOptions[row];
        }
    };
    for (Row row = taskOptionIndex.FirstOfId(key); row != KeyIndex::noRow; row = taskOptionIndex.NextOfId(row)) {
        if (taskOptions[row].id == key) {
            consider(row);
        }
    }
    const auto families = taskOptionIndex.Families();
    auto after = std::upper_bound(families.begin(), families.end(), key,
                                  [](int wanted, const KeyIndex::Family& candidate) { return wanted < candidate.id; });
    for (; after != families.begin() && key - std::prev(after)->id < longestSpan; --after) {
        const KeyIndex::Family& family = *std::prev(after);
        if (key - family.id < family.span) {
            consider(family.row);
        }
    }
    return last;
}

bool KeyTable::HasKey(std::string_view name) {
    return AnyKey(name, [](const char* keyName) { return keyName; });
}

bool KeyTable::HasKeyInSection(std::string_view name) {
    return AnyKey(name, [](const char* keyName) {
        const char* dot = std::strrchr(keyName, '.');
        return dot == nullptr ? keyName : dot + 1;
    });
}

std::string KeyTable::NameOf(const _TOInfo& row, int key) {
    std::string name = row.keyName;
    int index = key - row.id;
    for (std::size_t digit = name.rfind('%'); digit != std::string::npos; digit = name.rfind('%')) {
        name[digit] = static_cast<char>('0' + index % 10);
        index /= 10;
    }
    return name;
}
