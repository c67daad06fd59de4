#include "mime/compared_header.h"

#include "mime/decoding.h"
#include "mime/folding.h"
#include "mime/shown_matcher.h"
#include "mime/shown_text.h"
#include "util/text.h"

namespace quillet {
bool IsPlainHeader(std::string_view stored) {
  return IsAscii(stored) && stored.find("=?") == std::string_view::npos;
}

bool SameHeaderText(std::string_view a, std::string_view b) {
  if (a == b) return true;
  if (!Decoding() || (IsPlainHeader(a) && IsPlainHeader(b))) return false;
  return ShownHeader(a) == ShownHeader(b);
}

ComparedHeader::ComparedHeader(std::string_view stored)
    : stored_(stored), plain_(!Decoding() || IsPlainHeader(stored)) {}

// An entry that is more than printable ASCII may have been meant for the bytes, before there was
// any decoding: it goes on matching them, too.
bool ComparedHeader::Contains(std::string_view wanted) {
  if (wanted.empty()) return true;
  const bool plain_wanted = IsPlainHeader(wanted);
  const bool as_bytes = plain_ || !plain_wanted;
  if (as_bytes && FindNoCase(stored_, wanted) != std::string_view::npos) return true;
  if (!Decoding() || (plain_ && plain_wanted)) return false;
  if (!shown_) shown_ = ShownHeader(stored_);
  return !ShownMatcher(ShownHeader(wanted), {}).Find(*shown_, 1).empty();
}

}  // namespace quillet
