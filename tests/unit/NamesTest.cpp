#include "Mis/NamCommon.h"
#include "tests/support/Calls.h"

#include <gtest/gtest.h>

namespace {

/// What the scanners for a separator, a name and its end return, and the positions that they set.
template <class... Scanners> std::string Scan(const char* text, Scanners... scanners) {
    std::ostringstream found;
    const auto scan = [&](auto scanner) {
        int position = -1;
        const int result = scanner(&position, text);
        found << result << ':' << position << ' ';
    };
    (scan(scanners), ...);
    return found.str();
}

auto Nfs(int (*scanner)(int*, const char*, unsigned)) {
    return [=](int* position, const char* text) { return scanner(position, text, 0); };
}

auto Of(int syntax, int (*scanner)(int, int*, const char*)) {
    return [=](int* position, const char* text) { return scanner(syntax, position, text); };
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
        {"dos", [](const char* text) { return Scan(text, nam_dos2sep, nam_dos2nam, nam_dos2end); }},
        {"win32", [](const char* text) { return Scan(text, nam_win322sep, nam_win322nam, nam_win322end); }},
        {"as400", [](const char* text) { return Scan(text, nam_as4002sep, nam_as4002nam, nam_as4002end); }},
        {"mxd", [](const char* text) { return Scan(text, nam_mxd2sep, nam_mxd2nam, nam_mxd2end); }},
        {"nfs", [](const char* text) { return Scan(text, Nfs(nam_nfs2sep), Nfs(nam_nfs2nam), Nfs(nam_nfs2end)); }},
        {"scan",
         [](int syntax, const char* text) {
             return Scan(text, Of(syntax, nam_fmt2sep), Of(syntax, nam_fmt2nam), Of(syntax, nam_fmt2end));
         }},
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
