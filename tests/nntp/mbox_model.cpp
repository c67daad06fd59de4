// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/nntp/mbox_model.h"

#include <algorithm>
#include <numeric>
#include <optional>

namespace quillet {
namespace {

using Lines = std::vector<std::string>;

std::string Joined(Lines::const_iterator first, Lines::const_iterator last) {
  return std::accumulate(first, last, std::string());
}

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

std::optional<std::string> Value(const std::string& head, std::string_view name) {
  const auto at = std::search(head.begin(), head.end(), name.begin(), name.end(),
                              [](char a, char b) { return Lower(a) == Lower(b); });
  if (at == head.end()) return std::nullopt;
  const auto name_end = at + static_cast<std::ptrdiff_t>(name.size());
  const auto begin = name_end == head.end() ? name_end : name_end + 1;
  const auto end = std::find_if(begin, head.end(), [](char c) { return c == '\r' || c == '\n'; });
  return std::string(begin, end);
}

std::string Kept(const std::string& head) {
  std::string kept;
  bool any = false;
  for (std::size_t at = 0; at < head.size();) {
    std::size_t end = head.find('\n', at);
    if (end == std::string::npos) end = head.size();
    const std::string line = head.substr(at, end - at);
    at = end + 1;
    bool own = false;
    for (const char* name : {"Subject:", "From:", "Message-ID:", "Date:", "Reply-To:"}) {
      own = own || line.rfind(name, 0) == 0;
    }
    if (own) continue;
    if (any) kept += '\n';
    kept += line;
    any = true;
  }
  return kept;
}

std::string BeforeNul(const std::string& text) {
  return text.c_str();
}

}  // namespace

std::vector<std::string> ImportModel::Lines(std::string_view file) {
  const std::size_t first = file.find_first_of("\r\n");
  if (first != std::string_view::npos) terminator = file[first];
  const char skipped = terminator == '\n' ? '\r' : '\n';
  std::vector<std::string> lines;
  for (;;) {
    file.remove_prefix(std::min(file.find_first_not_of(skipped), file.size()));
    if (file.empty()) return lines;
    const std::size_t line_end = file.find(terminator);
    lines.emplace_back(file.substr(0, line_end));
    if (line_end == std::string_view::npos) return lines;
    lines.back() += "\r\n";
    file.remove_prefix(line_end + 1);
  }
}

void ImportModel::Import(std::string_view file) {
  const std::vector<std::string> lines = Lines(file);
  imported = 0;
  const auto separates = [](const std::string& line) { return line.rfind("From ", 0) == 0; };
  end = lines.empty() || !separates(lines[0]) ? End::kNoMbox : End::kDone;
  if (end != End::kDone) return;
  for (auto at = lines.begin();;) {
    const auto blank = std::find(at, lines.end(), "\r\n");
    if (blank == lines.end()) return;
    if (blank == at) {
      end = End::kCorrupt;
      return;
    }
    const auto next = std::find_if(blank + 1, lines.end(), separates);
    Take(Joined(at, blank), Joined(blank + 1, next));
    if (next == lines.end()) return;
    at = next + 1;
  }
}

void ImportModel::Take(const std::string& head, const std::string& body) {
  std::string id = BeforeNul(Value(head, "Message-ID:").value_or("<error-extracting-messageid>"));
  if (std::find(groups.begin(), groups.end(), id) != groups.end()) id = "<" + id + ">";
  if (articles.count(id) != 0) return;
  ++imported;
  ImportedMessage message;
  message.headers = BeforeNul(Kept(head));
  message.body = BeforeNul(body);
  message.subject = BeforeNul(Value(head, "Subject:").value_or("<no subject>"));
  message.from = BeforeNul(Value(head, "From:").value_or("<nobody>"));
  const std::string references = Value(head, "References:").value_or("");
  message.parent = BeforeNul(references.substr(references.find_last_of(' ') + 1));
  message.date = BeforeNul(Value(head, "Date:").value_or(""));
  message.reply_to = Value(head, "Reply-To:").value_or("");
  if (message.reply_to.empty()) message.reply_to = Value(head, "From:").value_or("<nobody>");
  message.reply_to = BeforeNul(message.reply_to);
  articles[id] = message;
  // The line is part of what is kept of the head, unless it is inside another one's line.
  const std::string names = BeforeNul(Value(Kept(head), "Newsgroups:").value_or("")) + ",";
  bool placed = false;
  std::string unknown;
  for (std::size_t at = 0; at < names.size();) {
    const std::size_t comma = names.find(',', at);
    const std::string name = names.substr(at, comma - at);
    at = comma + 1;
    if (name.empty() || name.size() > 2047) continue;
    chains[name].push_back(id);
    const bool listed = std::find(groups.begin(), groups.end(), name) != groups.end();
    placed = placed || listed;
    if (!listed && unknown.empty()) unknown = name;
  }
  if (!placed && !unknown.empty()) groups.push_back(unknown);
}

}  // namespace quillet
