#include "Mis/NamCommon.h"

#include <algorithm>
#include <cassert>
#include <cstring>

static bool Matches(const char* name, const char* pattern, bool starts) {
    if (starts && std::strncmp(pattern, "*.*", 3) == 0 && (pattern[3] == '/' || pattern[3] == '\0')) {
        return Matches(name + std::strcspn(name, "/"), pattern + 3, false);
    }
    if (*pattern == '*') {
        return Matches(name, pattern + 1, false) ||
               (*name != '\0' && *name != '/' && Matches(name + 1, pattern, false));
    }
    const bool same = *pattern == *name || (*pattern == '?' && *name != '/' && *name != '\0');
    return same && (*name == '\0' || Matches(name + 1, pattern + 1, *pattern == '/'));
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size) {
    constexpr std::size_t longest = 12;
    const unsigned char* const middle = bytes + std::min(size / 2, longest);
    const std::string pattern(bytes, middle);
    const std::string name(middle, bytes + std::min(size, 2 * longest));
    const char* n = name.c_str();
    assert(nam_fmtmatch(sidf_get_ns(), n, pattern.c_str()) == Matches(n, pattern.c_str(), true));
    return 0;
}
