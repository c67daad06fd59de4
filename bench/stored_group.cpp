#include "bench/stored_group.h"

#include <cstdint>
#include <iterator>
#include <string>

#include "bench/measure.h"
#include "store/bulk_store.h"
#include "store/chains.h"
#include "store/records.h"

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

}  // namespace

void StoreGroup(std::u16string_view group, const std::vector<testing::TestArticle>& newest_first) {
  const BulkStore bulk;
  for (auto article = newest_first.rbegin(); article != newest_first.rend(); ++article) {
    AsciiArticle stored;
    stored.messageId = article->id;
    stored.headers = std::string(300, 'h');
    stored.body = Body(static_cast<std::size_t>(article->number));
    stored.read = article->read ? 1 : 0;
    stored.parentId = article->parent;
    stored.subject = article->subject;
    stored.from = article->from;
    stored.replyTo = article->from;
    stored.articleNumber = static_cast<std::uint32_t>(article->number);
    stored.source = article->source;
    stored.date = "Sat, 21 Nov 2026 12:00:00 +0000";
    Require(StoreArticle(stored) && AddArticleToGroup(group, article->id), "storing");
  }
}

}  // namespace quillet
