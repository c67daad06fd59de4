// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/columns.h"

#include <glib.h>

#include <algorithm>

namespace quillet {
namespace {

constexpr char32_t kJoiner = 0x200D;
constexpr std::size_t kLongestUtf8 = 4;

bool IsBetween(char32_t character, char32_t first, char32_t last) {
  return character >= first && character <= last;
}

bool IsRegionalIndicator(char32_t character) {
  return IsBetween(character, 0x1F1E6, 0x1F1FF);
}

// Colours the emoji in front of it.
bool IsSkinTone(char32_t character) {
  return IsBetween(character, 0x1F3FB, 0x1F3FF);
}

}  // namespace

std::size_t ColumnsOf(char32_t character) {
  if (character < 0x80) return 1;
  if (g_unichar_iszerowidth(character) != 0) return 0;
  return g_unichar_iswide(character) != 0 ? 2 : 1;
}

bool MayCutBetween(char32_t before, char32_t after) {
  if (ColumnsOf(after) == 0 || IsSkinTone(after) || before == kJoiner) return false;
  return !(IsRegionalIndicator(before) && IsRegionalIndicator(after));
}

Utf8Character CharacterAt(std::string_view utf8, std::size_t at) {
  const auto first = static_cast<unsigned char>(utf8[at]);
  if (first < 0x80) return {first, 1};
  const std::size_t most = std::min(utf8.size() - at, kLongestUtf8);
  const gunichar value = g_utf8_get_char_validated(utf8.data() + at, static_cast<gssize>(most));
  if (value == static_cast<gunichar>(-1) || value == static_cast<gunichar>(-2)) return {0xFFFD, 1};
  return {value, value < 0x800 ? 2U : value < 0x10000 ? 3U : 4U};
}

std::size_t ColumnsOf(std::string_view utf8) {
  std::size_t columns = 0;
  for (std::size_t at = 0; at < utf8.size();) {
    const Utf8Character character = CharacterAt(utf8, at);
    columns += ColumnsOf(character.value);
    at += character.bytes;
  }
  return columns;
}

}  // namespace quillet
