// SPDX-License-Identifier: GPL-3.0-or-later
#include "post/quote.h"

#include <algorithm>

#include "mime/columns.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::size_t kColumns = 72;
// Of a line that is quoted very often there must be room for words all the same.
constexpr std::size_t kFewestColumns = 20;

// The next line with its line end.
std::u16string_view TakeLine(std::u16string_view& text) {
  const std::size_t length = std::min(text.find(u'\n'), text.size() - 1) + 1;
  const std::u16string_view line = text.substr(0, length);
  text.remove_prefix(length);
  return line;
}

// How much of the paragraph the next line takes, and where the rest begins.
struct Piece {
  std::size_t end = 0;
  std::size_t rest = 0;
};

// The last place within the columns where a line may end, else the first one beyond them.
Piece NextPiece(std::string_view text, std::size_t columns) {
  Piece best;
  std::size_t column = 0;
  char32_t before = 0;
  for (std::size_t at = 0; at < text.size();) {
    const Utf8Character character = CharacterAt(text, at);
    const bool wide = ColumnsOf(character.value) == 2 || ColumnsOf(before) == 2;
    if (at > 0 && wide && character.value != U' ' && MayCutBetween(before, character.value)) {
      best = {at, at};
    } else if (at > 0 && character.value == U' ' && before != U' ') {
      best = {at, std::min(text.find_first_not_of(' ', at), text.size())};
    }
    column += ColumnsOf(character.value);
    if (column > columns && best.end > 0) return best;
    before = character.value;
    at += character.bytes;
  }
  return {text.size(), text.size()};
}

void AppendParagraph(std::u16string& quoted, std::u16string_view line, std::u16string_view mark) {
  const std::size_t depth = std::min(line.find_first_not_of(u'>'), line.size());
  std::u16string prefix(mark);
  if (depth > 0) {
    // ">> text" and not "> > text", which readers of flowed text take for one level.
    if (mark.ends_with(u"> ")) prefix.pop_back();
    prefix.append(depth, u'>').push_back(u' ');
    line.remove_prefix(depth);
    if (line.starts_with(u' ')) line.remove_prefix(1);
  }
  const std::size_t marks = ColumnsOf(std::string_view(ToUtf8(prefix)));
  const std::string paragraph = ToUtf8(line);
  std::string_view rest = paragraph;
  const std::size_t columns = std::max(kColumns - std::min(marks, kColumns), kFewestColumns);
  do {
    const Piece piece = NextPiece(rest, columns);
    quoted.append(prefix).append(FromUtf8(rest.substr(0, piece.end)));
    rest.remove_prefix(piece.rest);
    if (!rest.empty()) quoted += u"\r\n";
  } while (!rest.empty());
}

}  // namespace

std::u16string QuoteLines(std::u16string_view text, std::u16string_view mark) {
  const auto lines = static_cast<std::size_t>(std::ranges::count(text, u'\n')) + 1;
  std::u16string quoted;
  quoted.reserve(text.size() + mark.size() * lines);
  while (!text.empty()) quoted.append(mark).append(TakeLine(text));
  return quoted;
}

std::u16string QuoteParagraphs(std::u16string_view text, std::u16string_view mark) {
  std::u16string quoted;
  while (!text.empty()) {
    const std::u16string_view whole = TakeLine(text);
    const std::size_t end = std::min(whole.find_last_not_of(u"\r\n") + 1, whole.size());
    AppendParagraph(quoted, whole.substr(0, end), mark);
    quoted.append(whole.substr(end));
  }
  return quoted;
}

}  // namespace quillet
