// SPDX-License-Identifier: GPL-3.0-or-later
// Characters and their UTF-16 units. Pure; any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillet {

constexpr bool IsHighSurrogate(char16_t unit) {
  return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsLowSurrogate(char16_t unit) {
  return (unit & 0xFC00) == 0xDC00;
}

// Whether the place lies between the two halves of a surrogate pair.
constexpr bool IsInsidePair(std::u16string_view text, std::size_t place) {
  return place > 0 && place < text.size() && IsHighSurrogate(text[place - 1]) &&
         IsLowSurrogate(text[place]);
}

// The character that begins at the place, which is below the text's size; half a pair that stands
// alone is one.
constexpr char32_t CharacterAt(std::u16string_view text, std::size_t place) {
  const char32_t unit = text[place];
  if (!IsInsidePair(text, place + 1)) return unit;
  return 0x10000 + ((unit - 0xD800) << 10) + (text[place + 1] - 0xDC00);
}

// The character that ends at the place, which is above 0.
constexpr char32_t CharacterBefore(std::u16string_view text, std::size_t place) {
  return CharacterAt(text, place - (place > 1 && IsInsidePair(text, place - 1) ? 2 : 1));
}

constexpr std::size_t UnitsOf(char32_t character) {
  return character > 0xFFFF ? 2 : 1;
}

inline void AppendCharacter(std::u16string& text, char32_t character) {
  if (character > 0xFFFF) {
    text += static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
    text += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
  } else {
    text += static_cast<char16_t>(character);
  }
}

}  // namespace quillet
