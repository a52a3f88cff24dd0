#pragma once

#include "Mis/TaskOptions.h"

#include <string>
#include <string_view>

/// Lookups over taskOptions. Each answers as a scan of the whole table would, first row to last, but looks only at the
/// rows that can fit.
class KeyTable {
public:
    /// The id under which the table may hold `key`: keys above 9999 stand for a family of 10, those above 19999 of 100
    /// and those above 29999 of 1000.
    static int Normalise(int key) noexcept;

    /// True when `text`, up to its first blank and in any letter case, is `pattern` with a digit for each "%"; the
    /// digits are then the decimal number `*index`, INT_MAX when it does not fit.
    static bool Match(std::string_view text, const char* pattern, int* index) noexcept;

    /// The first row for `key`, whatever its version and type; null for none.
    static const _TOInfo* FirstOf(int key);
    /// The first row for `key` that is legal for the version and type; null for none.
    static const _TOInfo* FirstLegal(int key, int version, int type);
    /// The first legal row that `name` matches and the number that its digits make; null for none.
    static const _TOInfo* FirstNamed(std::string_view name, int version, int type, int* index);
    /// The last legal row that names `key`; null for none.
    static const _TOInfo* LastNaming(int key, int version, int type);
    /// The name of `key` by a row that names it.
    static std::string NameOf(const _TOInfo& row, int key);
};
