// SPDX-License-Identifier: GPL-3.0-or-later
// Lines of a text, one after the other. Pure; any thread.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace quillet {

struct TextLine {
  std::string_view text;  // without its end
  std::size_t end = 0;    // one past its end: where the next line begins
};

// The line that begins at the place; it ends with CR LF, LF or the text.
inline TextLine LineAt(std::string_view text, std::size_t place) {
  const std::size_t feed = std::min(text.find('\n', place), text.size());
  std::string_view line = text.substr(place, feed - place);
  if (feed < text.size() && line.ends_with('\r')) line.remove_suffix(1);
  return {line, std::min(feed + 1, text.size())};
}

// Without the blanks and tabs at its end.
inline std::string_view WithoutTrailingBlanks(std::string_view line) {
  return line.substr(0, line.find_last_not_of(" \t") + 1);
}

}  // namespace quillet
