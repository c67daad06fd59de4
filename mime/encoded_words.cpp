// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/encoded_words.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include "mime/decoding.h"
#include "mime/shown_text.h"
#include "util/base64.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::string_view kQOpener = "=?UTF-8?Q?", kBOpener = "=?UTF-8?B?", kCloser = "?=";
constexpr std::size_t kLongestWord = 75;
constexpr std::size_t kLongestData = kLongestWord - kQOpener.size() - kCloser.size();

bool IsPrintableAscii(std::u16string_view text) {
  return std::ranges::all_of(text, [](char16_t unit) { return unit >= u' ' && unit < 0x7F; });
}

// What may stand for itself in a word wherever that stands, in a name before an address too.
bool StandsForItself(char c) {
  const char lower = ToLowerAscii(c);
  return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') ||
         std::string_view("!*+-/").find(c) != std::string_view::npos;
}

std::size_t QLength(std::string_view bytes) {
  std::size_t length = 0;
  for (const char c : bytes) length += StandsForItself(c) || c == ' ' ? 1 : 3;
  return length;
}
std::size_t BLength(std::string_view bytes) {
  return (bytes.size() + 2) / 3 * 4;
}

void AppendQ(std::string_view bytes, std::string& out) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == ' ') {
      out += '_';
    } else if (StandsForItself(c)) {
      out += c;
    } else {
      out += '=';
      out += kDigits[byte >> 4];
      out += kDigits[byte & 15];
    }
  }
}

// The first character of UTF-8 text, whole.
std::string_view FirstCharacter(std::string_view utf8) {
  std::size_t length = 1;
  while (length < utf8.size() && (static_cast<unsigned char>(utf8[length]) & 0xC0) == 0x80) {
    ++length;
  }
  return utf8.substr(0, length);
}

void AppendWord(std::string_view bytes, bool base64, std::string& out) {
  out += base64 ? kBOpener : kQOpener;
  if (base64) {
    out += Base64Encode(bytes);
  } else {
    AppendQ(bytes, out);
  }
  out += kCloser;
}

// One text as words with a blank between each two.
std::string AsWords(std::u16string_view text) {
  const std::string utf8 = ToUtf8(text);
  std::string_view left = utf8;
  // As long as it is not much longer, the form that people can read.
  const bool base64 = 3 * BLength(left) < 2 * QLength(left);
  std::string out, bytes;
  while (!left.empty()) {
    const std::string_view character = FirstCharacter(left);
    const std::string longer = bytes + std::string(character);
    if ((base64 ? BLength(longer) : QLength(longer)) > kLongestData) {
      AppendWord(bytes, base64, out);
      out += ' ';
      bytes.clear();
    }
    bytes += character;
    left.remove_prefix(character.size());
  }
  AppendWord(bytes, base64, out);
  return out;
}

// Control characters have no place in a header.
std::u16string OnOneLine(std::u16string_view text) {
  std::u16string line(text);
  std::ranges::replace_if(
      line, [](char16_t unit) { return unit < u' ' || unit == 0x7F; }, u' ');
  return line;
}

struct Piece {
  std::u16string_view text;
  bool blanks = false;
  bool needs_word = false;
};

std::vector<Piece> Pieces(std::u16string_view text) {
  std::vector<Piece> pieces;
  while (!text.empty()) {
    const bool blanks = text.front() == u' ';
    const std::size_t end = blanks ? text.find_first_not_of(u' ') : text.find(u' ');
    const std::u16string_view piece = text.substr(0, end);
    const bool looks_encoded = piece.find(u"=?") != std::u16string_view::npos;
    pieces.push_back({piece, blanks, !blanks && (looks_encoded || !IsPrintableAscii(piece))});
    text.remove_prefix(piece.size());
  }
  return pieces;
}

// The last of the pieces that are one text in words: words without a plain one between them, and
// the blanks that stand there.
std::size_t LastOfRun(const std::vector<Piece>& pieces, std::size_t first) {
  std::size_t last = first;
  while (last + 2 < pieces.size() && pieces[last + 2].needs_word) last += 2;
  return last;
}

std::string EncodePieces(std::u16string_view text) {
  const std::vector<Piece> pieces = Pieces(text);
  std::string out;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (!pieces[i].needs_word) {
      out += Narrow(pieces[i].text);
      continue;
    }
    const std::size_t last = LastOfRun(pieces, i);
    const char16_t* begin = pieces[i].text.data();
    const char16_t* end = pieces[last].text.data() + pieces[last].text.size();
    out += AsWords({begin, static_cast<std::size_t>(end - begin)});
    i = last;
  }
  return out;
}

std::u16string_view Trimmed(std::u16string_view text) {
  while (text.starts_with(u' ')) text.remove_prefix(1);
  while (text.ends_with(u' ')) text.remove_suffix(1);
  return text;
}

// What a quoted name says.
std::u16string Unquoted(std::u16string_view name) {
  if (name.size() < 2 || name.front() != u'"' || name.back() != u'"') return std::u16string(name);
  std::u16string plain;
  for (std::size_t i = 1; i + 1 < name.size(); ++i) {
    if (name[i] == u'\\' && i + 2 < name.size()) ++i;
    plain += name[i];
  }
  return plain;
}

// A name beside an address is one text: what it has in plain words may need quotes that words must
// not stand in.
std::string EncodeName(std::u16string_view name) {
  if (IsPrintableAscii(name)) return Narrow(name);
  const std::u16string plain = Unquoted(Trimmed(name));
  return plain.empty() ? "" : AsWords(plain);
}

// No word may stand in an address; what it lacks in ASCII can be sent nowhere.
std::string PlainAddress(std::u16string_view address) {
  std::string plain;
  for (const char16_t unit : address) plain += unit < 0x7F ? static_cast<char>(unit) : '?';
  return plain;
}

struct Bracketed {
  std::u16string_view before, inside, after;
};

std::optional<Bracketed> FindBracketed(std::u16string_view text, char16_t open, char16_t close) {
  const std::size_t end = text.rfind(close);
  if (end == std::u16string_view::npos) return std::nullopt;
  const std::size_t start = open == close ? text.npos : text.substr(0, end).rfind(open);
  if (start == std::u16string_view::npos) return std::nullopt;
  return Bracketed{text.substr(0, start), text.substr(start + 1, end - start - 1),
                   text.substr(end + 1)};
}

}  // namespace

std::string EncodeHeaderText(std::u16string_view text) {
  const std::u16string line = OnOneLine(text);
  return IsPrintableAscii(line) ? Narrow(line) : EncodePieces(line);
}

std::string EncodeHeaderAddress(std::u16string_view value) {
  const std::u16string line = OnOneLine(value);
  if (IsPrintableAscii(line)) return Narrow(line);
  if (const auto found = FindBracketed(line, u'<', u'>')) {
    const std::string name = EncodeName(found->before);
    const bool blank = !name.empty() && !name.ends_with(' ');
    return name + (blank ? " <" : "<") + PlainAddress(found->inside) + ">" +
           EncodePieces(found->after);
  }
  if (const auto found = FindBracketed(line, u'(', u')')) {
    return PlainAddress(found->before) + "(" + EncodeName(found->inside) + ")" +
           EncodePieces(found->after);
  }
  return line.find(u'@') == std::u16string::npos ? AsWords(line) : PlainAddress(line);
}

std::string ToKillfileText(std::u16string_view shown) {
  std::string bytes = ToStored(shown);
  if (!Decoding() || shown.empty() || ShownHeader(bytes) == shown) return bytes;
  return AsWords(shown);
}

}  // namespace quillet
