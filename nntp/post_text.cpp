// SPDX-License-Identifier: GPL-3.0-or-later
// Most lines of most texts need nothing: what lies between two changes is found by searches for
// line ends and copied as one piece.
#include "nntp/post_text.h"

#include <algorithm>
#include <cstring>

#include "util/first_place.h"
#include "util/format.h"
#include "util/text.h"
#include "util/version.h"

namespace quillet {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

// As rfind, which goes byte by byte all the way: what is looked for is mostly near the end.
std::size_t LastOf(std::string_view text, char c) {
  constexpr std::size_t kNear = 12;
  std::size_t end = text.size();
  const std::size_t near = end - std::min(end, kNear);
  for (; end > near; --end) {
    if (text[end - 1] == c) return end - 1;
  }
  const void* const found = end == 0 ? nullptr : memrchr(text.data(), c, end);
  if (found == nullptr) return std::string_view::npos;
  return static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

// --- the columns of the body; a column counts its own character, so the first is 1 ---

constexpr std::size_t kFirstBreak = 73;
constexpr std::size_t kLastBreak = 79;
constexpr std::size_t kFull = 80;
constexpr std::size_t kNearestBlank = 8;  // characters before the one in column 80

// Where the line that goes on at `from` ends: a CR, a LF or the end of the text.
std::size_t LineEndFrom(std::string_view text, std::size_t from) {
  const auto is = [text](char end) {
    return [text, end](std::size_t at) { return static_cast<unsigned char>(text[at] == end); };
  };
  return FirstPlace(from, text.size(), is('\r'), is('\n'));
}

bool IsBreak(std::string_view text, std::size_t at) {
  return text[at] == ' ' && at + 1 < text.size() && text[at + 1] != ' ' && text[at + 1] != '\r';
}

// A line under way: the characters from `start` on stand in columns 1 and up.
struct Columns {
  std::size_t start = 0;
  std::size_t next = 0;  // the first one that was not looked at
};

// The next break before `end`, the end of the line; npos: none.
std::size_t NextBreak(std::string_view text, Columns& line, std::size_t end) {
  const std::size_t last = std::min(end, line.start + kLastBreak);
  for (std::size_t at = std::max(line.next, line.start + kFirstBreak - 1); at < last; ++at) {
    if (!IsBreak(text, at)) continue;
    line = {at + 1, at + 1};
    return at;
  }
  if (end - line.start < kFull) return std::string_view::npos;
  const std::size_t nearest = kFull - 1 - kNearestBlank;
  const std::size_t blank = LastOf(text.substr(line.start, nearest + 1), ' ');
  if (blank == std::string_view::npos) return blank;
  const std::size_t at = line.start + blank;
  line = {at + 1, line.start + kFull};
  return at;
}

// --- lines as they are sent ---

constexpr std::size_t kLongestPiece = 500;
constexpr std::size_t kHardSplit = kLongestPiece - 1;

// The last two are of LongLines::kKeep.
enum class Part { kHeader, kBody, kFoldedHeader, kWholeBody };

// Of a header line without a blank, its CR and a TAB in front of it counted.
constexpr std::size_t kLongestLine = 998;

// The last blank that a piece may end before, not at index 0; npos: none.
std::size_t SplitPlace(std::string_view piece) {
  const std::size_t blank = LastOf(piece.substr(0, kLongestPiece), ' ');
  return blank == 0 ? std::string_view::npos : blank;
}

// A continuation that would be the end of the article.
bool IsLoneDot(std::string_view rest) {
  return rest == "." || rest == ".\r";
}

// `line` without its LF.
void AppendLine(std::string& text, std::string_view line, Part part) {
  if (line.front() == '.') text += '.';
  bool folded = false;  // the rest begins with a TAB, which counts, instead of its blank
  while (part != Part::kWholeBody && line.size() > kLongestPiece) {
    const std::size_t blank = SplitPlace(line);
    const bool found = blank != std::string_view::npos;
    const bool makes_blank = !found && part == Part::kFoldedHeader;
    if (makes_blank && line.size() < kLongestLine) break;
    const std::string_view piece = line.substr(0, found ? blank : kHardSplit);
    text.append(folded ? "\t" : "").append(piece.substr(folded ? 1 : 0)).append(kLineEnd);
    line.remove_prefix(piece.size());
    folded = found && part != Part::kBody;
    if (makes_blank) text += '\t';
    if (found && part == Part::kBody) line.remove_prefix(1);
    // Meant: any other rest that begins with a dot gets none before it. Only whole lines are
    // stuffed.
    const bool more = line.size() > kLongestPiece;
    if (!folded && !makes_blank && IsLoneDot(more ? line.substr(0, SplitPlace(line)) : line))
      text += '.';
  }
  text.append(folded ? "\t" : "").append(line.substr(folded ? 1 : 0));
  text.append(line.back() == '\r' ? "\n" : kLineEnd);
}

// Meant: line feeds that follow each other give no empty lines; an empty line has its CR.
void AppendLines(std::string& text, std::string_view lines, Part part) {
  const char* const begin = lines.data();
  const char* const end = begin + lines.size();
  const char* copied = begin;
  for (const char* start = begin; start < end;) {
    const auto* feed =
        static_cast<const char*>(std::memchr(start, '\n', static_cast<std::size_t>(end - start)));
    if (feed != nullptr && feed > start && feed[-1] == '\r' && *start != '.' &&
        feed - start <= static_cast<std::ptrdiff_t>(kLongestPiece)) {
      start = feed + 1;
      continue;
    }
    text.append(copied, start);
    const char* const line_end = feed != nullptr ? feed : end;
    if (line_end > start) AppendLine(text, {start, line_end}, part);
    copied = start = feed != nullptr ? feed + 1 : end;
  }
  text.append(copied, end);
}

}  // namespace

std::string WrapPostBody(std::string body) {
  body.resize(UntilNul(body).size());
  const std::string_view text = body;
  std::string wrapped;
  std::size_t copied = 0;
  for (std::size_t start = 0; start < text.size();) {
    // The quick way past lines that are too short for all of this: where a line ends so near,
    // nothing before its end stands in a column that counts.
    const std::size_t feed = LastOf(text.substr(start, kFirstBreak + 1), '\n');
    if (feed < kFirstBreak || (feed == kFirstBreak && text[start + feed - 1] == '\r')) {
      start += feed + 1;
      continue;
    }
    const std::size_t end = LineEndFrom(text, start);
    Columns line{start, start};
    for (std::size_t at = 0; (at = NextBreak(text, line, end)) != std::string_view::npos;) {
      if (copied == 0) wrapped.reserve(text.size() + text.size() / kFirstBreak + 1);
      wrapped.append(text, copied, at - copied).append(kLineEnd);
      copied = at + 1;
    }
    start = end + 1;
  }
  if (copied == 0) return body;
  return wrapped.append(text, copied);
}

std::string BuildPostText(std::string_view header, std::string_view body,
                          std::string_view message_id, LongLines lines) {
  const bool keep = lines == LongLines::kKeep;
  header = UntilNul(header);
  body = UntilNul(body);
  constexpr std::size_t kOwnLines = 128;
  std::string text;
  text.reserve(header.size() + body.size() + body.size() / kLongestPiece + message_id.size() +
               kOwnLines);
  AppendLines(text, header, keep ? Part::kFoldedHeader : Part::kHeader);
  if (!message_id.empty()) text.append(message_id).append(kLineEnd);
  text.append("X-Newsreader: Quillet CE ").append(kVersionText).append("\r\n\r\n");
  AppendLines(text, body, keep ? Part::kWholeBody : Part::kBody);
  return text.append("\r\n.\r\n");
}

}  // namespace quillet
