#pragma once

#include "Mis/TaskData/KeyRow.h"

#include <string>
#include <string_view>
#include <vector>

/// Lookups over taskOptions. Each gives what a scan of the whole table would, from the first row to the last, but looks
/// only at the rows that can fit.
class KeyTable {
public:
    /// The id of the row that may hold `key`. A row holds 10 keys above 9999, 100 above 19999 and 1000 above 29999, and
    /// its id is the first of them.
    static int RowId(int key) noexcept;

    /// True when the first word of `text` is `pattern`, in any letter case and with a digit for each "%". The digits
    /// are then the decimal number `*index`, INT_MAX when it does not fit.
    static bool Match(std::string_view text, const char* pattern, int* index) noexcept;

    /// All rows for `key`, whatever their version and type, and the first of them, null for none.
    static std::vector<const _TOInfo*> AllOf(int key);
    static const _TOInfo* FirstOf(int key);
    /// The first row for `key` that is legal for the version and type; null for none.
    static const _TOInfo* FirstLegal(int key, int version, int type);
    /// The first legal row that `name` matches, with the number of its digits in `*index`; null for none.
    static const _TOInfo* FirstNamed(std::string_view name, int version, int type, int* index);
    /// The last legal row one of whose names is that of `key`; null for none.
    static const _TOInfo* LastNaming(int key, int version, int type);
    /// True when a key has this name, or this name in some section, whatever its version and type.
    static bool HasKey(std::string_view name);
    static bool HasKeyInSection(std::string_view name);
    /// The name of `key` by the row that LastNaming gives.
    static std::string NameOf(const _TOInfo& row, int key);
};
