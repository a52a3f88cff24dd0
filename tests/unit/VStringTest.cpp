#include "Mis/VString.h"
#include "tests/support/Thrown.h"

#include <climits>
#include <functional>
#include <new>
#include <vector>

#include <gmock/gmock.h>

namespace {
bool memoryIsOut = false;
} // namespace

// Only text blocks are allocated in this form.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept try {
    return memoryIsOut ? nullptr : ::operator new[](size);
} catch (const std::bad_alloc&) {
    return nullptr;
}

namespace {

using Change = std::function<void(VString&)>;
using Block = std::vector<int>;

const char* const null = nullptr;

VStringData* HeaderOf(const VString& text) {
    return reinterpret_cast<VStringData*>(const_cast<char*>(static_cast<const char*>(text))) - 1;
}

/// How many texts share the block, the length of its text, and its room.
Block BlockOf(const VString& text) {
    return {HeaderOf(text)->nRefs, HeaderOf(text)->nDataLength, HeaderOf(text)->nAllocLength};
}

TEST(VString, EmptyTextsShareOneBlock) {
    VString text;
    const VString copy(text);
    text = copy;
    text = "";
    text.ReleaseBuffer();
    text.Empty();
    text += copy;
    for (const VString& empty : {text, copy, VString(null), VString('x', -1), VString('x', 0), GetEmptyString()}) {
        EXPECT_EQ(static_cast<const char*>(empty), vPchNil);
    }
    EXPECT_EQ(BlockOf(text), (Block{-1, 0, 0}));
}

TEST(VString, ChangesLeaveTheOriginalAlone) {
    const std::pair<const char*, Change> rows[] = {
        {"Xab ", [](VString& s) { s.SetAt(0, 'X'); }},
        {" AB ", [](VString& s) { s.MakeUpper(); }},
        {"ab ", [](VString& s) { s.TrimLeft(); }},
        {" ab", [](VString& s) { s.TrimRight(); }},
        {"ab ", [](VString& s) { s = s.Mid(1); }},
        {"b ", [](VString& s) { s = static_cast<const char*>(s) + 2; }},
        {" ab  ab ", [](VString& s) { s += s; }},
        {"Z", [](VString& s) { *s.GetBuffer(0) = 'Z', s.ReleaseBuffer(1); }},
        {"", [](VString& s) { s.Empty(); }},
        {"", [](VString& s) { s = VString(); }},
    };
    for (const auto& [expected, change] : rows) {
        const VString original(" ab ");
        VString copy;
        copy = original;
        EXPECT_EQ(BlockOf(copy), (Block{2, 4, 4})) << "before it becomes '" << expected << "'";
        change(copy);
        EXPECT_STREQ(copy, expected);
        EXPECT_STREQ(original, " ab ") << "the original of '" << expected << "'";
        EXPECT_EQ(BlockOf(original), (Block{1, 4, 4})) << "the original of '" << expected << "'";
    }
}

TEST(VString, KeepsReservedRoomOnly) {
    VString text("abc");
    text += "de";
    EXPECT_EQ(BlockOf(text), (Block{1, 5, 5}));
    const char* const exact = text;
    text.FreeExtra();
    EXPECT_EQ(static_cast<const char*>(text), exact) << "nothing to free";
    const char* const reserved = text.GetBuffer(10);
    text += text, text.SetAt(9, 'e');
    EXPECT_EQ(BlockOf(text), (Block{1, 10, 10}));
    text = reserved + 5;
    EXPECT_EQ(static_cast<const char*>(text), reserved) << "a part of itself";
    EXPECT_STREQ(text, "abcde");
    VString copy(text);
    copy += "!";
    EXPECT_EQ(BlockOf(text), (Block{1, 5, 10})) << "a shared block is not appended to";
    copy = text;
    copy += "";
    EXPECT_EQ(BlockOf(copy), (Block{2, 5, 10}));
    copy.GetBuffer(50);
    EXPECT_EQ(BlockOf(copy), (Block{1, 5, 50}));
    copy.FreeExtra();
    EXPECT_EQ(BlockOf(copy), (Block{1, 5, 5}));
    text.GetBuffer(0)[3] = '\0';
    text.ReleaseBuffer();
    EXPECT_EQ(BlockOf(text), (Block{1, 3, 3}));
    text = "";
    EXPECT_EQ(BlockOf(text), (Block{1, 0, 3})) << "an assignment keeps the block";
}

TEST(VString, GivesPartsAndPlaces) {
    const VString abc("abc");
    EXPECT_STREQ(VString('x', 3), "xxx");
    EXPECT_STREQ(abc.Mid(5), "");
    EXPECT_EQ(abc.Mid(2, INT_MAX).GetLength(), 1);
    EXPECT_STREQ(abc.Mid(-5, 2), "ab");
    EXPECT_STREQ(abc.Left(10), "abc");
    EXPECT_STREQ(abc.Right(2) + abc.Right(-1), "bc");
    EXPECT_STREQ(">" + abc + '!' + abc + "<", ">abc!abc<");
    EXPECT_EQ(abc.Find('b', 1), 1);
    EXPECT_EQ(abc.Find('b', 2), -1);
    EXPECT_EQ(abc.Find('a') + abc.Find('\0'), 3);
    EXPECT_EQ(abc.Find("bc"), 1);
}

TEST(VString, TrimsWhiteSpaceOnly) {
    VString left(" \t\v\f\r\n x \n"), right(left), kept("\xA0x\xA0 \x7F");
    left.TrimLeft(), right.TrimRight(), kept.TrimLeft(), kept.TrimRight();
    EXPECT_STREQ(left, "x \n");
    EXPECT_STREQ(right, " \t\v\f\r\n x");
    EXPECT_STREQ(kept, "\xA0x\xA0 \x7F");
    EXPECT_EQ(BlockOf(right), (Block{1, 8, 10}));
}

TEST(VString, KeepsItsTextWithoutMemory) {
    const std::pair<const char*, Change> rows[] = {
        {"VSTR-E-4109: 2147483659", [](VString& s) { s.GetBuffer(INT_MAX - 1); }},
        {"VSTR-E-4109: 19", [](VString& s) { s = "longer"; }},
        {"VSTR-E-4109: 16", [](VString& s) { s.SetAt(0, 'X'); }},
    };
    for (const auto& [expected, change] : rows) {
        VString text("abc");
        const VString other(text);
        memoryIsOut = true;
        const std::string error = Thrown([&text, &action = change] { action(text); });
        memoryIsOut = false;
        EXPECT_EQ(error, expected);
        EXPECT_STREQ(text, "abc") << expected;
        EXPECT_EQ(BlockOf(text), (Block{2, 3, 3})) << expected;
    }
}

TEST(VStringDeathTest, MisuseStopsTheProcess) {
    const std::pair<const char*, Change> rows[] = {
        {"IsValidString(lpsz)", [](VString& s) { s = null; }},
        {"IsValidString(lpsz)", [](VString& s) { s + null; }},
        {"IsValidString(lpszSub)", [](VString& s) { s.Find(null); }},
        {"nMinBufLength >= 0", [](VString& s) { s.GetBuffer(-1); }},
        {"(2147483647 - 1)", [](VString& s) { s.GetBuffer(INT_MAX); }},
        {"nNewLength <= GetData()->nAllocLength", [](VString& s) { s.ReleaseBuffer(4); }},
        {"nIndex >= 0", [](VString& s) { s.SetAt(-1, 'x'); }},
        {"nIndex < GetData()->nDataLength", [](VString& s) { s.SetAt(3, 'x'); }},
    };
    for (const auto& [assertion, misuse] : rows) {
        VString text("abc");
        EXPECT_DEATH(misuse(text), testing::AllOf(testing::HasSubstr(": Mis/VString."),
                                                  testing::HasSubstr(std::string(assertion) + "' failed")));
    }
}

TEST(VString, ComparesWithoutCase) {
    EXPECT_EQ(qx_stricmp("aBc", "AbC"), 0);
    EXPECT_EQ(qx_stricmp("_", "A"), -1);
    EXPECT_EQ(qx_stricmp("\xE9", "a"), -1) << "bytes above 0x7F come before all others";
    EXPECT_EQ(qx_stricmp("", "\x80"), 1);
}

TEST(VString, FormatsTwoTextsOrNothing) {
    using Row = std::pair<const char*, const char*>;
    for (const auto& [format, expected] : {
             Row("one %s", nullptr),
             Row("<%s, %s>", "<%, b>"),
             Row("%s%s %s", "%b %s"),
             Row("%%s %s", "%s b"),
             Row("5%% of %s, 5%% of %s, 5%%", "5% of %, 5% of b, 5%%"),
         }) {
        VString text(format);
        char second[] = "b";
        EXPECT_EQ(VStringFormat(text, "%", second), expected == nullptr ? 0 : 1) << format;
        EXPECT_STREQ(text, expected == nullptr ? format : expected);
    }
    VString text("%s and %s");
    EXPECT_EQ(VStringFormat(text, null, nullptr), 1);
    EXPECT_STREQ(text, "(null) and (null)");
}

} // namespace
