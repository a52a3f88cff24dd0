#pragma once

#include "Mis/TaskData/KeyRow.h"
#include "classlib/String.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/// Finds the rows of taskOptions that can fit a name or a number. The rows are known at compile time, so the compiler
/// builds it.
class KeyIndex {
public:
    using Row = std::uint16_t;

    static constexpr Row noRow = taskOptionCount;

    /// A row whose name takes an index: one name and one number for each.
    struct Family {
        int id = 0;
        int span = 0; ///< how many indices its digits can express
        Row row = noRow;
    };

    constexpr explicit KeyIndex(const _TOInfo* rows) {
        for (Row row = taskOptionCount; row-- > 0;) {
            const _TOInfo& option = rows[row];
            m_byName.AddInFront(Hash(option.keyName), row);
            m_byId.AddInFront(Hash(option.id), row);
            if (const int span = SpanOf(option.keyName); span > 1) {
                m_families[m_familyCount++] = {option.id, span, row};
            }
        }
        std::sort(m_families.begin(), m_families.begin() + m_familyCount,
                  [](const Family& a, const Family& b) { return a.id < b.id; });
    }

    /// The rows that can fit, in table order, then noRow. The caller checks each: some may not fit.
    Row FirstOfName(std::string_view name) const noexcept { return m_byName.First(Hash(name)); }
    Row NextOfName(Row row) const noexcept { return m_byName.Next(row); }
    Row FirstOfId(int id) const noexcept { return m_byId.First(Hash(id)); }
    Row NextOfId(Row row) const noexcept { return m_byId.Next(row); }

    /// All families in the order of their ids.
    std::span<const Family> Families() const noexcept { return {m_families.data(), m_familyCount}; }

private:
    /// A hash table of rows; each bucket lists its rows in table order.
    class Buckets {
    public:
        constexpr Buckets() { m_first.fill(noRow); }

        /// REQUIRES: rows are added from the last of the table to the first.
        constexpr void AddInFront(std::uint32_t hash, Row row) {
            Row& first = m_first[hash % count];
            assert(row < first);
            m_next[row] = first;
            first = row;
        }

        Row First(std::uint32_t hash) const noexcept { return m_first[hash % count]; }
        Row Next(Row row) const noexcept { return m_next[row]; }

    private:
        static constexpr std::size_t count = 1024;

        std::array<Row, count> m_first{};
        std::array<Row, taskOptionCount> m_next{};
    };

    /// Treats every digit and "%" as one character, so that Plugin3 lands with Plugin%, and the two cases of a letter
    /// as one. The length, the first character and the last few suffice to tell nearly all rows apart.
    static constexpr std::uint32_t Hash(std::string_view name) noexcept {
        constexpr std::size_t endLength = 5;
        auto hash = static_cast<std::uint32_t>(name.size());
        const auto add = [&hash](char c) {
            const char kind = c == '%' || txccl::string::IsDigit(c) ? '0' : txccl::string::Lowered(c);
            hash = (hash ^ static_cast<unsigned char>(kind)) * 16777619U;
        };
        add(name.empty() ? '\0' : name.front());
        for (const char c : name.substr(name.size() - std::min(name.size(), endLength))) {
            add(c);
        }
        return hash ^ hash >> 15;
    }

    static constexpr std::uint32_t Hash(int id) noexcept { return static_cast<std::uint32_t>(id) * 2654435769U >> 16; }

    /// How many indices the digits of `name` can express; 1 for a name that takes none.
    static constexpr int SpanOf(std::string_view name) noexcept {
        const std::size_t first = name.find('%');
        if (first == std::string_view::npos) {
            return 1;
        }
        if (name.substr(first).starts_with("%%%")) {
            return 1000;
        }
        return name.substr(first).starts_with("%%") ? 100 : 10;
    }

    Buckets m_byName;
    Buckets m_byId;
    std::array<Family, taskOptionCount> m_families;
    std::size_t m_familyCount = 0;
};

/// The index over taskOptions. It is defined beside them.
extern const KeyIndex taskOptionIndex;
