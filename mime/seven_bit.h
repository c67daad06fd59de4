// SPDX-License-Identifier: GPL-3.0-or-later
// Character sets that hide two-byte characters in 7-bit text, as the 8-bit sets that iconv has
// whole. Pure; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillet {

// ISO-2022-JP as EUC-JP: iconv's own ISO-2022-JP lacks the rows that Windows adds (circled numbers,
// Roman numerals), which its EUC-JP-MS has. Nothing when there is an escape sequence that EUC-JP
// has no place for.
std::optional<std::string> Iso2022JpToEuc(std::string_view bytes);

// HZ ("~{" ... "~}") as GB2312 with the high bits set. A line's end ends the two-byte characters.
std::string HzToGb(std::string_view bytes);

}  // namespace quillet
