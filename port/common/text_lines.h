// SPDX-License-Identifier: GPL-3.0-or-later
// Line ends of texts in edits.
#pragma once

#include <string>
#include <string_view>

namespace quillet::port {

// The text with CR LF for every CR LF, LF and CR.
std::u16string CrLfLines(std::u16string_view text);

}  // namespace quillet::port
