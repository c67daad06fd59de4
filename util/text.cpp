// SPDX-License-Identifier: GPL-3.0-or-later
// Code page 1252 is a table of 32 units, all other bytes being their own code points. The UTF-8
// decoder takes well-formed sequences only (no overlong ones, no surrogates, nothing beyond
// U+10FFFF), and after a malformed one goes on one byte later.
#include "util/text.h"

#include <algorithm>
#include <array>

namespace quillet {
namespace {

// The 32 units of bytes 80 to 9F; all other bytes are their own code point.
constexpr std::array<char16_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char NarrowUnit(char16_t unit) {
  if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return static_cast<char>(unit);
  const auto* found = std::find(kHighControls.begin(), kHighControls.end(), unit);
  if (found == kHighControls.end()) return '?';
  return static_cast<char>(0x80 + (found - kHighControls.begin()));
}

template <class Text>
bool StartsWithFolded(Text text, Text prefix) {
  return text.size() >= prefix.size() &&
         std::equal(prefix.begin(), prefix.end(), text.begin(),
                    [](auto a, auto b) { return ToLowerAscii(a) == ToLowerAscii(b); });
}

void AppendUtf8(std::string& out, char32_t c) {
  const auto put = [&](char32_t value) { out.push_back(static_cast<char>(value)); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | c >> 6);
    put(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    put(0xE0 | c >> 12);
    put(0x80 | (c >> 6 & 0x3F));
    put(0x80 | (c & 0x3F));
  } else {
    put(0xF0 | c >> 18);
    put(0x80 | (c >> 12 & 0x3F));
    put(0x80 | (c >> 6 & 0x3F));
    put(0x80 | (c & 0x3F));
  }
}

// Length of the sequence that a lead byte opens, 0 when no well-formed sequence begins with it.
std::size_t Utf8Length(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

// Decodes the sequence at `at`; advances it by the bytes used (1 for a malformed one).
char32_t NextUtf8(std::string_view text, std::size_t& at) {
  const auto lead = static_cast<unsigned char>(text[at]);
  const std::size_t length = Utf8Length(lead);
  if (length == 1) return static_cast<char32_t>(text[at++]);
  if (length == 0 || at + length > text.size()) {
    ++at;
    return 0xFFFD;
  }
  char32_t value = lead & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(text[at + i]);
    if ((byte & 0xC0) != 0x80) {
      ++at;
      return 0xFFFD;
    }
    value = value << 6 | (byte & 0x3FU);
  }
  const bool overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
  if (overlong || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
    ++at;
    return 0xFFFD;
  }
  at += length;
  return value;
}

}  // namespace

std::u16string Widen(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    out.push_back(byte >= 0x80 && byte < 0xA0 ? kHighControls[byte - 0x80U] : char16_t{byte});
  }
  return out;
}

std::string Narrow(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char16_t unit : text) out.push_back(NarrowUnit(unit));
  return out;
}

std::string ToUtf8(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char32_t unit = text[i];
    if (unit < 0xD800 || unit > 0xDFFF) {
      AppendUtf8(out, unit);
    } else if (unit <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
               text[i + 1] <= 0xDFFF) {
      AppendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (text[++i] - 0xDC00U));
    } else {
      AppendUtf8(out, 0xFFFD);
    }
  }
  return out;
}

std::u16string FromUtf8(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const char32_t c = NextUtf8(text, at);
    if (c < 0x10000) {
      out.push_back(static_cast<char16_t>(c));
    } else {
      out.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
    }
  }
  return out;
}

bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.starts_with(prefix);
}
bool StartsWith(std::u16string_view text, std::u16string_view prefix) {
  return text.starts_with(prefix);
}
bool EndsWith(std::string_view text, std::string_view suffix) {
  return text.ends_with(suffix);
}
bool EndsWith(std::u16string_view text, std::u16string_view suffix) {
  return text.ends_with(suffix);
}
bool HasControlCharacter(std::string_view text) {
  return std::ranges::any_of(text, [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
  });
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
  return StartsWithFolded(text, prefix);
}
bool StartsWithNoCase(std::u16string_view text, std::u16string_view prefix) {
  return StartsWithFolded(text, prefix);
}
bool EqualsNoCase(std::u16string_view a, std::u16string_view b) {
  return a.size() == b.size() && StartsWithFolded(a, b);
}

std::size_t FindNoCase(std::string_view text, std::string_view needle) {
  const auto found = std::search(text.begin(), text.end(), needle.begin(), needle.end(),
                                 [](char a, char b) { return ToLowerAscii(a) == ToLowerAscii(b); });
  if (found == text.end() && !needle.empty()) return std::string_view::npos;
  return static_cast<std::size_t>(found - text.begin());
}

}  // namespace quillet
