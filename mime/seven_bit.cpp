// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/seven_bit.h"

#include <array>

namespace quillet {
namespace {

constexpr char kEscape = '\x1B';

enum class Shift { kAscii, kKana, kKanji, kSupplement };

struct Escape {
  std::string_view sequence;
  Shift shift;
};

constexpr std::array kEscapes = std::to_array<Escape>({
    {"\x1B(B", Shift::kAscii},
    {"\x1B(J", Shift::kAscii},  // the Japanese ASCII: as shown everywhere, the same
    {"\x1B(H", Shift::kAscii},
    {"\x1B(I", Shift::kKana},
    {"\x1B$@", Shift::kKanji},
    {"\x1B$B", Shift::kKanji},
    {"\x1B&@\x1B$B", Shift::kKanji},
    {"\x1B$(B", Shift::kKanji},
    {"\x1B$(D", Shift::kSupplement},
});

const Escape* EscapeAt(std::string_view rest) {
  for (const Escape& escape : kEscapes) {
    if (rest.starts_with(escape.sequence)) return &escape;
  }
  return nullptr;
}

char High(char c) {
  return static_cast<char>(static_cast<unsigned char>(c) | 0x80U);
}

bool IsGraphic(char c) {
  return c > 0x20 && c < 0x7F;
}

// The character at the start of `rest`, in EUC; returns its length in `rest`.
std::size_t AppendShifted(std::string_view rest, Shift shift, std::string& out) {
  const bool graphic = IsGraphic(rest[0]);
  if (shift == Shift::kKana && graphic) {
    out += '\x8E';
    out += High(rest[0]);
    return 1;
  }
  const bool pair = rest.size() > 1 && graphic && IsGraphic(rest[1]);
  if (shift == Shift::kAscii || shift == Shift::kKana || !pair) {
    out += rest[0];
    return 1;
  }
  if (shift == Shift::kSupplement) out += '\x8F';
  out += High(rest[0]);
  out += High(rest[1]);
  return 2;
}

}  // namespace

std::optional<std::string> Iso2022JpToEuc(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  Shift shift = Shift::kAscii;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::string_view rest = bytes.substr(at);
    if (rest[0] == kEscape) {
      const Escape* escape = EscapeAt(rest);
      if (escape == nullptr) return std::nullopt;
      shift = escape->shift;
      at += escape->sequence.size();
      continue;
    }
    if (rest[0] == '\n') shift = Shift::kAscii;  // nothing reaches over a line's end
    at += AppendShifted(rest, shift, out);
  }
  return out;
}

std::string HzToGb(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  bool chinese = false;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::string_view rest = bytes.substr(at);
    if (chinese && rest.size() > 1 && IsGraphic(rest[0]) && IsGraphic(rest[1]) &&
        !rest.starts_with("~}")) {
      out += High(rest[0]);
      out += High(rest[1]);
      at += 2;
    } else if (rest.starts_with("~{") || rest.starts_with("~}")) {
      chinese = rest[1] == '{';
      at += 2;
    } else if (!chinese && rest.starts_with("~~")) {
      out += '~';
      at += 2;
    } else {
      if (rest[0] == '\n') chinese = false;
      out += rest[0];
      ++at;
    }
  }
  return out;
}

}  // namespace quillet
