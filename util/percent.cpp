// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/percent.h"

namespace quillet {

std::optional<std::string> PercentDecoded(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && !EscapedByteAt(text, i)) return std::nullopt;
  }
  return PercentDecodedLeniently(text);
}

std::string PercentDecodedLeniently(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::optional<char> escaped = EscapedByteAt(text, i);
    decoded.push_back(escaped.value_or(text[i]));
    if (escaped) i += 2;
  }
  return decoded;
}

}  // namespace quillet
