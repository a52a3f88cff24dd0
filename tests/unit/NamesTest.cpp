#include "Mis/NamCommon.h"
#include "tests/support/Calls.h"

#include <algorithm>
#include <functional>

#include <gtest/gtest.h>

namespace {

/// What the scanners for a separator, a name and its end return, and the positions that they set.
std::string Scan(int syntax, const char* text) {
    std::ostringstream found;
    for (const auto scanner : {nam_fmt2sep, nam_fmt2nam, nam_fmt2end}) {
        int position = -1;
        const int result = scanner(syntax, &position, text);
        found << result << ':' << position << ' ';
    }
    return found.str();
}

TEST(Names, HaveSeparatorsParentsAndParts) {
    const Calls calls = {
        {"separator", [](int syntax) { return VFileName("", syntax, false).GetPathSeparator(); }},
        {"directory", [](int syntax, const char* name) { return VFileName(VString(name), syntax, true).GetName(); }},
        {"emptyDirectory", [](int syntax) { return VFileName(std::string(), syntax, true).GetName(); }},
        {"parent",
         [](int syntax, const char* name, bool slash) { return VFileName(name, syntax, false).GetParentPath(slash); }},
        {"getPart",
         [](int syntax, const char* name, int part) {
             int length = -1;
             const VString text = VFileName(name, syntax, false).GetPart(part, nullptr, false, false, false);
             VFileName(name, syntax, false).GetPart(part, &length, false, false, false);
             return std::to_string(length) + ' ' + std::string(text);
         }},
        {"toSeparator", [](int syntax, int at) { return nam_fmt2sep(syntax, &at, ""); }},
        {"toName", [](int syntax, int at) { return nam_fmt2nam(syntax, &at, ""); }},
        {"toEnd", [](int syntax, int at) { return nam_fmt2end(syntax, &at, ""); }},
        {"scan", Scan},
        {"match", [](const char* name, const char* pattern) { return nam_fmtmatch(2, name, pattern); }},
        {"matchLong", [](int length, const char* pattern) { return nam_fmtmatch(2, VString('a', length), pattern); }},
    };
    MakeCalls("Names", calls);
    EXPECT_THROW(VFileName("dir", 3, true).GetParentPath(false), int) << "an unknown syntax";
    const VFileName names[] = {VFileName("b", -1, false), VFileName("a", -1, false)};
    EXPECT_EQ(names[0].Compare(&names[0]), 0);
    EXPECT_EQ(names[0].Compare(&names[1]), -1) << "by identity";
    EXPECT_EQ(names[1].Compare(&names[0]), 1);
}

} // namespace
