// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/stored_group.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>

#include "bench/measure.h"
#include "mime/encoded_words.h"
#include "store/bulk_store.h"
#include "store/chains.h"
#include "store/records.h"
#include "util/base64.h"
#include "util/text.h"

namespace quillet {
namespace {

// Words as they come in English, from 0.4 to 2.8 kB.
std::string Body(std::size_t number) {
  static const char* const kWords[] = {
      "the",  "of",     "and",   "to",        "in",      "is",     "you",   "that",  "it",
      "was",  "for",    "on",    "are",       "as",      "with",   "they",  "at",    "this",
      "have", "from",   "or",    "one",       "had",     "by",     "word",  "but",   "not",
      "what", "all",    "were",  "something", "when",    "your",   "can",   "said",  "there",
      "use",  "an",     "each",  "which",     "she",     "how",    "their", "if",    "will",
      "some", "people", "about", "newsgroup", "readers", "server", "sense", "quite", "else,"};
  std::string body;
  const std::size_t length = 400 + number * 7919U % 2400;
  std::size_t column = 0;
  for (std::uint64_t dice = number + 1; body.size() < length;) {
    dice = dice * 6364136223846793005U + 1442695040888963407U;
    const std::string_view word = kWords[(dice >> 33) % std::size(kWords)];
    body.append(word).append(column > 60 ? "\r\n" : " ");
    column = column > 60 ? 0 : column + word.size() + 1;
  }
  return body;
}

// Three in ten texts, the same ones each time.
bool IsOfAnotherLanguage(std::string_view text) {
  std::uint32_t sum = 0;
  for (const char c : text) sum = sum * 31 + static_cast<unsigned char>(c);
  return sum % 10 < 3;
}

std::u16string WithAccents(std::u16string text) {
  std::ranges::replace(text, u'o', u'\u00F6');
  std::ranges::replace(text, u'e', u'\u00E9');
  return text;
}

// In the length of the text as it is sent: accents make the text longer.
std::string QuotedPrintable(std::string_view text) {
  std::string sent;
  std::size_t column = 0;
  for (const char c : text.substr(0, text.size() * 2 / 3)) {
    const std::string piece = c == 'e' ? "=C3=A9" : std::string(1, c);
    if (column + piece.size() > 75) {
      sent += "=\r\n";
      column = 0;
    }
    sent += piece;
    column = c == '\n' ? 0 : column + piece.size();
  }
  return sent;
}

std::string Base64Lines(std::string_view text) {
  const std::string letters =
      Base64Encode(ToUtf8(WithAccents(FromUtf8(text.substr(0, text.size() * 2 / 3)))));
  std::string sent;
  for (std::size_t at = 0; at < letters.size(); at += 76) {
    sent.append(letters.substr(at, 76)).append("\r\n");
  }
  return sent;
}

void WriteOtherwise(AsciiArticle& article, std::size_t number) {
  constexpr const char* kTransfers[] = {"quoted-printable", "base64", "8bit"};
  if (number % 10 >= std::size(kTransfers)) return;
  *article.headers += std::string(
                          "\r\nMIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
                          "Content-Transfer-Encoding: ") +
                      kTransfers[number % 10];
  if (number % 10 == 0) article.body = QuotedPrintable(*article.body);
  if (number % 10 == 1) article.body = Base64Lines(*article.body);
  if (number % 10 == 2) {
    article.body =
        ToUtf8(WithAccents(FromUtf8(article.body->substr(0, article.body->size() * 4 / 5))));
  }
}

}  // namespace

std::vector<testing::TestArticle> InOtherLanguages(std::vector<testing::TestArticle> articles) {
  for (testing::TestArticle& article : articles) {
    const std::string mark = article.subject.starts_with("Re: ") ? "Re: " : "";
    const std::string subject = article.subject.substr(mark.size());
    if (IsOfAnotherLanguage(subject)) {
      article.subject = mark + EncodeHeaderText(WithAccents(FromUtf8(subject)));
    }
    if (!IsOfAnotherLanguage(article.from)) continue;
    const std::size_t address = article.from.find('<');
    article.from = EncodeHeaderText(WithAccents(FromUtf8(article.from.substr(0, address - 1)))) +
                   " " + article.from.substr(address);
  }
  return articles;
}

void StoreGroup(std::u16string_view group, const std::vector<testing::TestArticle>& newest_first,
                Bodies bodies) {
  const BulkStore bulk;
  for (auto article = newest_first.rbegin(); article != newest_first.rend(); ++article) {
    AsciiArticle stored;
    stored.messageId = article->id;
    stored.headers = std::string(300, 'h');
    if (!article->references.empty()) {
      *stored.headers += "\r\nReferences:" + article->references + "\r\nLines: 20";
    }
    stored.body = Body(static_cast<std::size_t>(article->number));
    stored.read = article->read ? 1 : 0;
    stored.parentId = article->parent;
    stored.subject = article->subject;
    stored.from = article->from;
    stored.replyTo = article->from;
    stored.articleNumber = static_cast<std::uint32_t>(article->number);
    stored.source = article->source;
    stored.date = "Sat, 21 Nov 2026 12:00:00 +0000";
    if (bodies == Bodies::kMixed) WriteOtherwise(stored, static_cast<std::size_t>(article->number));
    Require(StoreArticle(stored) && AddArticleToGroup(group, article->id), "storing");
  }
}

}  // namespace quillet
