// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/article_text.h"

#include <algorithm>
#include <array>
#include <utility>

#include "demo/article_generator.h"
#include "util/text.h"

namespace quillet::demo {
namespace {

constexpr std::size_t kLongestMessageId = 250;
constexpr std::string_view kBlanks = " \t";

std::string_view Trim(std::string_view text) {
  const std::size_t start = text.find_first_not_of(kBlanks);
  if (start == std::string_view::npos) return {};
  return text.substr(start, text.find_last_not_of(kBlanks) - start + 1);
}

bool IsContinuation(std::string_view line) {
  return line.starts_with(' ') || line.starts_with('\t');
}

// A header line has a name of printable characters, a colon and a blank.
bool IsHeader(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos || colon == 0) return false;
  return std::all_of(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(colon),
                     [](char c) { return c > ' ' && c <= '~'; });
}

bool IsHead(const std::vector<std::string>& head) {
  if (head.empty() || IsContinuation(head.front())) return false;
  return std::all_of(head.begin(), head.end(), [](const std::string& line) {
    return IsContinuation(line) || IsHeader(line);
  });
}

}  // namespace

std::vector<std::string> SplitLines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    lines.emplace_back(line);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

std::optional<std::string> HeaderValue(const std::vector<std::string>& head,
                                       std::string_view name) {
  for (std::size_t i = 0; i < head.size(); ++i) {
    const std::string& line = head[i];
    if (!StartsWithNoCase(line, name) || line.size() <= name.size() || line[name.size()] != ':') {
      continue;
    }
    std::string value(Trim(std::string_view(line).substr(name.size() + 1)));
    for (std::size_t j = i + 1; j < head.size() && IsContinuation(head[j]); ++j) {
      value += " " + std::string(Trim(head[j]));
    }
    return value;
  }
  return std::nullopt;
}

std::vector<std::string> SplitGroups(std::string_view newsgroups) {
  std::vector<std::string> groups;
  while (!newsgroups.empty()) {
    const std::size_t end = std::min(newsgroups.find(','), newsgroups.size());
    const std::string_view name = Trim(newsgroups.substr(0, end));
    if (!name.empty()) groups.emplace_back(name);
    newsgroups.remove_prefix(std::min(end + 1, newsgroups.size()));
  }
  return groups;
}

bool IsMessageId(std::string_view text) {
  if (text.size() < 5 || text.size() > kLongestMessageId) return false;
  if (text.front() != '<' || text.back() != '>') return false;
  const std::string_view inner = text.substr(1, text.size() - 2);
  const std::size_t at = inner.find('@');
  return at != std::string_view::npos && at != 0 && at + 1 != inner.size() &&
         std::all_of(inner.begin(), inner.end(),
                     [](char c) { return c > ' ' && c <= '~' && c != '<' && c != '>'; });
}

std::optional<ParsedArticle> ParseArticleLines(const std::vector<std::string>& lines,
                                               std::string& problem) {
  const auto blank = std::find(lines.begin(), lines.end(), std::string());
  const std::vector<std::string> head(lines.begin(), blank);
  const std::vector<std::string> body(blank == lines.end() ? blank : blank + 1, lines.end());
  if (!IsHead(head)) {
    problem = "malformed header";
    return std::nullopt;
  }
  for (const std::string_view name :
       std::array<std::string_view, 3>{"From", "Newsgroups", "Subject"}) {
    if (HeaderValue(head, name).value_or("").empty()) {
      problem = "missing " + std::string(name) + " header";
      return std::nullopt;
    }
  }
  ParsedArticle parsed;
  parsed.article.message_id = HeaderValue(head, "Message-ID").value_or("");
  if (!IsMessageId(parsed.article.message_id)) {
    problem = "missing or malformed Message-ID header";
    return std::nullopt;
  }
  parsed.groups = SplitGroups(*HeaderValue(head, "Newsgroups"));
  parsed.article.head = WireText(head);
  parsed.article.body = WireText(body);
  return parsed;
}

}  // namespace quillet::demo
