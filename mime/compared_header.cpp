// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/compared_header.h"

#include "mime/decoding.h"
#include "mime/header_words.h"
#include "mime/shown_matcher.h"
#include "mime/shown_text.h"
#include "util/text.h"

namespace quillet {

bool SameHeaderText(std::string_view a, std::string_view b) {
  if (a == b) return true;
  if (!Decoding() || (HasNothingToDecode(a) && HasNothingToDecode(b))) return false;
  return ShownHeader(a) == ShownHeader(b);
}

ComparedHeader::ComparedHeader(std::string_view stored)
    : stored_(stored), plain_(!Decoding() || HasNothingToDecode(stored)) {}

// An entry that is more than printable ASCII may have been meant for the bytes, before there was
// any decoding: it goes on matching them, too.
bool ComparedHeader::Contains(std::string_view wanted) {
  if (wanted.empty()) return true;
  const bool plain_wanted = HasNothingToDecode(wanted);
  const bool as_bytes = plain_ || !plain_wanted;
  if (as_bytes && FindNoCase(stored_, wanted) != std::string_view::npos) return true;
  if (!Decoding() || (plain_ && plain_wanted)) return false;
  if (!shown_) shown_ = ShownHeader(stored_);
  return !ShownMatcher(ShownHeader(wanted), {}).Find(*shown_, 1).empty();
}

}  // namespace quillet
