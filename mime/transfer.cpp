// SPDX-License-Identifier: GPL-3.0-or-later
// The mail library has decoders of its own, which leave out the last bytes of base64 without
// padding and keep blanks at the ends of quoted-printable lines. For 5 KB these here take 7 and 5
// us, those 5 us each; an article of that size takes 20 to 40 us in all.
#include "mime/transfer.h"

#include <algorithm>
#include <cstdint>

#include "util/base64.h"

namespace quillet {
namespace {

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

// The length of the blanks and the line end at the start of `rest`; 0 when something else comes
// first. The end of the text ends a line, too.
std::size_t LineEndAt(std::string_view rest) {
  std::size_t at = 0;
  while (at < rest.size() && IsBlank(rest[at])) ++at;
  if (at == rest.size() || rest[at] == '\n') return std::min(at + 1, rest.size());
  if (rest[at] != '\r') return 0;
  return at + (rest.substr(at).starts_with("\r\n") ? 2 : 1);
}

// The next equals sign or line feed.
std::size_t PlainEnd(std::string_view body, std::size_t at) {
  while (at < body.size() && body[at] != '=' && body[at] != '\n') ++at;
  return at;
}

void RemoveBlanksAtEnd(std::string& out, std::size_t from) {
  while (out.size() > from && IsBlank(out.back())) out.pop_back();
}

// What follows the equals sign at the start of `rest`; returns how much of `rest` that takes.
std::size_t AppendEscape(std::string_view rest, std::string& out) {
  if (const int byte = EscapedByte(rest); byte >= 0) {
    out += static_cast<char>(byte);
    return 3;
  }
  if (const std::size_t soft = LineEndAt(rest.substr(1)); soft > 0 || rest.size() == 1) {
    return 1 + soft;
  }
  out += '=';
  return 1;
}

// One line of base64: how many of its characters are foreign, and whether it ends with padding.
struct Line {
  std::size_t letters = 0, foreign = 0;
  bool padded = false;
};

Line Look(std::string_view text) {
  while (!text.empty() && (IsBlank(text.back()) || text.back() == '\r')) text.remove_suffix(1);
  Line line;
  line.padded = text.ends_with('=');
  std::size_t others = 0, padding = 0;
  for (const char c : text) {
    others += Base64Value(c) >> 7;
    padding += c == '=';
  }
  line.letters = text.size() - others;
  line.foreign = others - padding;
  return line;
}

// The three bytes of four letters; false where they are not four letters.
bool DecodeGroup(const char* letters, char* out) {
  const unsigned a = Base64Value(letters[0]), b = Base64Value(letters[1]),
                 c = Base64Value(letters[2]), d = Base64Value(letters[3]);
  if (((a | b | c | d) & 0x80) != 0) return false;
  out[0] = static_cast<char>(a << 2 | b >> 4);
  out[1] = static_cast<char>((b & 15) << 4 | c >> 2);
  out[2] = static_cast<char>((c & 3) << 6 | d);
  return true;
}

}  // namespace

void DecodeBase64(std::string_view letters, std::string& out) {
  std::size_t end = out.size();
  out.resize(end + letters.size() / 4 * 3 + 3);
  std::uint32_t bits = 0;
  int held = 0;  // of them, how many stand for no byte yet
  for (std::size_t at = 0; at < letters.size(); ++at) {
    while (held == 0 && at + 4 <= letters.size() && DecodeGroup(&letters[at], &out[end])) {
      at += 4;
      end += 3;
    }
    if (at == letters.size()) break;
    const std::uint8_t value = Base64Value(letters[at]);
    if (value == kNoBase64Letter) {
      if (letters[at] == '=') held = 0;
      continue;
    }
    bits = bits << 6 | value;
    held += 6;
    if (held < 8) continue;
    held -= 8;
    out[end++] = static_cast<char>(bits >> held & 0xFF);
  }
  out.resize(end);
}

int EscapedByte(std::string_view rest) {
  if (rest.size() < 3 || rest[0] != '=') return -1;
  const int high = HexDigit(rest[1]), low = HexDigit(rest[2]);
  return high < 0 || low < 0 ? -1 : high * 16 + low;
}

std::string DecodeQuotedPrintable(std::string_view body) {
  std::string out;
  out.reserve(body.size());
  std::size_t kept = 0;  // blanks before this place of `out` are meant
  for (std::size_t at = 0; at < body.size();) {
    const std::size_t run = PlainEnd(body, at);
    out.append(body, at, run - at);
    at = run;
    if (at == body.size()) break;
    if (body[at] == '=') {
      at += AppendEscape(body.substr(at), out);
      kept = out.size();
      continue;
    }
    const bool cr = out.size() > kept && out.back() == '\r';
    if (cr) out.pop_back();
    RemoveBlanksAtEnd(out, kept);
    out += cr ? "\r\n" : "\n";
    kept = out.size();
    ++at;
  }
  RemoveBlanksAtEnd(out, kept);
  return out;
}

Base64Extent FindBase64(std::string_view body) {
  std::size_t letters = 0, foreign = 0;
  bool ended = false;
  for (std::size_t at = 0; at < body.size();) {
    const std::size_t end = std::min(body.find('\n', at), body.size());
    const Line line = Look(body.substr(at, end - at));
    if (ended && line.foreign > 0) return {at, foreign * 10 <= letters};
    letters += line.letters;
    foreign += line.foreign;
    ended = line.padded || (ended && line.letters == 0);
    at = std::min(end + 1, body.size());
  }
  return {body.size(), foreign * 10 <= letters};
}

}  // namespace quillet
