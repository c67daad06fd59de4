// SPDX-License-Identifier: GPL-3.0-or-later
// The short way: where different bytes are shown as different units, and folding and the ends of
// words only concern ASCII, looking through the bytes finds the same without making shown text of
// them. That holds for everything while decoding is off, else for articles in ASCII that have
// nothing to be decoded. It is what a search through 100,000 articles takes its speed from
// (bench/view_bench).
#include "mime/search_text.h"

#include <algorithm>

#include "mime/as_stored.h"
#include "mime/decoding.h"
#include "mime/folded_subject.h"
#include "mime/folding.h"
#include "mime/header_words.h"
#include "mime/shown_text.h"

namespace quillet {
namespace {

// The wanted text in the bytes of a text that is shown byte by byte.
std::optional<std::string> StoredForm(std::u16string_view wanted, const MatchOptions& options,
                                      bool decoding) {
  const std::u16string folded =
      decoding && !options.match_case ? FoldFully(wanted) : std::u16string(wanted);
  const bool stored = decoding ? IsAscii(folded) : NotStorable(folded).empty();
  return stored ? std::optional(ToStored(folded)) : std::nullopt;
}

// The texts before and behind the body.
struct Heads {
  std::string_view before, behind;
};

Heads HeadsOf(const ArticleTexts& texts) {
  const auto begin = static_cast<std::size_t>(texts.body.data() - texts.all.data());
  return {texts.all.substr(0, begin), texts.all.substr(begin + texts.body.size())};
}

// Calls `visit` for every text up to its NUL until one says true.
template <class Visit>
bool AnyText(std::string_view texts, const Visit& visit) {
  while (!texts.empty()) {
    const std::size_t end = std::min(texts.find('\0'), texts.size() - 1);
    if (visit(texts.substr(0, end))) return true;
    texts.remove_prefix(end + 1);
  }
  return false;
}

}  // namespace

SearchText::SearchText(std::u16string_view wanted, const MatchOptions& options)
    : decoding_(Decoding()), filter_(wanted, options), shown_form_(wanted, options) {
  if (const auto stored = StoredForm(wanted, options, decoding_)) {
    stored_form_.emplace(*stored, options);
  }
}

bool SearchText::IsIn(std::string_view stored) const {
  return stored_form_ && !stored_form_->Find(stored, 1).empty();
}

bool SearchText::IsInShown(std::u16string_view text) const {
  return !shown_form_.Find(text, 1).empty();
}

bool SearchText::IsInDecoded(const BodySource& source) const {
  const DecodedBody decoded = DecodeBody(source);
  return IsInShown(decoded.text) ||
         std::ranges::any_of(decoded.attachments, [this](const Attachment& attachment) {
           return IsInShown(AttachmentLine(attachment));
         });
}

bool SearchText::IsInBody(const ArticleTexts& texts) const {
  const BodySource source{texts.head, texts.body, texts.stuffed};
  if (!decoding_ || IsShownAsStored(source)) return IsIn(texts.body);
  return !filter_.RulesOut(source) && IsInDecoded(source);
}

bool SearchText::IsInHeads(const ArticleTexts& texts) const {
  const Heads heads = HeadsOf(texts);
  for (const std::string_view part : {heads.before, heads.behind}) {
    const bool found =
        HasNothingToDecode(part) ? IsIn(part) : AnyText(part, [&](std::string_view text) {
          if (HasNothingToDecode(text)) return IsIn(text);
          const bool lines = text.data() == texts.head.data();
          return IsInShown(lines ? ShownHeaderLines(text) : ShownHeader(text));
        });
    if (found) return true;
  }
  return HasContinuation(texts.head) &&
         IsInShown(ShownHeader(JoinedSubject(texts.subject, texts.head)));
}

bool SearchText::IsInAny(const ArticleTexts& texts) const {
  if (!decoding_) return IsIn(texts.all);
  return IsInHeads(texts) || IsInBody(texts);
}

}  // namespace quillet
