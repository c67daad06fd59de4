// SPDX-License-Identifier: GPL-3.0-or-later
// Blanks and control characters of what a user types or a text of bytes holds. Pure; any thread.
#pragma once

#include <string_view>

namespace quillet {

// Blanks, tabs and line ends, also the blank that does not break.
constexpr bool IsBlank(char16_t unit) {
  return unit == u' ' || unit == u'\u00A0' || (unit >= u'\t' && unit <= u'\r');
}
constexpr bool IsControl(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

// Blanks, tabs and line ends.
constexpr bool IsBlankByte(char byte) {
  return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

// Without the blanks around it.
constexpr std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsBlankByte(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlankByte(text.back())) text.remove_suffix(1);
  return text;
}
constexpr std::u16string_view Trimmed(std::u16string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace quillet
