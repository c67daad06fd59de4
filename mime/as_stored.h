// SPDX-License-Identifier: GPL-3.0-or-later
// Which articles are simple enough to be seen through without decoding them. Any thread; pure.
#pragma once

#include <optional>
#include <string_view>

#include "mime/body.h"
#include "mime/part_head.h"

namespace quillet {

// True: DecodeBody's text is the stored one but for the line ends, all of it is ASCII, and it has
// no attachments. False tells nothing.
bool IsShownAsStored(const BodySource& source);

// What the head says of a body that is one plain text in an ordinary set.
struct SimpleHead {
  Transfer transfer = Transfer::kNone;
  bool labelled = false;  // it says anything at all
  // The set is a western one, UTF-8 or not named.
  bool western = true;
};
// Nothing where it says more, or in another way than most do.
std::optional<SimpleHead> ReadSimpleHead(std::string_view head);

// Whether a line of the text begins as what may be undone or folded away: with "begin", "=ybegin",
// and with two dots while `stuffed`.
bool HasSpecialLine(std::string_view body, bool stuffed);

}  // namespace quillet
