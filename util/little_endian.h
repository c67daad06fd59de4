// SPDX-License-Identifier: GPL-3.0-or-later
// 32-bit little-endian words inside 8-bit buffers. The caller checks the bounds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quillet {

inline std::uint32_t GetU32(std::string_view bytes, std::size_t at) {
  const auto byte = [&](std::size_t i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at + i]));
  };
  return byte(0) | byte(1) << 8 | byte(2) << 16 | byte(3) << 24;
}

inline void PutU32(std::string& bytes, std::size_t at, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<char>(value >> (8 * i) & 0xFF);
}

inline void AppendU32(std::string& bytes, std::uint32_t value) {
  bytes.resize(bytes.size() + 4);
  PutU32(bytes, bytes.size() - 4, value);
}

}  // namespace quillet
