// SPDX-License-Identifier: GPL-3.0-or-later
// Header extraction over any head: the first byte says whether headers are kept, the rest is the
// head.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "nntp/connection.h"
#include "nntp/headers.h"
#include "util/text.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

bool HasLineEnd(std::string_view text) {
  return text.find_first_of("\r\n") != std::string_view::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const bool keep = (data[0] & 1) != 0;
  const std::string head(reinterpret_cast<const char*>(data) + 1, size - 1);
  quillet::AsciiArticle article;
  article.headers = head;
  quillet::ExtractHeaders(article, keep);
  Require(article.messageId && article.subject && article.from && article.parentId);
  Require(article.replyTo && !article.from->empty() ? !article.replyTo->empty() : true);
  Require(!HasLineEnd(*article.messageId) && !HasLineEnd(*article.subject));
  Require(!HasLineEnd(*article.from) && !HasLineEnd(*article.parentId));
  Require(article.parentId->find(' ') == std::string::npos);
  Require(article.headers && article.headers->size() <= head.size());
  Require(keep || article.headers->empty());
  Require(article.source == "<import>");

  // The wide twins agree with the narrow one.
  const auto narrow = quillet::GetHeaderValue("Subject:", head);
  const auto wide = quillet::GetHeaderValueWide("Subject:", head);
  Require(narrow.has_value() == wide.has_value());
  Require(!narrow || quillet::Widen(*narrow) == *wide);
  if (quillet::GetHeaderValueIn(u"Subject:", quillet::Widen(head))) Require(narrow.has_value());
  return 0;
}
