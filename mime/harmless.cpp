// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/harmless.h"

#include <algorithm>

namespace quillet {
namespace {

constexpr char16_t kReplacement = u'\xFFFD';

bool IsControl(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

bool TurnsDirection(char16_t unit) {
  return (unit >= 0x202A && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
}

// A tab stays what it is, as in a header that needs no decoding: killfile entries have them.
char16_t OnOneLine(char16_t unit) {
  if (unit == u'\t') return unit;
  const bool space = (unit >= u'\n' && unit <= u'\r') || unit == 0x85;
  if (space || unit == 0x2028 || unit == 0x2029) return u' ';
  return IsControl(unit) ? kReplacement : unit;
}

char16_t InLines(char16_t unit) {
  if (unit >= u' ' && unit < 0x7F) return unit;
  const bool may_stand = unit == u'\t' || unit == u'\r' || unit == u'\n' || unit == u'\f';
  return IsControl(unit) && !may_stand ? kReplacement : unit;
}

}  // namespace

void MakeOneLine(std::u16string& text, std::size_t from) {
  const auto begin = text.begin() + static_cast<std::ptrdiff_t>(from);
  text.erase(std::remove_if(begin, text.end(), TurnsDirection), text.end());
  std::transform(begin, text.end(), begin, OnOneLine);
}

void MakeLines(std::u16string& text) {
  if (text.starts_with(u'\xFEFF')) text.erase(0, 1);
  std::ranges::transform(text, text.begin(), InLines);
}

std::size_t LineEnd(std::u16string_view text) {
  std::size_t at = 0;
  while (at < text.size() && text[at] != u'\r' && text[at] != u'\n') ++at;
  return at;
}

std::u16string WithFullLineEnds(std::u16string_view text) {
  std::u16string full;
  full.reserve(text.size() + text.size() / 32);
  while (!text.empty()) {
    const std::size_t end = LineEnd(text);
    full.append(text.substr(0, end));
    if (end == text.size()) break;
    full += u"\r\n";
    text.remove_prefix(end + (text.substr(end).starts_with(u"\r\n") ? 2 : 1));
  }
  return full;
}

}  // namespace quillet
