// SPDX-License-Identifier: GPL-3.0-or-later
// Whether a text is plain ASCII. Pure; any thread. In proportion to the length, however it ends:
// many units are looked at in one step.
#pragma once

#include <string_view>
#include <type_traits>

namespace quillet {

// No unit above 127.
template <class Char>
constexpr bool AllAscii(std::basic_string_view<Char> text) {
  std::make_unsigned_t<std::conditional_t<sizeof(Char) == 1, char, short>> bits = 0;
  for (const Char c : text) bits = static_cast<decltype(bits)>(bits | c);
  return bits < 0x80;
}
constexpr bool IsAscii(std::string_view text) {
  return AllAscii(text);
}
constexpr bool IsAscii(std::u16string_view text) {
  return AllAscii(text);
}

}  // namespace quillet
