#include "Mis/NamCommon.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include <gmock/gmock.h>

namespace {

TEST(Names, SyntaxesHaveSeparators) {
    for (const int syntax : {-1, 0, 1, 2, 4, 7, 8, 9, 119}) {
        const char separator = syntax == -1 || syntax == 2 || syntax == 9 ? '/' : '\\';
        const std::string end = syntax == 119 ? "" : std::string(1, separator); // of a directory
        EXPECT_EQ(VFileName("dir", syntax, false).GetPathSeparator(), separator) << syntax;
        EXPECT_EQ(std::string(VFileName(VString("dir"), syntax, true).GetName()), "dir" + end) << syntax;
        EXPECT_EQ(std::string(VFileName(std::string(), syntax, true).GetName()), end) << syntax;
    }
    EXPECT_STREQ(VFileName("dir/", 2, true).GetName(), "dir/");
}

TEST(NamesDeathTest, UnknownSyntaxesStopTheProcess) {
    const VFileName name("dir", 3, true);
    EXPECT_STREQ(name.GetName(), "dir\\");
    EXPECT_THROW(name.GetParentPath(false), int);
    EXPECT_DEATH(name.GetPathSeparator(), "Mis/NamCommon.*`false' failed");
    int position = 0;
    for (const auto scanner : {nam_fmt2sep, nam_fmt2nam, nam_fmt2end}) {
        EXPECT_DEATH(scanner(3, &position, ""), "Mis/NamCommon.*`false' failed");
    }
}

using Found = std::pair<int, int>; // result and position

Found Scanned(int (*scanner)(int, int*, const char*), int syntax, const std::string& text) {
    Found found(-1, -1);
    found.first = scanner(syntax, &found.second, text.c_str());
    return found;
}

TEST(Names, ScannersFindSeparatorNameEnd) {
    const struct {
        const char* text; ///< with the separator as "|", the other one as ":"
        Found separator, name, end;
    } rows[] = {
        {"ab|c:d", {1, 2}, {1, 0}, {1, 2}}, {"||a", {1, 0}, {1, 2}, {0, 0}}, {"abc", {0, 3}, {1, 0}, {1, 3}},
        {"|", {1, 0}, {0, 1}, {0, 0}},      {"", {0, 0}, {0, 0}, {0, 0}},
    };
    for (const auto& row : rows) {
        for (const int syntax : {0, 1, 2, 4, 7, 8, 9, 119}) {
            const bool slash = syntax == 2 || syntax == 9;
            std::string text = row.text;
            std::replace(text.begin(), text.end(), '|', slash ? '/' : '\\');
            std::replace(text.begin(), text.end(), ':', slash ? '\\' : '/');
            EXPECT_EQ(Scanned(nam_fmt2sep, syntax, text), row.separator) << syntax << ' ' << text;
            EXPECT_EQ(Scanned(nam_fmt2nam, syntax, text), row.name) << syntax << ' ' << text;
            EXPECT_EQ(Scanned(nam_fmt2end, syntax, text), row.end) << syntax << ' ' << text;
        }
    }
}

TEST(Names, HaveParentsAndParts) {
    const struct {
        int syntax;
        const char* path;
        bool withSeparator;
        const char* parent;
        const char* file;
    } rows[] = {
        {2, "/a/b/c", false, "/a/b", "c"}, {2, "/a/b/c/", true, "/a/b", ""},         {2, "/a/b/", false, "/a/b", ""},
        {2, "/a/b", true, "", "b"},        {2, "file", false, "", "file"},           {2, "/etc", false, "", "etc"},
        {2, "a\\b", false, "", "a\\b"},    {8, "c:\\a/b\\c", false, "c:\\a/b", "c"},
    };
    for (const auto& row : rows) {
        VFileName name(row.path, row.syntax, false);
        EXPECT_STREQ(name.GetParentPath(row.withSeparator), row.parent) << row.path;
        for (const auto& [part, expected] : {std::pair(8, row.file), {9, ""}, {14, row.file}}) {
            int length = -1;
            name.GetPart(part, &length, false, false, false);
            EXPECT_EQ(length, static_cast<int>(std::strlen(expected))) << row.path << " part " << part;
            EXPECT_STREQ(name.GetPart(part, nullptr, false, false, false), expected) << row.path << " part " << part;
        }
    }
}

TEST(Names, MatchWithinOneDirectory) {
    const std::string manyA(3000, 'a');
    using Row = std::tuple<const char*, const char*, bool>;
    for (const auto& [name, pattern, matches] : {
             Row("/d/f", "/d/*", true), Row("/d/f", "/*/*.*", true), Row("/d/s/f", "/d/*", false),
             Row("/d", "/d/*", false), Row("/d/.x", "/d/*", true), Row("/d/a.b.c", "/d/*.b", false),
             Row("/d/", "/d/?", false), Row("/d/ab", "/d/?b", true), Row("/d/ab", "/d?ab", false),
             Row("/d/abcbc", "/d/a*bc", true), Row("/d/A", "/d/a", false),
             Row(manyA.c_str(), "*a*a*a*a*a*a*a*b", false), // in time
         }) {
        EXPECT_EQ(nam_fmtmatch(2, name, pattern), matches) << name << ' ' << pattern;
    }
}

} // namespace
