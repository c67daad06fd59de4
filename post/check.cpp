// SPDX-License-Identifier: GPL-3.0-or-later
// The scan goes from line to line and looks at each up to its first colon; what it finds first is
// told. Only then are the values looked at that a server insists on.
#include "post/check.h"

#include <algorithm>
#include <optional>

#include "post/article_text.h"
#include "post/compose.h"
#include "post/encode_article.h"
#include "util/ascii.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::u16string_view kNoHeaders = u"There are no headers.";
constexpr std::u16string_view kBlankBeforeColon =
    u"One or more headers contain spaces before a colon.";
constexpr std::u16string_view kBeginsWithColon =
    u"One or more header lines begin with colons, which is not allowed.";
constexpr std::u16string_view kNoBlankAfterColon =
    u"One or more header lines do not have a space after their first colon.";
constexpr std::u16string_view kNoColon = u"One or more header lines do not contain colons.";
constexpr std::u16string_view kNoSeparator = u"The '--- Begin body here ---' line is missing.";
constexpr std::u16string_view kNoNewsgroups = u"The 'Newsgroups:' header is missing or invalid.";
constexpr std::u16string_view kBlankInNewsgroups =
    u"The newsgroups line is invalid. Newsgroups must be separated by commas; the only space that "
    u"is allowed should follow the colon.";
constexpr std::u16string_view kNoBody = u"The article has no body.";
constexpr std::u16string_view kNoSubject = u"The article has no subject.";
constexpr std::u16string_view kSubjectNotFound = u"The 'Subject:' header could not be found.";

constexpr std::size_t kNone = std::u16string_view::npos;

// What is wrong with a header line, without its line end; `ended` when it has one.
std::u16string_view FaultOfLine(std::u16string_view line, bool ended) {
  const std::size_t colon = line.find(u':');
  const std::size_t blank = line.find(u' ');
  if (blank < colon && blank != kNone) return kBlankBeforeColon;
  if (colon == 0) return kBeginsWithColon;
  if (colon == kNone) return ended && !line.empty() ? kNoColon : std::u16string_view();
  // Nothing has come behind the colon yet when the text ends there.
  if (colon + 1 == line.size() && !ended) return {};
  return line.substr(colon + 1, 1) == u" " ? std::u16string_view() : kNoBlankAfterColon;
}

ArticleFault Fault(std::u16string_view message, std::size_t at) {
  return {std::u16string(message), at};
}

struct Scan {
  std::size_t separator = kNone;
  std::optional<ArticleFault> fault;
};

Scan ScanHeaders(std::u16string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::u16string_view rest = text.substr(at);
    // Before anything else is looked at: the separator has blanks of its own.
    if (StartsWith(rest, kBodySeparator)) {
      if (at == 0) return {kNone, Fault(kNoHeaders, 0)};
      return {at, std::nullopt};
    }
    const std::size_t length = std::min(rest.find(u'\r'), rest.size());
    const bool ended = length < rest.size();
    const std::u16string_view message = FaultOfLine(rest.substr(0, length), ended);
    if (!message.empty()) return {kNone, Fault(message, at)};
    at += length + (ended ? 1 : 0);
    if (at < text.size() && text[at] == u'\n') ++at;
  }
  return {kNone, Fault(kNoSeparator, text.size())};
}

// Runs of line ends become one, so that no empty line ends the headers early on the wire.
std::string WithoutEmptyLines(std::string_view headers) {
  constexpr std::string_view kLineEnd = "\r\n";
  std::string lines;
  lines.reserve(headers.size());
  while (!headers.empty()) {
    const std::size_t end = headers.find(kLineEnd);
    const std::size_t taken = std::min(end, headers.size());
    if (taken > 0)
      lines.append(headers.substr(0, taken)).append(end == headers.npos ? "" : kLineEnd);
    headers.remove_prefix(std::min(taken + kLineEnd.size(), headers.size()));
  }
  return lines;
}

// Of the edited text: where a header line begins, or its first one.
std::size_t PlaceOf(std::u16string_view name, std::u16string_view headers) {
  const std::size_t at = FindHeaderLine(name, headers).at;
  return at == kNone ? 0 : at;
}

// What a server insists on.
std::optional<ArticleFault> FaultOfValues(std::u16string_view headers, std::u16string_view body,
                                          std::size_t end) {
  const std::u16string_view groups = FindHeaderLine(u"Newsgroups:", headers).value;
  if (groups.empty()) return Fault(kNoNewsgroups, PlaceOf(u"Newsgroups:", headers));
  if (groups.find(u' ') != kNone)
    return Fault(kBlankInNewsgroups, PlaceOf(u"Newsgroups:", headers));
  if (body.empty()) return Fault(kNoBody, end);
  if (!FindHeaderLine(u"Subject:", headers).value.empty()) return std::nullopt;
  return Fault(kNoSubject, PlaceOf(u"Subject:", headers));
}

}  // namespace

std::variant<CheckedArticle, ArticleFault> CheckArticle(std::u16string_view text,
                                                        std::u16string_view references,
                                                        TextForm form) {
  const Scan scan = ScanHeaders(text);
  if (scan.fault) return *scan.fault;
  const std::u16string_view headers = text.substr(0, scan.separator);
  const std::u16string_view body = text.substr(scan.separator + kBodySeparator.size());
  if (auto fault = FaultOfValues(headers, body, text.size())) return *std::move(fault);
  const std::u16string ids =
      form == TextForm::kUtf8 ? AsciiReferences(references) : std::u16string(references);
  if (form == TextForm::kUtf8 && !IsAscii(text)) return EncodeArticle(headers, ids, body);
  CheckedArticle article;
  article.headers = WithoutEmptyLines(ToArticleText(headers, form));
  article.subject = FindHeaderLine("Subject:", article.headers).value;
  if (!ids.empty()) {
    article.headers.append("References: ").append(ToArticleText(ids, form)).append("\r\n");
  }
  article.body = ToArticleText(body, form);
  return article;
}

std::variant<MailParts, ArticleFault> FindMailParts(std::u16string_view text) {
  std::size_t separator = text.find(kBodySeparator);
  while (separator != kNone && separator > 0 && text[separator - 1] != u'\n') {
    separator = text.find(kBodySeparator, separator + 1);
  }
  const std::u16string_view headers = text.substr(0, separator);
  constexpr std::u16string_view kSubject = u"Subject:";
  // Meant: with regard to case and wherever it stands, unlike in an article.
  const std::size_t subject = headers.find(kSubject);
  if (subject == kNone) return Fault(kSubjectNotFound, 0);
  if (separator == kNone) return Fault(kNoSeparator, text.size());
  std::u16string_view value = headers.substr(subject + kSubject.size());
  value.remove_prefix(std::min<std::size_t>(value.size(), 1));
  return MailParts{value.substr(0, value.find_first_of(u"\r\n")),
                   text.substr(separator + kBodySeparator.size())};
}

}  // namespace quillet
