// SPDX-License-Identifier: GPL-3.0-or-later
// The text of a post over any header and body, which the first NUL divides: un-stuffed and
// unfolded, what is sent is what was written. The same of a post that counts characters: no line is
// too long, and no character is cut.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "nntp/character_text.h"
#include "nntp/post_text.h"
#include "util/ascii.h"
#include "util/text.h"

namespace {

constexpr std::size_t kLongestPiece = 500;
constexpr std::size_t kLongestLine = 998;

void Require(bool holds) {
  if (!holds) std::abort();
}

void TakePrefix(std::string_view& text, std::string_view prefix) {
  Require(text.starts_with(prefix));
  text.remove_prefix(prefix.size());
}

// The next line that was sent, without its LF; each ends in CR LF.
std::string_view TakeLine(std::string_view& sent) {
  const std::size_t end = sent.find('\n');
  Require(end != std::string_view::npos && end > 0 && sent[end - 1] == '\r');
  const std::string_view line = sent.substr(0, end);
  sent.remove_prefix(end + 1);
  return line;
}

// Takes what was sent for one line off its front, and holds it to the line.
void TakeSentLine(std::string_view& sent, std::string line, bool is_header) {
  if (line.back() != '\r') line += '\r';
  if (line.front() == '.') TakePrefix(sent, ".");
  std::string_view rest = line;
  bool folded = false;
  for (bool continues = false;; continues = true) {
    std::string_view piece = TakeLine(sent);
    Require(!continues || piece != ".\r");
    if (continues && !folded && piece == "..\r" && rest.substr(0, 2) != "..")
      TakePrefix(piece, ".");
    Require(piece.size() <= kLongestPiece + 1);  // the CR may be an added one
    if (folded) {
      TakePrefix(piece, "\t");
      TakePrefix(rest, " ");
    }
    if (piece == rest) return;
    piece.remove_suffix(1);
    TakePrefix(rest, piece);
    const bool at_blank = rest.starts_with(' ');
    Require(at_blank || piece.size() + (folded ? 1 : 0) == kLongestPiece - 1);
    folded = at_blank && is_header;
    if (at_blank && !is_header) TakePrefix(rest, " ");
  }
}

void TakeSentLines(std::string_view& sent, std::string_view text, bool is_header) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (end > 0) TakeSentLine(sent, std::string(text.substr(0, end)), is_header);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

// Every break stands for one blank.
void CheckWrapped(std::string_view body, std::string_view wrapped) {
  while (!body.empty()) {
    Require(!wrapped.empty());
    if (body.front() == ' ' && wrapped.front() == '\r') {
      TakePrefix(wrapped, "\r\n");
      body.remove_prefix(1);
    } else {
      TakePrefix(wrapped, body.substr(0, 1));
      body.remove_prefix(1);
    }
  }
  Require(wrapped.empty());
}

bool IsUtf8(std::string_view text) {
  return quillet::ToUtf8(quillet::FromUtf8(text)) == text;
}

// All that is no blank, no line end and no dot.
std::string Letters(std::string_view text) {
  std::string letters(text);
  std::erase_if(letters, [](char c) { return c == ' ' || c == '\r' || c == '\n' || c == '.'; });
  return letters;
}

void CheckCharacterPost(std::string_view body) {
  constexpr std::string_view kHead = "Content-Type: text/plain; charset=utf-8\r\n";
  const std::string text = quillet::BuildCharacterPost(kHead, body);
  std::string_view sent = text;
  TakePrefix(sent, kHead);
  TakePrefix(sent, "X-Newsreader: Quillet CE 1.14r3\r\n\r\n");
  Require(sent.ends_with("\r\n.\r\n"));
  sent.remove_suffix(5);
  Require(Letters(sent) == Letters(body));
  Require(!IsUtf8(body) || IsUtf8(sent));
  const bool plain = quillet::IsAscii(body) && body.find('.') == std::string_view::npos;
  Require(!plain ||
          text == quillet::BuildPostText(kHead, quillet::WrapPostBody(std::string(body))));
  while (!sent.empty()) Require(TakeLine(sent).size() <= kLongestLine + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view all(reinterpret_cast<const char*>(data), size);
  const std::size_t nul = all.find('\0');
  const std::string_view header = all.substr(0, nul);
  std::string_view body = nul == std::string_view::npos ? "" : all.substr(nul + 1);
  body = body.substr(0, body.find('\0'));

  const std::string wrapped = quillet::WrapPostBody(std::string(body));
  CheckWrapped(body, wrapped);

  CheckCharacterPost(body);
  quillet::HasCharacters(header, body);
  quillet::BuildCharacterPost(header, body);  // in whatever charset the header names

  const std::string text = quillet::BuildPostText(header, wrapped, "Message-ID: <1@x.y>");
  std::string_view sent = text;
  TakeSentLines(sent, header, true);
  TakePrefix(sent, "Message-ID: <1@x.y>\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\n");
  TakeSentLines(sent, wrapped, false);
  Require(sent == "\r\n.\r\n");
  Require(text.find("\r\n.\r\n") == text.size() - 5);
  return 0;
}
