#include "Mis/VString.h"
#include "tests/support/Thrown.h"

#include <climits>
#include <functional>
#include <new>

#include <gmock/gmock.h>

namespace {
bool memoryIsOut = false;
} // namespace

// Only text blocks are allocated in this form.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return memoryIsOut ? nullptr : ::operator new[](size);
}

namespace {

using S = VString;
using Change = std::function<void(S&)>;
using Ints = std::vector<int>;

const char* const null = nullptr;

/// What stands before the characters: count, length, capacity.
Ints Header(const VString& text) {
    const auto* block = reinterpret_cast<const VStringData*>(static_cast<const char*>(text)) - 1;
    return {block->nRefs, block->nDataLength, block->nAllocLength};
}

TEST(VString, EmptyTextsShareTheStaticBlock) {
    VString text;
    const VString copy(text);
    text = copy;
    text = "";
    text.ReleaseBuffer();
    text.Empty();
    text += copy;
    for (const VString& empty :
         {text, copy, VString(null), VString('x', -1), VString('x', 0), text + copy, GetEmptyString()}) {
        EXPECT_EQ(static_cast<const char*>(empty), vPchNil);
    }
    EXPECT_EQ(Header(text), (Ints{-1, 0, 0}));
}

TEST(VString, ChangingACopyLeavesTheOriginalAlone) {
    // clang-format off
    const std::pair<const char*, Change> cases[] = {
        {"Xab ", [](S& s) { s.SetAt(0, 'X'); }}, {" AB ",     [](S& s) { s.MakeUpper(); }},
        {"ab ",  [](S& s) { s.TrimLeft(); }},    {" ab",      [](S& s) { s.TrimRight(); }},
        {"ab ",  [](S& s) { s = s.Mid(1); }},    {" ab !",    [](S& s) { s += '!'; }},
        {"",     [](S& s) { s.Empty(); }},       {" ab  ab ", [](S& s) { s += s; }},
        {"b ",   [](S& s) { s = static_cast<const char*>(s) + 2; }},
        {"Z",    [](S& s) { *s.GetBuffer(0) = 'Z', s.ReleaseBuffer(1); }},
        {"",     [](S& s) { s = VString(); }},
    };
    // clang-format on
    for (const auto& [expected, change] : cases) {
        const VString original(" ab ");
        VString copy;
        copy = original;
        EXPECT_EQ(Header(copy), (Ints{2, 4, 4}));
        change(copy);
        EXPECT_STREQ(copy, expected);
        EXPECT_STREQ(original, " ab ");
        EXPECT_EQ(Header(original), (Ints{1, 4, 4})) << expected;
    }
}

TEST(VString, BlocksHaveTheExactSizeUnlessRoomWasReserved) {
    VString text("abc");
    text += "de";
    EXPECT_EQ(Header(text), (Ints{1, 5, 5}));
    const char* const exact = text;
    text.SetAt(4, 'f');
    text.FreeExtra();
    EXPECT_EQ(static_cast<const char*>(text), exact);
    const char* const reserved = text.GetBuffer(100);
    text += text;
    EXPECT_EQ(Header(text), (Ints{1, 10, 100}));
    text = reserved + 5;
    EXPECT_EQ(static_cast<const char*>(text), reserved);
    VString copy(text);
    copy += "!";
    EXPECT_EQ(Header(text), (Ints{1, 5, 100})) << "a shared block is not appended to";
    copy = text;
    copy += "";
    EXPECT_EQ(Header(copy), (Ints{2, 5, 100}));
    copy.FreeExtra();
    EXPECT_EQ(Header(copy), (Ints{1, 5, 5}));
    EXPECT_EQ(Header(text), (Ints{1, 5, 100}));
    text.GetBuffer(0)[3] = '\0';
    text.ReleaseBuffer();
    EXPECT_EQ(Header(text), (Ints{1, 3, 3}));
    text = "";
    EXPECT_EQ(Header(text), (Ints{1, 0, 3})) << "an assignment keeps the block";
}

TEST(VString, ABlockWithANegativeCountIsNeverShared) {
    VString locked("abc"), assigned;
    (reinterpret_cast<VStringData*>(locked.GetBuffer(0)) - 1)->nRefs = -1;
    assigned = locked;
    EXPECT_EQ(Header(assigned), (Ints{1, 3, 3}));
    EXPECT_EQ(Header(VString(locked)), (Ints{1, 3, 3}));
    locked = VString("xy");
    EXPECT_EQ(Header(locked), (Ints{-1, 2, 3})) << "takes characters, not a block";
    locked.Empty();
    EXPECT_EQ(Header(locked), (Ints{-1, 0, 3}));
    EXPECT_STREQ(assigned, "abc");
}

TEST(VString, JoinsCutsTrimsAndFinds) {
    const VString abc("abc");
    VString left(" \t\v\f\r\n x \n"), right(left), kept("\xA0x\xA0 \x7F");
    left.TrimLeft(), right.TrimRight(), kept.TrimLeft(), kept.TrimRight();
    // clang-format off
    const std::pair<VString, const char*> cases[] = {
        {abc.Mid(5), ""},      {abc.Mid(INT_MIN), "abc"}, {abc.Mid(2, INT_MAX), "c"}, {abc.Mid(-5, 2), "ab"},
        {abc.Mid(1, -1), ""},  {abc.Left(-1), ""},        {abc.Left(2), "ab"},        {abc.Left(10), "abc"},
        {abc.Right(2), "bc"},  {abc.Right(10), "abc"},    {left, "x \n"},             {right, " \t\v\f\r\n x"},
        {kept, "\xA0x\xA0 \x7F"}, {">" + abc + '!' + abc + VString('-', 3) + "<", ">abc!abc---<"}, {VString('x', 1), "x"},
    };
    // clang-format on
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(std::string(text, static_cast<std::size_t>(text.GetLength())), expected);
    }
    EXPECT_EQ((Ints{abc.Find('b'), abc.Find('b', 1), abc.Find('b', 2), abc.Find('\0'), abc.Find("bc"), abc.Find("cb")}),
              (Ints{1, 1, -1, 3, 1, -1}));
}

TEST(VString, OutOfMemoryIsThrownAndLeavesTheStringAsItWas) {
    const std::pair<const char*, Change> cases[] = {{"VSTR-E-4109: 2147483659", [](S& s) { s.GetBuffer(INT_MAX - 1); }},
                                                    {"VSTR-E-4109: 19", [](S& s) { s = "longer"; }},
                                                    {"VSTR-E-4109: 16", [](S& s) { s.SetAt(0, 'X'); }}};
    for (const auto& [expected, change] : cases) {
        VString text("abc");
        const VString other(text);
        memoryIsOut = true;
        const std::string error = Thrown([&text, &action = change] { action(text); });
        memoryIsOut = false;
        EXPECT_EQ(error, expected);
        EXPECT_STREQ(text, "abc");
        EXPECT_EQ(Header(text), (Ints{2, 3, 3})) << expected;
    }
}

TEST(VStringDeathTest, MisuseStopsTheProcess) {
    const std::pair<const char*, Change> cases[] = {
        {"IsValidString(lpsz)", [](S& s) { s = null; }},
        {"IsValidString(lpsz)", [](S& s) { s += null; }},
        {"IsValidString(lpsz)", [](S& s) { s + null; }},
        {"IsValidString(lpsz)", [](S& s) { null + s; }},
        {"IsValidString(lpszSub)", [](S& s) { s.Find(null); }},
        {"nMinBufLength >= 0", [](S& s) { s.GetBuffer(-1); }},
        {"(2147483647 - 1)", [](S& s) { s.GetBuffer(INT_MAX); }},
        {"nNewLength <= GetData()->nAllocLength", [](S& s) { s.ReleaseBuffer(4); }},
        {"nIndex >= 0", [](S& s) { s.SetAt(-1, 'x'); }},
        {"nIndex < GetData()->nDataLength", [](S& s) { s.SetAt(3, 'x'); }}};
    for (const auto& [assertion, misuse] : cases) {
        VString text("abc");
        EXPECT_DEATH(misuse(text), testing::AllOf(testing::HasSubstr(": Mis/VString."),
                                                  testing::HasSubstr(std::string(assertion) + "' failed")));
    }
}

TEST(VString, ComparesWithoutCase) {
    using Row = std::tuple<const char*, const char*, int>;
    for (const auto& [a, b, order] : {Row("", "", 0),
                                      {"aBc", "AbC", 0},
                                      {"a", "B", -1},
                                      {"ab", "abc", -1},
                                      {"abc", "AB", 1},
                                      {"Z", "[", 1},
                                      {"\xE9", "a", -1},
                                      {"", "\x80", 1},
                                      {"_", "A", -1},
                                      {"\xC4", "\xE4", -1}}) {
        EXPECT_EQ(qx_stricmp(a, b), order) << a << ' ' << b;
    }
}

TEST(VString, FormatsTwoTexts) {
    // clang-format off
    const std::tuple<const char*, const char*, int, const char*> cases[] = {
        {"none", "a", 0, "none"}, {"one %s", "a", 0, "one %s"}, {"<%s, %s>", "a", 1, "<a, b>"},
        {"%s%s %s", "%s", 1, "%sb %s"}, {"5%% of %s, 5%% of %s, 5%%", "a", 1, "5% of a, 5% of b, 5%%"},
        {"%%s %s", "a", 1, "%s b"}, {"%s and %s", nullptr, 1, "(null) and (null)"},
    };
    // clang-format on
    for (const auto& [format, first, result, expected] : cases) {
        VString text(format);
        char second[] = "b";
        EXPECT_EQ(VStringFormat(text, first, first == nullptr ? nullptr : second), result) << format;
        EXPECT_STREQ(text, expected);
    }
}

} // namespace
