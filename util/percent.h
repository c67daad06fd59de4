// SPDX-License-Identifier: GPL-3.0-or-later
// Percent encoding, as links have it. Pure; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "util/text.h"

namespace quillet {

// What a hexadecimal digit stands for; -1 for any other character.
constexpr int HexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char lower = ToLowerAscii(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// The byte that stands as "%41" at `at`; nothing when no such three characters are there.
constexpr std::optional<char> EscapedByteAt(std::string_view text, std::size_t at) {
  if (at >= text.size() || text.size() - at < 3 || text[at] != '%') return std::nullopt;
  const int high = HexDigitValue(text[at + 1]);
  const int low = HexDigitValue(text[at + 2]);
  if (high < 0 || low < 0) return std::nullopt;
  return static_cast<char>(high * 16 + low);
}

// With each "%41" made the byte it stands for; nothing when a "%" has no two digits behind it.
std::optional<std::string> PercentDecoded(std::string_view text);
// The same, with such a "%" left as it is.
std::string PercentDecodedLeniently(std::string_view text);

}  // namespace quillet
