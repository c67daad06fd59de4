// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/html_tags.h"

#include <algorithm>

#include "mime/html_entities.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::size_t kNone = std::u16string_view::npos;
constexpr std::u16string_view kSpaces = u" \t\r\n\f";
constexpr std::size_t kLongestName = 32, kLongestEntity = 32;

bool IsLetter(char16_t unit) {
  const char16_t lower = ToLowerAscii(unit);
  return lower >= u'a' && lower <= u'z';
}
bool IsNameUnit(char16_t unit) {
  return IsLetter(unit) || (unit >= u'0' && unit <= u'9') || unit == u':' || unit == u'-' ||
         unit == u'_';
}

std::size_t NameLength(std::u16string_view rest) {
  if (rest.empty() || !IsLetter(rest.front())) return 0;
  std::size_t length = 1;
  while (length < rest.size() && IsNameUnit(rest[length])) ++length;
  return length;
}

std::u16string Lower(std::u16string_view text) {
  std::u16string lower(text);
  std::ranges::transform(lower, lower.begin(), [](char16_t unit) { return ToLowerAscii(unit); });
  return lower;
}

void Append(std::u16string& out, char32_t value) {
  const bool control =
      (value < 0x20 && kSpaces.find(static_cast<char16_t>(value)) == kNone) || value == 0x7F;
  const bool no_character = value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF);
  if (control || no_character) value = 0xFFFD;
  if (value >= 0x80 && value < 0xA0) {  // numbers of that kind are meant as code page 1252
    out += Widen(std::string(1, static_cast<char>(value)));
  } else if (value < 0x10000) {
    out += static_cast<char16_t>(value);
  } else {
    out += static_cast<char16_t>(0xD7C0 + (value >> 10));
    out += static_cast<char16_t>(0xDC00 + (value & 0x3FF));
  }
}

int DigitOf(char16_t unit, int base) {
  const char16_t lower = ToLowerAscii(unit);
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  if (base == 16 && lower >= u'a' && lower <= u'f') return lower - u'a' + 10;
  return -1;
}

// "&#228;" or "&#xE4;" at the start of `rest`; returns its length, 0 when it is none.
std::size_t AppendNumber(std::u16string_view rest, std::u16string& out) {
  const bool hex = rest.size() > 2 && (rest[2] == u'x' || rest[2] == u'X');
  const std::size_t digits = hex ? 3 : 2;
  const int base = hex ? 16 : 10;
  char32_t value = 0;
  std::size_t at = digits;
  for (; at < rest.size() && DigitOf(rest[at], base) >= 0; ++at) {
    const auto digit = static_cast<char32_t>(DigitOf(rest[at], base));
    value = std::min<char32_t>(value * static_cast<char32_t>(base) + digit, 0x110000);
  }
  if (at == digits) return 0;
  Append(out, value);
  return at + (at < rest.size() && rest[at] == u';');
}

std::size_t AppendNamed(std::u16string_view rest, std::u16string& out) {
  std::size_t end = 1;
  const std::size_t limit = std::min(rest.size(), kLongestEntity);
  while (end < limit && (IsLetter(rest[end]) || (rest[end] >= u'0' && rest[end] <= u'9'))) ++end;
  const char16_t character = EntityCharacter(rest.substr(1, end - 1));
  if (character == 0) return 0;
  out += character;
  return end + (end < rest.size() && rest[end] == u';');
}

}  // namespace

std::u16string DecodeEntities(std::u16string_view text) {
  std::u16string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const std::size_t plain = std::min(text.find(u'&'), text.size());
    out.append(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) break;
    const bool number = text.size() > 1 && text[1] == u'#';
    const std::size_t used = number ? AppendNumber(text, out) : AppendNamed(text, out);
    if (used == 0) out += u'&';
    text.remove_prefix(std::max<std::size_t>(used, 1));
  }
  return out;
}

std::u16string HtmlAttribute(std::u16string_view inside, std::u16string_view name) {
  while (!inside.empty()) {
    inside.remove_prefix(std::min(inside.find_first_not_of(u" \t\r\n\f/="), inside.size()));
    const std::size_t name_end = std::min(inside.find_first_of(u" \t\r\n\f/="), inside.size());
    const bool wanted = EqualsNoCase(inside.substr(0, name_end), name);
    inside.remove_prefix(name_end);
    inside.remove_prefix(std::min(inside.find_first_not_of(kSpaces), inside.size()));
    if (!inside.starts_with(u'=')) continue;
    inside.remove_prefix(1);
    inside.remove_prefix(std::min(inside.find_first_not_of(kSpaces), inside.size()));
    const bool quoted = inside.starts_with(u'"') || inside.starts_with(u'\'');
    const std::size_t end = quoted ? inside.find(inside.front(), 1) : inside.find_first_of(kSpaces);
    const std::u16string_view value = inside.substr(quoted, end == kNone ? kNone : end - quoted);
    if (wanted) return DecodeEntities(value);
    inside.remove_prefix(end == kNone ? inside.size() : end + quoted);
  }
  return {};
}

// One past the tag that begins at `at`. Quotation marks hide its end; where they are not closed
// they hide nothing. Another tag's beginning ends it as well. kNone: it has no end.
std::size_t HtmlReader::TagEnd(std::size_t at) {
  char16_t before = 0;  // the last that was no space
  for (std::size_t i = at + 1; i < text_.size(); ++i) {
    const char16_t unit = text_[i];
    if (unit == u'>') return i + 1;
    if (unit == u'<') return i;
    bool& none = unit == u'"' ? no_double_quote_ : no_single_quote_;
    if ((unit == u'"' || unit == u'\'') && before == u'=' && !none) {
      const std::size_t close = text_.find(unit, i + 1);
      none = close == kNone;
      if (!none) i = close;
    }
    if (kSpaces.find(unit) == kNone) before = unit;
  }
  return kNone;
}

std::size_t HtmlReader::CommentEnd(std::size_t at) {
  if (text_.substr(at).starts_with(u"<!--") && !no_comment_end_) {
    const std::size_t end = text_.find(u"-->", at + 2);
    if (end != kNone) return end + 3;
    no_comment_end_ = true;
  }
  const std::size_t end = text_.find(u'>', at);
  return end == kNone ? text_.size() : end + 1;
}

bool HtmlReader::ReadTag(HtmlToken& token) {
  const std::u16string_view rest = text_.substr(at_);
  if (rest.starts_with(u"<!") || rest.starts_with(u"<?")) {
    at_ = CommentEnd(at_);
    token = {.is_tag = true, .closes = false, .name = {}, .text = {}};
    return true;
  }
  const bool closes = rest.starts_with(u"</");
  const std::size_t start = closes ? 2 : 1, length = NameLength(rest.substr(start));
  const std::size_t behind = start + length;
  // Whatever else stands in angle brackets is an address or a formula.
  if (length == 0 || length > kLongestName) return false;
  constexpr std::u16string_view kBehindName = u"/<> \t\r\n\f";
  if (behind < rest.size() && kBehindName.find(rest[behind]) == kNone) return false;
  const std::size_t end = std::min(TagEnd(at_), text_.size());
  const std::u16string_view inside = text_.substr(at_ + behind, end - at_ - behind);
  token = {.is_tag = true,
           .closes = closes,
           .name = Lower(rest.substr(start, length)),
           .text = inside.substr(0, inside.size() - inside.ends_with(u'>'))};
  at_ = end;
  return true;
}

bool HtmlReader::Next(HtmlToken& token) {
  if (at_ == text_.size()) return false;
  if (text_[at_] == u'<' && ReadTag(token)) return true;
  const std::size_t end = std::min(text_.find(u'<', at_ + 1), text_.size());
  token = {.is_tag = false, .closes = false, .name = {}, .text = text_.substr(at_, end - at_)};
  at_ = end;
  return true;
}

void HtmlReader::SkipTo(std::u16string_view name) {
  const std::u16string key = std::u16string(name) + u" ";
  if (unclosed_.find(key) != kNone) return;
  for (std::size_t at = text_.find(u"</", at_); at != kNone; at = text_.find(u"</", at + 2)) {
    if (!StartsWithNoCase(text_.substr(at + 2), name)) continue;
    at_ = at;
    return;
  }
  unclosed_ += key;
}

}  // namespace quillet
