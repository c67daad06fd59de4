// SPDX-License-Identifier: GPL-3.0-or-later
// How wide characters are where lines are counted in columns, and where text may be cut. Pure; any
// thread.
#pragma once

#include <cstddef>
#include <string_view>

namespace quillet {

// 2 for the wide characters of East Asia and emoji, 0 for what stands on the character before it
// (combining marks, joiners), else 1.
std::size_t ColumnsOf(char32_t character);

// False where a cut would tear what is read as one: before a mark of the character in front, inside
// emoji that are joined, between regional indicators (which make flags in pairs).
bool MayCutBetween(char32_t before, char32_t after);

// One character of UTF-8 text. What is malformed is U+FFFD and one byte long.
struct Utf8Character {
  char32_t value = 0;
  std::size_t bytes = 1;
};
// `at` is below the length of the text.
Utf8Character CharacterAt(std::string_view utf8, std::size_t at);

// All of UTF-8 text, in columns.
std::size_t ColumnsOf(std::string_view utf8);

}  // namespace quillet
