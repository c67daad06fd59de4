// SPDX-License-Identifier: GPL-3.0-or-later
// Base64 with the standard alphabet and "=" padding. Pure; any thread.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace quillet {

inline constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The six bits of a letter of the alphabet; kNoBase64Letter, which has its highest bit set, of
// everything else, the padding too.
inline constexpr std::uint8_t kNoBase64Letter = 0xFF;
inline constexpr std::array<std::uint8_t, 256> kBase64Values = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(kNoBase64Letter);
  for (std::size_t i = 0; i < kBase64Alphabet.size(); ++i) {
    values[static_cast<unsigned char>(kBase64Alphabet[i])] = static_cast<std::uint8_t>(i);
  }
  return values;
}();
constexpr std::uint8_t Base64Value(char letter) {
  return kBase64Values[static_cast<unsigned char>(letter)];
}

std::string Base64Encode(std::string_view bytes);

// Skips blanks and tabs at the start and stops at the first character outside the alphabet, which
// the padding is, or at the end. Bits that make no whole byte are dropped. Never fails.
std::string Base64Decode(std::string_view text);

}  // namespace quillet
