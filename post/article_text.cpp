// SPDX-License-Identifier: GPL-3.0-or-later
#include "post/article_text.h"

#include <algorithm>

#include "mime/body.h"
#include "mime/shown_text.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr char16_t kFirstQuotedUnit = 0xFF80;

bool IsQuotedUnit(char16_t unit) {
  return unit >= kFirstQuotedUnit;
}

template <class Char>
HeaderLine<Char> FindLine(std::basic_string_view<Char> name, std::basic_string_view<Char> text) {
  constexpr Char kLineEnds[] = {'\r', '\n', 0};
  for (std::size_t at = 0; at < text.size();) {
    const std::basic_string_view<Char> rest = text.substr(at);
    const std::size_t length = std::min(rest.find_first_of(kLineEnds), rest.size());
    if (StartsWithNoCase(rest.substr(0, length), name)) {
      return {rest.substr(0, length).substr(std::min(name.size() + 1, length)), at};
    }
    at += std::min(length + 1, rest.size());
  }
  return {{}, std::basic_string_view<Char>::npos};
}

}  // namespace

std::u16string QuotedUnits(std::string_view text) {
  std::u16string units(text.size(), u'\0');
  std::ranges::transform(text, units.begin(), [](char byte) {
    return static_cast<char16_t>(static_cast<signed char>(byte));
  });
  return units;
}

bool HasQuotedUnits(std::u16string_view text) {
  return std::ranges::any_of(text, IsQuotedUnit);
}

std::u16string ShownInEditor(std::u16string_view text) {
  std::u16string shown(text);
  for (char16_t& unit : shown) {
    if (IsQuotedUnit(unit)) unit = RawBody(std::string(1, static_cast<char>(unit & 0xFF)))[0];
  }
  return shown;
}

std::string ToArticleText(std::u16string_view text, TextForm form) {
  if (form != TextForm::kQuotedBytes || !HasQuotedUnits(text)) {
    return ToStored(text);
  }
  return ToStored(ShownInEditor(text));
}

std::u16string OneLine(std::u16string_view text) {
  std::u16string line(text);
  std::ranges::replace_if(
      line, [](char16_t unit) { return unit == u'\r' || unit == u'\n' || unit == u'\0'; }, u' ');
  return line;
}

HeaderLine<char> FindHeaderLine(std::string_view name, std::string_view headers) {
  return FindLine(name, headers);
}

HeaderLine<char16_t> FindHeaderLine(std::u16string_view name, std::u16string_view headers) {
  return FindLine(name, headers);
}

}  // namespace quillet
