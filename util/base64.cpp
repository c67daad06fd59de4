// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/base64.h"

#include <algorithm>
#include <cstdint>

namespace quillet {
std::string Base64Encode(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::string_view part = bytes.substr(at, 3);
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      bits = bits << 8 | (i < part.size() ? static_cast<unsigned char>(part[i]) : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += i <= part.size() ? kBase64Alphabet[bits >> (18 - 6 * i) & 63] : '=';
    }
  }
  return text;
}

std::string Base64Decode(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  std::string bytes;
  std::uint32_t bits = 0;
  int held = 0;  // of them, how many stand for no byte yet
  for (const char c : text) {
    const std::uint8_t value = Base64Value(c);
    if (value == kNoBase64Letter) break;
    bits = (bits << 6 | value) & 0xFFFF;
    held += 6;
    if (held < 8) continue;
    held -= 8;
    bytes += static_cast<char>(bits >> held & 0xFF);
  }
  return bytes;
}

}  // namespace quillet
