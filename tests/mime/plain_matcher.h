// SPDX-License-Identifier: GPL-3.0-or-later
// What the matchers are held against: bytes compared with bytes at every place, and texts to do it
// with.
#pragma once

#include <array>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mime/find_text.h"

namespace quillet::testing {

// The hits in 8-bit text, folding A-Z alone; by its own words, for no matcher may share a slip.
std::vector<MatchRange> FindPlainly(std::string_view text, std::string_view wanted,
                                    const MatchOptions& options);

constexpr std::array<std::string_view, 5> kAlphabets = {"ab", "aA -", "abcdefgh ", "a\xE4\xC4-",
                                                        "aA@`\x80\x81\x8A\x9A?"};

class RandomTexts {
 public:
  // At most `limit` characters of the alphabet.
  std::string Text(std::string_view alphabet, std::size_t limit);
  // A text of equal parts, and a text of many of them to look for.
  std::pair<std::string, std::string> Repetitive();
  // UTF-16 units around the letters of ASCII and beyond the bytes.
  std::u16string Units(std::size_t limit);
  // The same, and characters that become longer by folding, and parts of these.
  std::u16string Folding(std::size_t limit);

 private:
  std::u16string UnitsOf(std::u16string_view units, std::size_t limit);

  std::mt19937 random_{4711};  // NOLINT: the same texts on every run are the point
};

}  // namespace quillet::testing
