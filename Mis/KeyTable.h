#pragma once

#include "Mis/TaskOptions.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Lookups over taskOptions. Each answers as a scan of the whole table would, first row to last, but looks only at the
/// rows that can fit.
class KeyTable {
public:
    /// The one table, indexed on first use.
    static const KeyTable& Instance();

    /// The id under which the table may hold `key`: keys above 9999 stand for a family of 10, those above 19999 of 100
    /// and those above 29999 of 1000.
    static int Normalise(int key) noexcept;

    /// True when `text`, up to its first blank and in any letter case, is `pattern` with a digit for each "%"; the
    /// digits are then the decimal number `*index`, INT_MAX when it does not fit.
    static bool Match(std::string_view text, const char* pattern, int* index) noexcept;

    /// The first row for `key`, whatever its version and type; null for none.
    const _TOInfo* FirstOf(int key) const;
    /// The first row for `key` that is legal for the version and type; null for none.
    const _TOInfo* FirstLegal(int key, int version, int type) const;
    /// The first legal row that `name` matches and the number that its digits make; null for none.
    const _TOInfo* FirstNamed(std::string_view name, int version, int type, int* index) const;
    /// The last legal row that names `key`; null for none.
    const _TOInfo* LastNaming(int key, int version, int type) const;
    /// The name of `key` by a row that names it.
    static std::string NameOf(const _TOInfo& row, int key);

private:
    using Row = std::uint16_t;

    static constexpr Row noRow = taskOptionCount;

    /// Rows in buckets, each of which lists its rows in table order.
    class Buckets {
    public:
        Buckets();
        /// REQUIRES: rows are added from the last of the table to the first.
        void AddInFront(std::uint32_t hash, Row row);
        Row First(std::uint32_t hash) const { return m_first[hash % count]; }
        Row Next(Row row) const { return m_next[row]; }

    private:
        static constexpr std::size_t count = 1024;

        std::array<Row, count> m_first;
        std::array<Row, taskOptionCount> m_next;
    };

    /// A row whose name takes an index.
    struct Family {
        int id;
        int span; ///< indices that its digits can express
        Row row;
    };

    KeyTable();
    static std::uint32_t Hash(std::string_view name) noexcept;
    static std::uint32_t Hash(int id) noexcept;

    Buckets m_byName;
    Buckets m_byId;
    std::vector<Family> m_families; ///< by id
};
