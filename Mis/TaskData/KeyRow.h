#pragma once

#include <string_view>

/// A row of the key table: what a key is called in a file, where it is legal, and what its value looks like.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name is part of the library's interface
struct _TOInfo {
    int id;            ///< the key; for an indexed name, the key of index 0
    unsigned typeMask; ///< a bit for each file type in which the key is legal
    int minVersion;    ///< first and last version in which it is legal
    int maxVersion;
    const char* keyName;     ///< "." between sections, "#" leads a header row, each "%" is a digit of the index
    const char* description; ///< display label
    const char* typeSpec; ///< #H header, #S string, #P password, #R raw data, #B boolean, #N number, /A/B one of A, B

    /// True for values that are never converted between code pages.
    bool IsRawData() const { return std::string_view(typeSpec) == "#R"; }

    bool IsLegal(int version, int type) const noexcept {
        return (typeMask & static_cast<unsigned>(type)) != 0 && minVersion <= version && version <= maxVersion;
    }
};

inline constexpr int taskOptionCount = 497;
