#include "Mis/NamCommon.h"

#include <gmock/gmock.h>

namespace {

TEST(Names, TheSyntaxGivesTheSeparator) {
    const std::tuple<int, char, const char*, const char*> cases[] = {
        {-1, '/', "dir/", "/"},   {2, '/', "dir/", "/"},    {9, '/', "dir/", "/"},
        {119, '\\', "dir", ""},   {0, '\\', "dir\\", "\\"}, {1, '\\', "dir\\", "\\"},
        {4, '\\', "dir\\", "\\"}, {7, '\\', "dir\\", "\\"}, {8, '\\', "dir\\", "\\"},
    };
    for (const auto& [syntax, separator, directory, empty] : cases) {
        EXPECT_EQ(VFileName("dir", syntax, false).GetPathSeparator(), separator) << syntax;
        EXPECT_STREQ(VFileName(VString("dir"), syntax, true).GetName(), directory);
        EXPECT_STREQ(VFileName(std::string(), syntax, true).GetName(), empty);
    }
}

TEST(Names, ParentAndFileName) {
    const std::tuple<int, const char*, bool, const char*, const char*> cases[] = {
        {2, "/a/b/c", false, "/a/b", "c"}, {2, "/a/b/c/", true, "/a/b", ""}, {2, "/a/b/", false, "/a/b", ""},
        {2, "/a/b", true, "", "b"},        {2, "file", false, "", "file"},   {2, "/etc", false, "", "etc"},
        {2, "d/", true, "", ""},           {2, "a\\b", false, "", "a\\b"},   {8, "c:\\a/b\\c", false, "c:\\a/b", "c"},
    };
    for (const auto& [syntax, path, trailing, parent, file] : cases) {
        VFileName name(path, syntax, false);
        EXPECT_STREQ(name.GetParentPath(trailing), parent) << path;
        EXPECT_STREQ(name.GetPart(14, nullptr, false, false, false), file) << path;
    }
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
