#pragma once

#include <string_view>
#include <vector>

namespace txccl::string {

/// The characters that surround keys and values without belonging to them.
inline constexpr std::string_view WHITESPACE = " \t\r\n";

/// Removes WHITESPACE from both ends; the result is a part of `text`.
std::string_view Crop(std::string_view text) noexcept;

/// Removes WHITESPACE from the end; the result is a part of `text`.
std::string_view CropEnd(std::string_view text) noexcept;

/// The pieces of `text` between the separators; n separators give n + 1 pieces, which are parts of `text`.
std::vector<std::string_view> Split(std::string_view text, char separator);

/// The value of the leading decimal digits, 0 when there are none, INT_MAX when they do not fit.
int LeadingNumber(std::string_view text) noexcept;

} // namespace txccl::string
