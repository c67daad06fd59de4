// SPDX-License-Identifier: GPL-3.0-or-later
// What is done for plain ASCII goes by bytes and is quick (post_text); this goes character by
// character, over the few posts that need it.
#include "nntp/character_text.h"

#include <algorithm>
#include <deque>
#include <optional>
#include <vector>

#include "mime/columns.h"
#include "mime/encode_text.h"
#include "nntp/post_text.h"
#include "util/ascii.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

// --- the columns of the body ---

constexpr std::size_t kFirstBreak = 73;
constexpr std::size_t kFull = 80;
constexpr std::size_t kLastOfSearch = 72;

// A blank that nothing stands on.
bool IsPlainBlank(std::string_view text, std::size_t at) {
  if (text[at] != ' ') return false;
  return at + 1 == text.size() || ColumnsOf(CharacterAt(text, at + 1).value) > 0;
}

bool IsBreak(std::string_view text, std::size_t at) {
  return IsPlainBlank(text, at) && at + 1 < text.size() && text[at + 1] != ' ' &&
         text[at + 1] != '\r';
}

// The places of blanks that become line ends, from left to right.
class Breaks {
 public:
  explicit Breaks(std::string_view text) : text_(text) {}

  // One line of the text, without its line end.
  void FindInLine(std::size_t start, std::size_t end) {
    base_ = column_ = 0;
    blanks_.clear();
    bool long_for_good = false;
    for (std::size_t at = start; at < end && !long_for_good;) {
      const Utf8Character character = CharacterAt(text_, at);
      column_ += ColumnsOf(character.value);
      const std::size_t column = column_ - base_;
      if (column >= kFirstBreak && column < kFull && IsBreak(text_, at)) {
        Take(at, column_);
        blanks_.clear();
      } else {
        if (IsPlainBlank(text_, at)) blanks_.push_back({at, column_});
        long_for_good = column >= kFull && !BreakBefore();
      }
      at += character.bytes;
    }
  }

  const std::vector<std::size_t>& places() const { return places_; }

 private:
  struct Blank {
    std::size_t at = 0;
    std::size_t column = 0;  // counted from the beginning of the whole line
  };

  void Take(std::size_t at, std::size_t column) {
    places_.push_back(at);
    base_ = column;
  }

  // At the last blank of the first 72 columns; false when there is none.
  bool BreakBefore() {
    const auto beyond = std::ranges::find_if(
        blanks_, [this](const Blank& blank) { return blank.column - base_ > kLastOfSearch; });
    if (beyond == blanks_.begin()) return false;
    const Blank last = *(beyond - 1);
    blanks_.erase(blanks_.begin(), beyond);
    Take(last.at, last.column);
    return column_ - base_ < kFull;
  }

  const std::string_view text_;
  std::vector<std::size_t> places_;
  std::size_t column_ = 0, base_ = 0;  // of the character under way; of the last break
  std::deque<Blank> blanks_;           // since that
};

// --- lines as they are sent ---

constexpr std::size_t kLongestLine = 998;
constexpr std::size_t kMostBytes = kLongestLine - 1;  // a doubled dot needs one
constexpr std::size_t kMostCharacters = 500;
// In other charsets a character may take four times the bytes that it has in UTF-8, with all that
// switches to it and back.
constexpr std::size_t kMostBytesOfOthers = kLongestLine / 4;

struct Piece {
  std::size_t end = 0;
  std::size_t rest = 0;  // where the next one begins
};

// The first piece of a line, all of it when it is not too long.
Piece FirstPiece(std::string_view line, std::size_t longest_bytes) {
  Piece blank, between;
  std::size_t last = 0, characters = 0;
  char32_t before = 0;
  for (std::size_t at = 0; at < line.size(); ++characters) {
    const Utf8Character character = CharacterAt(line, at);
    if (at > 0 && at <= longest_bytes && characters < kMostCharacters) {
      if (IsPlainBlank(line, at)) blank = {at, at + 1};
      if (MayCutBetween(before, character.value)) between = {at, at};
      last = at;
    }
    if (at + character.bytes > longest_bytes || characters == kMostCharacters) {
      if (blank.end > 0) return blank;
      return between.end > 0 ? between : Piece{last, last};
    }
    before = character.value;
    at += character.bytes;
  }
  return {line.size(), line.size()};
}

// The body as text, if it is in a charset that has to be decoded for that.
std::optional<std::u16string> TextInCharset(std::string_view body, std::string_view charset) {
  if (charset.empty() || EqualsNoCase(FromUtf8(charset), u"utf-8")) return std::nullopt;
  return DecodeText(body, charset);
}

std::string ReadyUtf8(std::string_view body, std::size_t longest_bytes) {
  return CutLongLines(WrapCharacters(body), longest_bytes);
}

}  // namespace

bool HasCharacters(std::string_view header, std::string_view body) {
  header = UntilNul(header);
  body = UntilNul(body);
  if (!IsAscii(header) || !IsAscii(body)) return true;
  // In a charset of seven bits, such as those with shifts, ASCII can mean other characters.
  const std::string charset = CharsetOfHead(header);
  const auto text = TextInCharset(body, charset);
  return text && !IsAscii(*text) && EncodeText(*text, charset) == body;
}

std::string WrapCharacters(std::string_view body) {
  body = UntilNul(body);
  Breaks breaks(body);
  for (std::size_t start = 0; start < body.size();) {
    const std::size_t end = std::min(body.find_first_of(kLineEnd, start), body.size());
    breaks.FindInLine(start, end);
    start = end + 1;
  }
  std::string wrapped;
  wrapped.reserve(body.size() + breaks.places().size());
  std::size_t copied = 0;
  for (const std::size_t place : breaks.places()) {
    wrapped.append(body.substr(copied, place - copied)).append(kLineEnd);
    copied = place + 1;
  }
  return wrapped.append(body.substr(copied));
}

std::string CutLongLines(std::string_view body, std::size_t longest_bytes) {
  std::string cut;
  cut.reserve(body.size());
  while (!body.empty()) {
    const std::size_t feed = body.find('\n');
    std::string_view line = body.substr(0, feed);
    body.remove_prefix(std::min(line.size() + 1, body.size()));
    for (Piece piece; !line.empty(); line.remove_prefix(piece.rest)) {
      piece = FirstPiece(line, longest_bytes);
      cut.append(line.substr(0, piece.end)).append(piece.rest < line.size() ? kLineEnd : "");
    }
    if (feed != body.npos) cut += '\n';
  }
  return cut;
}

std::string BuildCharacterPost(std::string_view header, std::string_view body,
                               std::string_view message_id) {
  body = UntilNul(body);
  const std::string charset = CharsetOfHead(UntilNul(header));
  if (const auto text = TextInCharset(body, charset)) {
    const std::string ready = ReadyUtf8(ToUtf8(*text), kMostBytesOfOthers);
    if (const auto encoded = EncodeText(FromUtf8(ready), charset)) {
      return BuildPostText(header, *encoded, message_id, LongLines::kKeep);
    }
  }
  return BuildPostText(header, ReadyUtf8(body, kMostBytes), message_id, LongLines::kKeep);
}

}  // namespace quillet
