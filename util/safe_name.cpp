// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/safe_name.h"

#include "util/stable_hash.h"

namespace quillet {
namespace {

bool StandsForItself(char c) {
  return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

}  // namespace

std::string SafeName(std::string_view bytes) {
  constexpr std::size_t kHashed = 2 + 16;
  std::string name;
  for (const char c : bytes) {
    if (StandsForItself(c)) {
      name += c;
    } else {
      name.append("=").append(HexDigits(static_cast<unsigned char>(c), 2));
    }
    if (name.size() <= kLongestSafeName) continue;
    name.resize(kLongestSafeName - kHashed);
    return name.append("=h").append(HexDigits(StableHash(bytes), 16));
  }
  return name.empty() ? "=" : name;
}

std::string HexDigits(std::uint64_t number, int digits) {
  std::string text;
  while (digits-- > 0) text += "0123456789abcdef"[(number >> (4 * digits)) & 0xF];
  return text;
}

}  // namespace quillet
