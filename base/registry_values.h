// SPDX-License-Identifier: GPL-3.0-or-later
// Typed values of an open registry key. Program thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "port/registry.h"

namespace quillet {

// UTF-16 little-endian, without a terminator; an odd last byte is left out.
std::string Utf16Bytes(std::u16string_view text);
std::u16string Utf16Text(std::string_view bytes);

// The longest text a string value is read with.
inline constexpr std::size_t kLongestRegistryText = 1023;

// Reads values and remembers whether something that is stored could not be taken as it stands: a
// value of another type, a text that is too long, a surplus of words.
class ValueReader {
 public:
  explicit ValueReader(port::RegistryKey& key) : key_(key) {}

  port::RegistryKey& key() { return key_; }
  bool discarded() const { return discarded_; }
  void NoteDiscarded() { discarded_ = true; }

  // False and the fallback when there is no four-byte DWORD of that name.
  bool Dword(std::u16string_view name, std::uint32_t& value, std::uint32_t fallback);
  // Exactly `count` words: what the value holds, then zeros.
  std::vector<std::uint32_t> Words(std::u16string_view name, std::size_t count);
  // The same, but all `fallback` unless the value holds exactly `count` words.
  std::vector<std::uint32_t> WordsOr(std::u16string_view name, std::size_t count,
                                     std::uint32_t fallback);
  // Fills the buffer with what the value holds (whatever its type), then zeros; false when there is
  // no such value.
  bool Blob(std::u16string_view name, std::span<char> buffer);
  // The fallback when there is no string of that name or it is longer than kLongestRegistryText.
  std::u16string Text(std::u16string_view name, std::u16string_view fallback);

 private:
  // The data of a value of that type; empty when there is none.
  std::string Data(std::u16string_view name, port::RegistryType type);

  port::RegistryKey& key_;
  bool discarded_ = false;
};

bool WriteDword(port::RegistryKey& key, std::u16string_view name, std::uint32_t value);
bool WriteWords(port::RegistryKey& key, std::u16string_view name,
                std::span<const std::uint32_t> words);
// With its terminating NUL; an embedded NUL ends the text.
bool WriteText(port::RegistryKey& key, std::u16string_view name, std::u16string_view text);

}  // namespace quillet
