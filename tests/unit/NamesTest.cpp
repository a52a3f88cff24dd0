#include "Mis/NamCommon.h"

#include <algorithm>
#include <functional>

#include <gmock/gmock.h>

namespace {

TEST(Names, SyntaxesHaveSeparators) {
    const struct {
        int syntax;
        char separator;
        const char* directory; ///< what "dir" becomes as a directory
        const char* empty;
    } rows[] = {
        {-1, '/', "dir/", "/"},   {2, '/', "dir/", "/"},    {9, '/', "dir/", "/"},
        {0, '\\', "dir\\", "\\"}, {1, '\\', "dir\\", "\\"}, {4, '\\', "dir\\", "\\"},
        {7, '\\', "dir\\", "\\"}, {8, '\\', "dir\\", "\\"}, {119, '\\', "dir", ""},
    };
    for (const auto& [syntax, separator, directory, empty] : rows) {
        EXPECT_EQ(VFileName("dir", syntax, false).GetPathSeparator(), separator) << syntax;
        EXPECT_STREQ(VFileName(VString("dir"), syntax, true).GetName(), directory) << syntax;
        EXPECT_STREQ(VFileName(std::string(), syntax, true).GetName(), empty) << syntax;
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

using Scanner = std::function<int(int*, const char*)>;
using Found = std::pair<int, int>; // result and position

Found Scanned(const Scanner& scanner, const std::string& text) {
    Found found(-1, -1);
    found.first = scanner(&found.second, text.c_str());
    return found;
}

Scanner Nfs(int (*scanner)(int*, const char*, unsigned)) {
    return [scanner](int* position, const char* text) { return scanner(position, text, 0); };
}

TEST(Names, ScannersFindSeparatorNameEnd) {
    const struct {
        std::vector<int> syntaxes;
        char separator;
        Scanner sep, nam, end;
    } families[] = {
        {{0, 1, 4, 7}, '\\', nam_dos2sep, nam_dos2nam, nam_dos2end},
        {{8}, '\\', nam_win322sep, nam_win322nam, nam_win322end},
        {{119}, '\\', nam_mxd2sep, nam_mxd2nam, nam_mxd2end},
        {{9}, '/', nam_as4002sep, nam_as4002nam, nam_as4002end},
        {{2}, '/', Nfs(nam_nfs2sep), Nfs(nam_nfs2nam), Nfs(nam_nfs2end)},
    };
    // "|" stands for the separator, ":" for the other one.
    const struct {
        const char* text;
        Found sep, nam, end;
    } rows[] = {
        {"ab|c:d", {1, 2}, {1, 0}, {1, 2}}, {"||a", {1, 0}, {1, 2}, {0, 0}}, {"abc", {0, 3}, {1, 0}, {1, 3}},
        {"|", {1, 0}, {0, 1}, {0, 0}},      {"", {0, 0}, {0, 0}, {0, 0}},
    };
    for (const auto& family : families) {
        for (const auto& row : rows) {
            std::string text = row.text;
            std::replace(text.begin(), text.end(), '|', family.separator);
            std::replace(text.begin(), text.end(), ':', family.separator == '/' ? '\\' : '/');
            EXPECT_EQ(Scanned(family.sep, text), row.sep) << family.syntaxes[0] << ' ' << text;
            EXPECT_EQ(Scanned(family.nam, text), row.nam) << family.syntaxes[0] << ' ' << text;
            EXPECT_EQ(Scanned(family.end, text), row.end) << family.syntaxes[0] << ' ' << text;
            for (const int syntax : family.syntaxes) {
                EXPECT_EQ(Scanned(std::bind_front(nam_fmt2sep, syntax), text), row.sep) << syntax << ' ' << text;
                EXPECT_EQ(Scanned(std::bind_front(nam_fmt2nam, syntax), text), row.nam) << syntax << ' ' << text;
                EXPECT_EQ(Scanned(std::bind_front(nam_fmt2end, syntax), text), row.end) << syntax << ' ' << text;
            }
        }
    }
}

TEST(Names, HaveParentsAndParts) {
    constexpr int partFile = 8, partNone = 9, partLast = 14;
    const struct {
        int syntax;
        const char* path;
        bool withSeparator;
        const char* parent;
        const char* file;
    } rows[] = {
        {2, "/a/b/c", false, "/a/b", "c"}, {2, "/a/b/c/", true, "/a/b", ""}, {2, "/a/b/", false, "/a/b", ""},
        {2, "/a/b", true, "", "b"},        {2, "file", false, "", "file"},   {2, "/etc", false, "", "etc"},
        {2, "d/", true, "", ""},           {2, "a\\b", false, "", "a\\b"},   {8, "c:\\a/b\\c", false, "c:\\a/b", "c"},
    };
    for (const auto& row : rows) {
        VFileName name(row.path, row.syntax, false);
        EXPECT_STREQ(name.GetParentPath(row.withSeparator), row.parent) << row.path;
        for (const auto& [part, expected] :
             {std::pair(partFile, VString(row.file)), {partNone, VString()}, {partLast, VString(row.file)}}) {
            int length = -1;
            name.GetPart(part, &length, false, false, false);
            EXPECT_EQ(length, expected.GetLength()) << row.path << " part " << part;
            EXPECT_STREQ(name.GetPart(part, nullptr, false, false, false), expected) << row.path << " part " << part;
        }
    }
}

TEST(Names, CompareByIdentity) {
    const VFileName names[] = {VFileName("b", -1, false), VFileName("a", -1, false)};
    EXPECT_EQ(names[0].Compare(&names[0]), 0);
    EXPECT_EQ(names[0].Compare(&names[1]), -1);
    EXPECT_EQ(names[1].Compare(&names[0]), 1);
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
