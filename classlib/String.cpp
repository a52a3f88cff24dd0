#include "classlib/String.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

namespace txccl::string {

namespace {

constexpr bool IsWhitespace(char c) noexcept {
    // Searching WHITESPACE would cost a function call for each character.
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/// The number at the start of `text`, a "-" in front included; `beyond` for one that no int can hold.
int ReadNumber(std::string_view text, int beyond) noexcept {
    int number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc::result_out_of_range ? beyond : number;
}

static_assert(WHITESPACE.size() == 4 && std::all_of(WHITESPACE.begin(), WHITESPACE.end(), IsWhitespace));

} // namespace

bool EqualIgnoringCase(std::string_view a, std::string_view b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return Lowered(x) == Lowered(y); });
}

std::string_view CropEnd(std::string_view text) noexcept {
    while (!text.empty() && IsWhitespace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::string_view Crop(std::string_view text) noexcept {
    while (!text.empty() && IsWhitespace(text.front())) {
        text.remove_prefix(1);
    }
    return CropEnd(text);
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (std::size_t end = text.find(separator); end != std::string_view::npos; end = text.find(separator)) {
        pieces.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    pieces.push_back(text);
    return pieces;
}

std::string Join(const std::vector<std::string_view>& pieces, std::string_view separator) {
    std::string text;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        text += i == 0 ? "" : separator;
        text += pieces[i];
    }
    return text;
}

int LeadingNumber(std::string_view text) noexcept {
    return text.starts_with('-') ? 0 : ReadNumber(text, std::numeric_limits<int>::max());
}

int LeadingSignedNumber(std::string_view text) noexcept {
    if (text.starts_with('-')) {
        return ReadNumber(text, std::numeric_limits<int>::min());
    }
    return LeadingNumber(text.substr(text.starts_with('+') ? 1 : 0));
}

} // namespace txccl::string
