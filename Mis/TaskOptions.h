#pragma once

/// A row of the key table: what a key is called in a file, where it is legal, and what its value looks like.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name is part of the library's interface
struct _TOInfo {
    int id;            ///< the key; for an indexed name that of index 0
    unsigned typeMask; ///< file types in which the key is legal
    int minVersion;    ///< versions in which it is legal
    int maxVersion;
    const char* keyName;     ///< "." between sections, "#" leads a header row, each "%" is a digit of the index
    const char* description; ///< display label
    const char* typeSpec; ///< #H header, #S string, #P password, #R raw data, #B boolean, #N number, /A/B one of A, B

    bool IsRawData() const;

    bool IsLegal(int version, int type) const noexcept {
        return (typeMask & static_cast<unsigned>(type)) != 0 && minVersion <= version && version <= maxVersion;
    }
};

inline constexpr int taskOptionCount = 497;

/// The rows in an order that matters: a name belongs to the first row that fits, a number is written with the last.
/// A row with the id 0 ends them.
extern const _TOInfo taskOptions[taskOptionCount + 1];
