#include "Mis/KeyTable.h"

#include "classlib/String.h"

#include <algorithm>
#include <climits>

using txccl::string::Lowered;

namespace {

constexpr bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

constexpr bool IsBlank(char c) noexcept {
    return c == ' ' || c == '\t';
}

/// The part of `text` that is matched: from its first character that is no blank to the next blank or zero byte.
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

/// The indices that the digits of `name` can express, 1 for a name without any.
int SpanOf(std::string_view name) noexcept {
    const std::size_t first = name.find('%');
    if (first == std::string_view::npos) {
        return 1;
    }
    if (name.substr(first).starts_with("%%%")) {
        return 1000;
    }
    return name.substr(first).starts_with("%%") ? 100 : 10;
}

} // namespace

const KeyTable& KeyTable::Instance() {
    static const KeyTable table;
    return table;
}

KeyTable::Buckets::Buckets() : m_next() {
    m_first.fill(noRow);
}

void KeyTable::Buckets::AddInFront(std::uint32_t hash, Row row) {
    Row& first = m_first[hash % count];
    m_next[row] = first;
    first = row;
}

KeyTable::KeyTable() {
    for (Row row = taskOptionCount; row-- > 0;) {
        const _TOInfo& option = taskOptions[row];
        m_byName.AddInFront(Hash(option.keyName), row);
        m_byId.AddInFront(Hash(option.id), row);
        if (const int span = SpanOf(option.keyName); span > 1) {
            m_families.push_back({option.id, span, row});
        }
    }
    std::sort(m_families.begin(), m_families.end(), [](const Family& a, const Family& b) { return a.id < b.id; });
}

/// Digits and the marks that stand for them hash alike, and so do the two cases of a letter. The length, the first
/// character and the last few tell nearly all rows apart.
std::uint32_t KeyTable::Hash(std::string_view name) noexcept {
    constexpr std::size_t endLength = 5;
    auto hash = static_cast<std::uint32_t>(name.size());
    const auto add = [&hash](char c) {
        const char kind = c == '%' || IsDigit(c) ? '0' : Lowered(c);
        hash = (hash ^ static_cast<unsigned char>(kind)) * 16777619U;
    };
    add(name.empty() ? '\0' : name.front());
    for (const char c : name.substr(name.size() - std::min(name.size(), endLength))) {
        add(c);
    }
    return hash ^ hash >> 15;
}

std::uint32_t KeyTable::Hash(int id) noexcept {
    return static_cast<std::uint32_t>(id) * 2654435769U >> 16;
}

int KeyTable::Normalise(int key) noexcept {
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

const _TOInfo* KeyTable::FirstOf(int key) const {
    const int id = Normalise(key);
    for (Row row = m_byId.First(Hash(id)); row != noRow; row = m_byId.Next(row)) {
        if (taskOptions[row].id == id) {
            return &taskOptions[row];
        }
    }
    return nullptr;
}

const _TOInfo* KeyTable::FirstLegal(int key, int version, int type) const {
    const int id = Normalise(key);
    for (Row row = m_byId.First(Hash(id)); row != noRow; row = m_byId.Next(row)) {
        if (taskOptions[row].id == id && taskOptions[row].IsLegal(version, type)) {
            return &taskOptions[row];
        }
    }
    return nullptr;
}

const _TOInfo* KeyTable::FirstNamed(std::string_view name, int version, int type, int* index) const {
    const std::string_view word = FirstWord(txccl::string::CropEnd(name));
    for (Row row = m_byName.First(Hash(word)); row != noRow; row = m_byName.Next(row)) {
        const _TOInfo& option = taskOptions[row];
        if (option.IsLegal(version, type) && MatchWord(word, option.keyName, index)) {
            return &option;
        }
    }
    return nullptr;
}

const _TOInfo* KeyTable::LastNaming(int key, int version, int type) const {
    constexpr int longestSpan = 1000;
    const _TOInfo* last = nullptr;
    const auto consider = [&](Row row) {
        const bool later = last == nullptr || &taskOptions[row] > last;
        if (later && taskOptions[row].IsLegal(version, type)) {
            last = &taskOptions[row];
        }
    };
    for (Row row = m_byId.First(Hash(key)); row != noRow; row = m_byId.Next(row)) {
        if (taskOptions[row].id == key) {
            consider(row);
        }
    }
    auto family = std::upper_bound(m_families.begin(), m_families.end(), key,
                                   [](int wanted, const Family& candidate) { return wanted < candidate.id; });
    while (family != m_families.begin() && key - (--family)->id < longestSpan) {
        if (key - family->id < family->span) {
            consider(family->row);
        }
    }
    return last;
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
