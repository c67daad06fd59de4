// Whatever somebody types: what passes the checks has headers that a server can read, and its body
// whole.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "post/article_text.h"
#include "post/check.h"
#include "post/compose.h"
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
  const auto mail = quillet::FindMailParts(text);
  if (const auto* fault = std::get_if<quillet::ArticleFault>(&mail)) {
    Require(fault->at <= text.size(), "a place behind the text");
  }
  return 0;
}
