// SPDX-License-Identifier: GPL-3.0-or-later
// Whatever somebody types: what passes the checks has headers that a server can read, and its body
// whole. In the form of every language: plain ASCII is the same, else the head is ASCII, and the
// body comes back as it was written.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "post/article_text.h"
#include "post/check.h"
#include "post/compose.h"
#include "post/encode_article.h"
#include "post/quote.h"
#include "util/ascii.h"
#include "util/text.h"

namespace {

void Require(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "fuzz_article_check: %s\n", what);
  std::abort();
}

// Lines end as in a text box.
std::u16string TypedText(std::u16string_view text) {
  std::u16string typed;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool ends = text[i] == u'\r' || text[i] == u'\n';
    if (ends && text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') ++i;
    typed += ends ? u"\r\n" : std::u16string(1, text[i]);
  }
  return typed;
}

void CheckStored(const quillet::CheckedArticle& article, const std::u16string& text) {
  const std::string& headers = article.headers;
  Require(!headers.starts_with("\r\n") && headers.find("\r\n\r\n") == headers.npos,
          "an empty line ends the headers");
  Require(headers.ends_with("\r\n"), "the last header line has no end");
  const auto groups = quillet::FindHeaderLine("Newsgroups:", headers).value;
  Require(!groups.empty() && groups.find(' ') == groups.npos, "no newsgroups");
  Require(!article.subject.empty() && !article.body.empty(), "no subject or body");
  Require(quillet::ToArticleText(text).ends_with(article.body), "the body has changed");
}

// Lone surrogates as they come back.
std::u16string Whole(std::u16string_view text) {
  return quillet::FromUtf8(quillet::ToUtf8(text));
}

void CheckUtf8(const quillet::CheckedArticle& article, const std::u16string& text) {
  const std::string& headers = article.headers;
  Require(quillet::IsAscii(headers), "headers are not plain ASCII");
  Require(headers.find("\r\n\r\n") == headers.npos && headers.ends_with("\r\n"),
          "an empty line ends the headers");
  for (const std::string_view name :
       {"MIME-Version:", "Content-Type:", "Content-Transfer-Encoding:"}) {
    Require(quillet::FindHeaderLine(name, headers).at != headers.npos, "a MIME field is missing");
  }
  if (!article.body.starts_with("\x1B")) {
    const std::u16string body = quillet::WrittenBody(headers, article.body);
    Require(Whole(text).ends_with(body), "the body does not come back");
  }
  Require(!quillet::FindHeaderLine("Subject:", headers).value.empty(), "no subject");
}

// All that is neither a mark nor blank.
std::string Letters(std::u16string_view text) {
  std::string letters = quillet::ToUtf8(text);
  std::erase_if(letters, [](char c) { return c == ' ' || c == '\r' || c == '\n' || c == '>'; });
  return letters;
}

void CheckQuoted(const std::u16string& text) {
  const std::u16string quoted = quillet::QuoteParagraphs(text, u"> ");
  Require(Letters(quoted) == Letters(text), "quoting has lost something");
  Require(text.empty() || quoted.starts_with(u'>'), "a line has no mark");
  for (std::size_t at = 0; (at = quoted.find(u'\n', at)) != quoted.npos && ++at < quoted.size();) {
    Require(quoted[at] == u'>', "a line has no mark");
  }
}

void CheckEveryLanguage(const std::u16string& text) {
  const auto old = quillet::CheckArticle(text, u"<a@b>", quillet::TextForm::kQuotedBytes);
  const auto now = quillet::CheckArticle(text, u"<a@b>", quillet::TextForm::kUtf8);
  const auto* stored = std::get_if<quillet::CheckedArticle>(&now);
  if (quillet::IsAscii(text)) {
    const auto* before = std::get_if<quillet::CheckedArticle>(&old);
    Require((stored == nullptr) == (before == nullptr), "plain ASCII is checked in another way");
    Require(stored == nullptr || *stored == *before, "plain ASCII is stored in another way");
  } else if (stored != nullptr) {
    CheckUtf8(*stored, text);
  } else {
    Require(std::get<quillet::ArticleFault>(now).at <= text.size(), "a place behind the text");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::u16string text =
      TypedText(quillet::FromUtf8({reinterpret_cast<const char*>(data), size}));
  const auto result = quillet::CheckArticle(text, u"", quillet::TextForm::kQuotedBytes);
  if (const auto* article = std::get_if<quillet::CheckedArticle>(&result)) {
    CheckStored(*article, text);
  } else {
    Require(std::get<quillet::ArticleFault>(result).at <= text.size(), "a place behind the text");
  }
  CheckEveryLanguage(text);
  CheckQuoted(text);
  const auto mail = quillet::FindMailParts(text);
  if (const auto* fault = std::get_if<quillet::ArticleFault>(&mail)) {
    Require(fault->at <= text.size(), "a place behind the text");
  }
  return 0;
}
