// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/headers.h"

#include <algorithm>
#include <array>

#include "nntp/connection.h"
#include "store/article_source.h"
#include "store/counts.h"
#include "util/text.h"

namespace quillet {
namespace {

// Kept in fields of their own and shown from there.
constexpr std::array<std::string_view, 5> kOwnFields = {
    "Subject:", "From:", "Message-ID:", "Date:", "Reply-To:"};

// One byte after the name, whatever that byte is, to the first CR or LF.
template <class Char>
std::basic_string_view<Char> ValueAfter(std::basic_string_view<Char> text, std::size_t name_end) {
  constexpr Char kLineEnds[] = {'\r', '\n', 0};
  text.remove_prefix(std::min(name_end + 1, text.size()));
  return text.substr(0, text.find_first_of(kLineEnds));
}

std::string ParentIdIn(std::string_view head) {
  const std::optional<std::string> references = GetHeaderValue("References:", head);
  if (!references) return "";
  const std::size_t blank = references->rfind(' ');
  return blank == std::string::npos ? *references : references->substr(blank + 1);
}

bool HasOwnField(std::string_view line) {
  return std::any_of(kOwnFields.begin(), kOwnFields.end(),
                     [&](std::string_view name) { return StartsWith(line, name); });
}

// The lines without a field of their own, joined by line feeds; each keeps its own CR.
std::string LinesWithoutOwnField(std::string_view head) {
  std::string kept;
  kept.reserve(head.size() + 1);
  while (!head.empty()) {
    const std::size_t end = std::min(head.find('\n'), head.size());
    const std::string_view line = head.substr(0, end);
    head.remove_prefix(std::min(end + 1, head.size()));
    if (!HasOwnField(line)) kept.append(line).push_back('\n');
  }
  if (!kept.empty()) kept.pop_back();
  return kept;
}

}  // namespace

void ExtractHeaders(AsciiArticle& article, bool keep_headers) {
  const std::string head = std::move(article.headers).value_or("");
  ExtractFields(article, head);
  article.headers = KeptHeaders(head, keep_headers);
}

std::string KeptHeaders(std::string_view head, bool keep_headers) {
  return keep_headers ? LinesWithoutOwnField(head) : "";
}

void ExtractFields(AsciiArticle& article, std::string_view head) {
  article.messageId =
      StoredMessageId(GetHeaderValue("Message-ID:", head).value_or(std::string(kNoMessageId)));
  article.subject = GetHeaderValue("Subject:", head).value_or("<no subject>");
  article.from = GetHeaderValue("From:", head).value_or("<nobody>");
  article.parentId = ParentIdIn(head);
  article.date = GetHeaderValue("Date:", head);
  article.replyTo = GetHeaderValue("Reply-To:", head);
  if (!article.replyTo || article.replyTo->empty()) article.replyTo = article.from;
  article.source =
      gConnection.server_name ? Narrow(*gConnection.server_name) : std::string(kImportedSource);
  article.reserved1 = 1;
  article.reserved2 = 0;
}

std::optional<std::string> GetHeaderValue(std::string_view name, std::string_view text) {
  const std::size_t at = FindNoCase(text, name);
  if (at == std::string_view::npos) return std::nullopt;
  return std::string(ValueAfter(text, at + name.size()));
}

std::optional<std::u16string> GetHeaderValueWide(std::string_view name, std::string_view text) {
  const std::optional<std::string> value = GetHeaderValue(name, text);
  if (!value) return std::nullopt;
  return Widen(*value);
}

std::optional<std::u16string> GetHeaderValueIn(std::u16string_view name, std::u16string_view text) {
  const std::size_t at = text.find(name);
  if (at == std::u16string_view::npos) return std::nullopt;
  return std::u16string(ValueAfter(text, at + name.size()));
}

}  // namespace quillet
