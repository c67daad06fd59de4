// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/references.h"

#include <cstddef>

#include "util/text.h"

namespace quillet {
namespace {

constexpr std::string_view kName = "References:";

bool GoesOn(std::string_view lines, std::size_t at) {
  return at < lines.size() && (lines[at] == ' ' || lines[at] == '\t');
}

// The place behind the line feed of the line; the end of the text when it has none.
std::size_t NextLine(std::string_view lines, std::size_t at) {
  const std::size_t end = lines.find('\n', at);
  return end == std::string_view::npos ? lines.size() : end + 1;
}

// Every article of a group that is opened comes here: the first letter is looked at before all.
bool IsReferences(std::string_view lines, std::size_t at) {
  return ToLowerAscii(lines[at]) == 'r' && StartsWithNoCase(lines.substr(at), kName);
}

bool IsBlankHere(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Where the last id of a text begins that does not end in a blank. Plain loops: they are short, and
// there are many.
std::size_t BeginOfId(std::string_view text) {
  if (text.empty()) return 0;
  std::size_t begin = text.size() - 1;
  if (text[begin] == '>') {
    std::size_t bracket = begin;
    while (bracket > 0 && text[bracket - 1] != '<' && text[bracket - 1] != '>') --bracket;
    if (bracket > 0 && text[bracket - 1] == '<') return bracket - 1;
  }
  while (begin > 0 && !IsBlankHere(text[begin - 1]) && text[begin - 1] != '>') --begin;
  return begin;
}

}  // namespace

std::string_view ReferencesField(std::string_view kept_headers) {
  std::size_t at = 0;
  while (at < kept_headers.size() && !IsReferences(kept_headers, at)) {
    at = NextLine(kept_headers, at);
  }
  if (at >= kept_headers.size()) return {};
  std::size_t end = NextLine(kept_headers, at);
  while (GoesOn(kept_headers, end)) end = NextLine(kept_headers, end);
  return kept_headers.substr(at + kName.size(), end - at - kName.size());
}

std::string_view ReferencedIds::Next() {
  std::size_t end = rest_.size();
  while (end > 0 && IsBlankHere(rest_[end - 1])) --end;
  const std::size_t begin = BeginOfId(rest_.substr(0, end));
  const std::string_view id = rest_.substr(begin, end - begin);
  rest_ = rest_.substr(0, begin);
  return id;
}

}  // namespace quillet
