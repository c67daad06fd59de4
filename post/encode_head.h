// SPDX-License-Identifier: GPL-3.0-or-later
// The head of an article as lines of plain ASCII. Pure; any thread.
#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "post/check.h"

namespace quillet {

// Lines that are not plain ASCII with encoded words where their fields may have them, the others as
// they stand; empty lines go, and each ends with CR LF. A fault where a field may not: names of
// groups, Message-IDs, dates, addresses themselves, fields about the body. Its place is where that
// line begins.
std::variant<std::string, ArticleFault> EncodeHead(std::u16string_view head);

}  // namespace quillet
