// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a name for places that allow little and may not tell upper from lower case: subkeys
// of the registry, the left side of a Message-ID. Pure; any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quillet {

// The longest name that SafeName returns.
inline constexpr std::size_t kLongestSafeName = 80;

// Small letters, digits, "-" and "_" stand for themselves, every other byte is "=" and two
// hexadecimal digits; no bytes at all are "=". What would be longer is cut and ends with "=h" and
// a hash of all. So different bytes have different names, but for collisions of long ones.
std::string SafeName(std::string_view bytes);

// The lower digits of a number, hexadecimal in small letters.
std::string HexDigits(std::uint64_t number, int digits);

}  // namespace quillet
