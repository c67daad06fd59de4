// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/references.h"

#include <algorithm>
#include <cstddef>

#include "util/text.h"

namespace quillet {
namespace {

constexpr std::string_view kName = "References:";
constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kWordEnds = " \t\r\n>";

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
  rest_ = rest_.substr(0, rest_.find_last_not_of(kBlanks) + 1);
  if (rest_.empty()) return {};
  const std::string_view before = rest_.substr(0, rest_.size() - 1);
  std::size_t begin = std::string_view::npos;
  if (rest_.back() == '>') {
    begin = before.find_last_of("<>");
    if (begin != std::string_view::npos && before[begin] == '>') begin = std::string_view::npos;
  }
  if (begin == std::string_view::npos) begin = before.find_last_of(kWordEnds) + 1;
  const std::string_view id = rest_.substr(begin);
  rest_ = rest_.substr(0, begin);
  return id;
}

}  // namespace quillet
