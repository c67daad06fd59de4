// SPDX-License-Identifier: GPL-3.0-or-later
// A hash that is the same in every build and on every machine, for what is stored or sent. Not
// against those who look for collisions. Pure; any thread.
#pragma once

#include <cstdint>
#include <string_view>

namespace quillet {

// FNV-1a, 64 bits. `start` goes on with the hash of what came before.
constexpr std::uint64_t StableHash(std::string_view bytes,
                                   std::uint64_t start = 0xCBF29CE484222325U) {
  std::uint64_t hash = start;
  for (const char c : bytes) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
  }
  return hash;
}

}  // namespace quillet
