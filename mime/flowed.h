// SPDX-License-Identifier: GPL-3.0-or-later
// Text in paragraphs whose lines were broken for sending (format=flowed of RFC 3676). Pure; any
// thread. The time is linear in the text.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

// Every paragraph on one line, with CR LF behind it. A quoted one begins with its depth in ">"
// signs and a blank. `del_space`: the blanks at which lines were broken are no part of the text.
std::u16string JoinFlowed(std::u16string_view text, bool del_space);

}  // namespace quillet
