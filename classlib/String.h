#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace txccl::string {

/// The characters that are cropped from keys and values.
inline constexpr std::string_view WHITESPACE = " \t\r\n";

/// The lower-case form of an ASCII letter; any other character as it is.
constexpr char Lowered(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

/// True when the texts are equal, ignoring the case of ASCII letters.
bool EqualIgnoringCase(std::string_view a, std::string_view b) noexcept;

/// Removes WHITESPACE from both ends; the result is a part of `text`.
std::string_view Crop(std::string_view text) noexcept;

/// Removes WHITESPACE from the end; the result is a part of `text`.
std::string_view CropEnd(std::string_view text) noexcept;

/// The pieces of `text` between the separators, as views into it. n separators give n + 1 pieces.
std::vector<std::string_view> Split(std::string_view text, char separator);

/// The pieces with `separator` between them.
std::string Join(const std::vector<std::string_view>& pieces, std::string_view separator);

/// The number that the leading decimal digits make; 0 when there are none, INT_MAX when it does not fit.
int LeadingNumber(std::string_view text) noexcept;

/// The same with "+" or "-" allowed in front; INT_MIN when it does not fit below.
int LeadingSignedNumber(std::string_view text) noexcept;

} // namespace txccl::string
