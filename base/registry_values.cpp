// SPDX-License-Identifier: GPL-3.0-or-later
// Reading never fails: what is missing or does not fit becomes the fallback or zeros, and data that
// was passed over is noted. Writing knows one form of each kind. Words and texts are little-endian
// on every machine.
#include "base/registry_values.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "util/little_endian.h"
#include "util/text.h"

namespace quillet {
namespace {

using port::RegistryType;

constexpr std::size_t kWordSize = 4;
// The device reads a text into a buffer of this size, terminating NUL included.
constexpr std::size_t kTextBufferBytes = 2 * (kLongestRegistryText + 1);

std::string WordBytes(std::span<const std::uint32_t> words) {
  std::string bytes(words.size() * kWordSize, '\0');
  for (std::size_t i = 0; i < words.size(); ++i) PutU32(bytes, i * kWordSize, words[i]);
  return bytes;
}

}  // namespace

std::string Utf16Bytes(std::u16string_view text) {
  std::string bytes;
  bytes.reserve(2 * text.size());
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<char>(unit & 0xFF));
    bytes.push_back(static_cast<char>(unit >> 8));
  }
  return bytes;
}

std::u16string Utf16Text(std::string_view bytes) {
  std::u16string text;
  text.reserve(bytes.size() / 2);
  for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
    text.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[at]) |
                                         static_cast<unsigned char>(bytes[at + 1]) << 8));
  }
  return text;
}

std::string ValueReader::Data(std::u16string_view name, RegistryType type) {
  std::optional<port::RegistryValue> value = key_.Get(name);
  if (!value) return {};
  if (value->type == type) return std::move(value->data);
  if (!value->data.empty()) discarded_ = true;
  return {};
}

bool ValueReader::Dword(std::u16string_view name, std::uint32_t& value, std::uint32_t fallback) {
  const std::string data = Data(name, RegistryType::kDword);
  const bool found = data.size() == kWordSize;
  if (!found && !data.empty()) discarded_ = true;
  value = found ? GetU32(data, 0) : fallback;
  return found;
}

std::vector<std::uint32_t> ValueReader::Words(std::u16string_view name, std::size_t count) {
  const std::string data = Data(name, RegistryType::kBinary);
  std::vector<std::uint32_t> words(count);
  const std::size_t there = std::min(count, data.size() / kWordSize);
  for (std::size_t i = 0; i < there; ++i) words[i] = GetU32(data, i * kWordSize);
  if (data.size() > there * kWordSize) discarded_ = true;
  return words;
}

std::vector<std::uint32_t> ValueReader::WordsOr(std::u16string_view name, std::size_t count,
                                                std::uint32_t fallback) {
  const std::string data = Data(name, RegistryType::kBinary);
  std::vector<std::uint32_t> words(count, fallback);
  if (data.size() == count * kWordSize) {
    for (std::size_t i = 0; i < count; ++i) words[i] = GetU32(data, i * kWordSize);
  } else if (!data.empty()) {
    discarded_ = true;
  }
  return words;
}

bool ValueReader::Blob(std::u16string_view name, std::span<char> buffer) {
  std::ranges::fill(buffer, '\0');
  const std::optional<port::RegistryValue> value = key_.Get(name);
  if (!value) return false;
  std::copy_n(value->data.begin(), std::min(value->data.size(), buffer.size()), buffer.begin());
  if (value->data.size() > buffer.size()) discarded_ = true;
  return true;
}

std::u16string ValueReader::Text(std::u16string_view name, std::u16string_view fallback) {
  const std::optional<port::RegistryValue> value = key_.Get(name);
  if (!value) return std::u16string(fallback);
  const std::u16string units = Utf16Text(value->data);
  const std::u16string_view text = UntilNul(units);
  if (value->type != RegistryType::kString || value->data.size() > kTextBufferBytes ||
      text.size() > kLongestRegistryText) {
    discarded_ = discarded_ || !value->data.empty();
    return std::u16string(fallback);
  }
  return std::u16string(text);
}

bool WriteDword(port::RegistryKey& key, std::u16string_view name, std::uint32_t value) {
  return key.Set(name, RegistryType::kDword, WordBytes({&value, 1}));
}

bool WriteWords(port::RegistryKey& key, std::u16string_view name,
                std::span<const std::uint32_t> words) {
  return key.Set(name, RegistryType::kBinary, WordBytes(words));
}

bool WriteText(port::RegistryKey& key, std::u16string_view name, std::u16string_view text) {
  std::string bytes = Utf16Bytes(UntilNul(text));
  bytes.append(2, '\0');
  return key.Set(name, RegistryType::kString, bytes);
}

}  // namespace quillet
