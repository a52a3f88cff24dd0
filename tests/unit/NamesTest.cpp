#include "Mis/NamCommon.h"
#include "tests/support/Calls.h"

#include <algorithm>
#include <functional>

#include <gtest/gtest.h>

namespace {

TEST(Names, HaveSeparatorsParentsAndParts) {
    const Calls calls = {
        {"separator", [](int syntax) { return VFileName("", syntax, false).GetPathSeparator(); }},
        {"directory", [](int syntax, const char* name) { return VFileName(VString(name), syntax, true).GetName(); }},
        {"emptyDirectory", [](int syntax) { return VFileName(std::string(), syntax, true).GetName(); }},
        {"parent",
         [](int syntax, const char* name, bool slash) { return VFileName(name, syntax, false).GetParentPath(slash); }},
        {"part",
         [](int syntax, const char* name, int part) {
             int length = -1;
             const VString text = VFileName(name, syntax, false).GetPart(part, nullptr, false, false, false);
             VFileName(name, syntax, false).GetPart(part, &length, false, false, false);
             return std::to_string(length) + ' ' + std::string(text);
         }},
        {"toSeparator", [](int syntax, int at) { return nam_fmt2sep(syntax, &at, ""); }},
        {"toName", [](int syntax, int at) { return nam_fmt2nam(syntax, &at, ""); }},
        {"toEnd", [](int syntax, int at) { return nam_fmt2end(syntax, &at, ""); }},
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

TEST(Names, ScannersFindSeparatorNameAndEnd) {
    using Scanner = std::function<int(int*, const char*)>;
    using Found = std::pair<int, int>; // result and position
    const auto nfs = [](auto scanner) { return [=](int* at, const char* text) { return scanner(at, text, 0); }; };
    // clang-format off
    const std::tuple<int, char, Scanner, Scanner, Scanner> families[] = {
        {0, '\\', nam_dos2sep,   nam_dos2nam,   nam_dos2end},   {1, '\\', nam_dos2sep,   nam_dos2nam,   nam_dos2end},
        {4, '\\', nam_dos2sep,   nam_dos2nam,   nam_dos2end},   {7, '\\', nam_dos2sep,   nam_dos2nam,   nam_dos2end},
        {8, '\\', nam_win322sep, nam_win322nam, nam_win322end}, {9, '/',  nam_as4002sep, nam_as4002nam, nam_as4002end},
        {2, '/',  nfs(nam_nfs2sep), nfs(nam_nfs2nam), nfs(nam_nfs2end)},        {119, '\\', nam_mxd2sep, nam_mxd2nam,   nam_mxd2end},
    };
    const std::tuple<std::string, Found, Found, Found> cases[] = {
        {"ab|c:d", {1, 2}, {1, 0}, {1, 2}}, {"||a", {1, 0}, {1, 2}, {0, 0}}, {"abc", {0, 3}, {1, 0}, {1, 3}},
        {"|",      {1, 0}, {0, 1}, {0, 0}}, {"",    {0, 0}, {0, 0}, {0, 0}},
    };
    // clang-format on
    for (const auto& [syntax, separator, sep, nam, end] : families) {
        for (auto [text, separatorFound, nameFound, endFound] : cases) {
            std::replace(text.begin(), text.end(), '|', separator);
            std::replace(text.begin(), text.end(), ':', separator == '/' ? '\\' : '/');
            const std::tuple<const char*, Scanner, Found> scanners[] = {
                {" sep", sep, separatorFound}, {" fmt2sep", std::bind_front(nam_fmt2sep, syntax), separatorFound},
                {" nam", nam, nameFound},      {" fmt2nam", std::bind_front(nam_fmt2nam, syntax), nameFound},
                {" end", end, endFound},       {" fmt2end", std::bind_front(nam_fmt2end, syntax), endFound}};
            for (const auto& [name, scanner, expected] : scanners) {
                Found found(-1, -1);
                found.first = scanner(&found.second, text.c_str());
                EXPECT_EQ(found, expected) << syntax << ' ' << text << name;
            }
        }
    }
}

} // namespace
