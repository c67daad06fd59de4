// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/ntlm_challenge.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace quillet::port {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kSignature = "NTLMSSP\0"sv;
constexpr std::uint32_t kChallengeType = 2;
constexpr std::uint32_t kUnicode = 0x00000001;
constexpr std::uint32_t kTargetIsNamed = 0x00030000;  // a domain, a server
constexpr std::uint32_t kHasTargetInfo = 0x00800000;

// Where the fixed part has what.
constexpr std::size_t kTypeAt = 8;
constexpr std::size_t kTargetNameAt = 12;
constexpr std::size_t kFlagsAt = 20;
constexpr std::size_t kTargetInfoAt = 40;
constexpr std::size_t kFixedPart = 48;

// Pieces of the target's data.
constexpr std::uint32_t kEnd = 0;
constexpr std::uint32_t kLastName = 5;
constexpr std::uint32_t kFlags = 6;
constexpr std::uint32_t kTimestamp = 7;
constexpr std::uint32_t kTargetName = 9;
constexpr std::uint32_t kChannelBindings = 10;

// The bytes must be there.
std::uint32_t Number(std::string_view bytes, std::size_t at, std::size_t count) {
  std::uint32_t number = 0;
  for (std::size_t i = count; i-- > 0;) {
    number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
  }
  return number;
}

// What a length, a room and an offset name; nothing when it is not all behind the fixed part.
std::optional<std::string_view> Field(std::string_view token, std::size_t at) {
  const std::size_t length = Number(token, at, 2);
  const std::size_t offset = Number(token, at + 4, 4);
  if (length == 0) return std::string_view();
  if (offset < kFixedPart || offset > token.size() || token.size() - offset < length) {
    return std::nullopt;
  }
  return token.substr(offset, length);
}

// UTF-16 without NULs and without halves of pairs.
bool IsSoundText(std::string_view bytes) {
  if (bytes.size() % 2 != 0) return false;
  bool inside_pair = false;
  for (std::size_t at = 0; at < bytes.size(); at += 2) {
    const std::uint32_t unit = Number(bytes, at, 2);
    const bool second = unit >= 0xDC00 && unit <= 0xDFFF;
    if (unit == 0 || second != inside_pair) return false;
    inside_pair = unit >= 0xD800 && unit <= 0xDBFF;
  }
  return !inside_pair;
}

bool IsSoundPiece(std::uint32_t id, std::string_view data) {
  if (id <= kLastName || id == kTargetName) return IsSoundText(data);
  if (id == kFlags) return data.size() == 4;
  if (id == kTimestamp) return data.size() == 8;
  return id != kChannelBindings || data.size() == 16;
}

// Pieces of number, length and data up to the one that ends them.
bool IsSoundTargetInfo(std::string_view info) {
  while (info.size() >= 4) {
    const std::uint32_t id = Number(info, 0, 2);
    const std::size_t length = Number(info, 2, 2);
    info.remove_prefix(4);
    if (id == kEnd) return length == 0;
    if (info.size() < length || !IsSoundPiece(id, info.substr(0, length))) return false;
    info.remove_prefix(length);
  }
  return false;
}

}  // namespace

bool IsSoundNtlmChallenge(std::string_view token) {
  if (token.size() < kFixedPart || !token.starts_with(kSignature)) return false;
  const std::uint32_t flags = Number(token, kFlagsAt, 4);
  if (Number(token, kTypeAt, 4) != kChallengeType || (flags & kUnicode) == 0) return false;
  const auto name = Field(token, kTargetNameAt);
  const auto info = Field(token, kTargetInfoAt);
  if (!name || !info || !IsSoundText(*name)) return false;
  if (name->empty() && (flags & kTargetIsNamed) != 0) return false;
  return (flags & kHasTargetInfo) == 0 ? info->empty() : IsSoundTargetInfo(*info);
}

}  // namespace quillet::port
