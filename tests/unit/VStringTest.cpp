#include "Mis/VString.h"
#include "tests/support/Calls.h"

#include <new>

#include <gtest/gtest.h>

namespace {
bool memoryIsOut = false;
} // namespace

// Only text blocks are allocated in this form.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return memoryIsOut ? nullptr : ::operator new[](size);
}

namespace {

using S = VString;

VStringData* BlockOf(const VString& text) {
    return reinterpret_cast<VStringData*>(const_cast<char*>(static_cast<const char*>(text))) - 1;
}

std::string Shown(const VString& text) {
    const VStringData* const block = BlockOf(text);
    std::ostringstream out;
    out << text << ' ' << block->nRefs << ' ' << block->nDataLength << ' ' << block->nAllocLength;
    return text == vPchNil ? "nil" : out.str();
}

TEST(VString, SharesBlocksUntilTheyChange) {
    VString text;
    VString other;
    const auto state = [&] { return Shown(text) + (other.IsEmpty() ? "" : ", " + Shown(other)); };
    const Calls calls = {
        {"shared", [&] { return Shown(GetEmptyString()); }},
        {"is", {[&](const char* value) { text = S(value); }, state}},
        {"fill", {[&](char c, int count) { text = S(c, count); }, state}},
        {"share", {[&] { other = text; }, state}},
        {"copy", {[&] { other = S(text); }, state}},
        {"lock", {[&] { BlockOf(text)->nRefs = -1; }, state}},
        {"assign", {[&](const char* value) { text = value; }, state}},
        {"assignText", {[&](const char* value) { text = S(value); }, state}},
        {"append", {[&](const char* value) { text += value; }, state}},
        {"appendText", {[&](const char* value) { text += S(value); }, state}},
        {"appendChar", {[&](char c) { text += c; }, state}},
        {"twice", {[&] { text += text; }, state}},
        {"clear", {[&] { text.Empty(); }, state}},
        {"setAt", {[&](int at, char c) { text.SetAt(at, c); }, state}},
        {"upper", {[&] { text.MakeUpper(); }, state}},
        {"trimLeft", {[&] { text.TrimLeft(); }, state}},
        {"trimRight", {[&] { text.TrimRight(); }, state}},
        {"cut", {[&](int first) { text = text.Mid(first); }, state}},
        {"skip", {[&](int first) { text = static_cast<const char*>(text) + first; }, state}},
        {"reserve", {[&](int size) { text.GetBuffer(size); }, state}},
        {"write", {[&](int at, char c) { text.GetBuffer(0)[at] = c; }, state}},
        {"release", {[&](int length) { text.ReleaseBuffer(length); }, state}},
        {"freeExtra", {[&] { text.FreeExtra(); }, state}},
        {"findText", [&](const char* part) { return text.Find(part); }},
        {"plusNull", [&] { text + static_cast<const char*>(nullptr); }},
        {"nullPlus", [&] { static_cast<const char*>(nullptr) + text; }},
        {"memoryIsOut", [](bool isOut) { memoryIsOut = isOut; }},
        {"state", state},
    };
    MakeCalls("VString", calls);
}

/// The text with what may stand behind its first zero byte.
std::string Whole(const VString& text) {
    return {text, static_cast<std::size_t>(text.GetLength())};
}

TEST(VString, GivesPartsAndPlaces) {
    const VString abc = "abc";
    const Calls calls = {
        {"mid", [&](int first) { return Whole(abc.Mid(first)); }},
        {"midUpTo", [&](int first, int count) { return Whole(abc.Mid(first, count)); }},
        {"left", [&](int count) { return Whole(abc.Left(count)); }},
        {"right", [&](int count) { return Whole(abc.Right(count)); }},
        {"find", [&](char c, int start) { return abc.Find(c, start); }},
        {"findEnd", [&] { return abc.Find('\0'); }},
        {"findText", [&](const char* text) { return abc.Find(text); }},
        {"join", [&](const char* text) { return Whole(text + abc + '!' + abc + text); }},
        {"compare", qx_stricmp},
        {"format",
         [](const char* format, const char* first, const char* second) {
             VString text(format);
             std::string word(second == nullptr ? "" : second);
             const int result = VStringFormat(text, first, second == nullptr ? nullptr : word.data());
             return std::to_string(result) + ' ' + std::string(text);
         }},
    };
    MakeCalls("Texts", calls);
}

} // namespace
