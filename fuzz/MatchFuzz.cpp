#include "Mis/NamCommon.h"

#include <cassert>
#include <regex>

#include <fnmatch.h>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size) {
    static const std::regex anyFile("(^|/)\\*\\.\\*(?=/|\\0|$)");
    const std::string text = std::string(bytes, bytes + size).substr(0, 24);
    const std::string pattern = text.substr(0, text.size() / 2);
    const char* name = text.c_str() + text.size() / 2;
    const bool same = fnmatch(std::regex_replace(pattern, anyFile, "$1*").c_str(), name, FNM_PATHNAME) == 0;
    assert(pattern.find_first_of("[\\") != pattern.npos || nam_fmtmatch(sidf_get_ns(), name, pattern.c_str()) == same);
    return 0;
}
