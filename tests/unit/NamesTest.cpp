#include "Mis/NamCommon.h"

#include <algorithm>
#include <functional>

#include <gmock/gmock.h>

namespace {

TEST(Names, TheSyntaxGivesTheSeparator) {
    const std::tuple<int, char, const char*, const char*> cases[] = {
        {-1, '/', "dir/", "/"},   {2, '/', "dir/", "/"},    {9, '/', "dir/", "/"},
        {119, '\\', "dir", ""},   {0, '\\', "dir\\", "\\"}, {1, '\\', "dir\\", "\\"},
        {4, '\\', "dir\\", "\\"}, {7, '\\', "dir\\", "\\"}, {8, '\\', "dir\\", "\\"}};
    for (const auto& [syntax, separator, directory, empty] : cases) {
        EXPECT_EQ(VFileName("dir", syntax, false).GetPathSeparator(), separator) << syntax;
        EXPECT_STREQ(VFileName(VString("dir"), syntax, true).GetName(), directory);
        EXPECT_STREQ(VFileName(std::string(), syntax, true).GetName(), empty);
    }
    EXPECT_STREQ(VFileName("dir/", 2, true).GetName(), "dir/");
}

TEST(NamesDeathTest, AnUnknownSyntaxStopsTheProcess) {
    const VFileName name("dir", 3, true);
    EXPECT_STREQ(name.GetName(), "dir\\");
    EXPECT_THROW(name.GetParentPath(false), int);
    int position = 0;
    const char* const message = "Mis/NamCommon.*`false' failed";
    EXPECT_DEATH(name.GetPathSeparator(), message);
    EXPECT_DEATH(nam_fmt2sep(3, &position, ""), message);
    EXPECT_DEATH(nam_fmt2nam(3, &position, ""), message);
    EXPECT_DEATH(nam_fmt2end(3, &position, ""), message);
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

TEST(Names, ParentAndFileName) {
    const std::tuple<int, const char*, bool, const char*, const char*> cases[] = {
        {2, "/a/b/c", false, "/a/b", "c"}, {2, "/a/b/c/", true, "/a/b", ""}, {2, "/a/b/", false, "/a/b", ""},
        {2, "/a/b", true, "", "b"},        {2, "file", false, "", "file"},   {2, "/etc", false, "", "etc"},
        {2, "d/", true, "", ""},           {2, "a\\b", false, "", "a\\b"},   {8, "c:\\a/b\\c", false, "c:\\a/b", "c"}};
    for (const auto& [syntax, path, trailing, parent, file] : cases) {
        VFileName name(path, syntax, false);
        EXPECT_STREQ(name.GetParentPath(trailing), parent) << path;
        int length = -1;
        for (const int part : {8, 9, 14}) {
            const VString expected = part == 9 ? "" : file;
            EXPECT_STREQ(name.GetPart(part, nullptr, false, false, false), expected) << path;
            name.GetPart(part, &length, false, false, false);
            EXPECT_EQ(length, expected.GetLength()) << path;
        }
    }
    const VFileName names[] = {VFileName("b", -1, false), VFileName("a", -1, false)};
    EXPECT_EQ(names[0].Compare(&names[0]), 0);
    EXPECT_EQ(names[0].Compare(&names[1]), -1) << "by identity";
    EXPECT_EQ(names[1].Compare(&names[0]), 1);
}

TEST(Names, Match) {
    // clang-format off
    const std::tuple<std::string, const char*, bool> cases[] = {
        {"/d/f", "/d/*", true},    {"/d/f", "/*/*.*", true},   {"/d/s/f", "/d/*", false},     {"/d", "/d/*", false},
        {"/d/.x", "/d/*", true},   {"/d/a.b", "/d/*.b", true}, {"/d/a.b.c", "/d/*.b", false}, {"/d/", "/d/?", false},
        {"/d/ab", "/d/?b", true},  {"/d/ab", "/d?ab", false},  {"/d/abcbc", "/d/a*bc", true}, {"/d/A", "/d/a", false},
        {std::string(3000, 'a'), "*a*a*a*a*a*a*a*b", false},
    };
    // clang-format on
    for (const auto& [name, pattern, matches] : cases) {
        EXPECT_EQ(nam_fmtmatch(2, name.c_str(), pattern), matches) << name << ' ' << pattern;
    }
}

} // namespace
