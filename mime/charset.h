// SPDX-License-Identifier: GPL-3.0-or-later
// Bytes in a named character set as text. Pure; any thread.
//
// Names come from foreign articles: whatever one says, no function here fails. A set is known by
// any of the names that are in use for it, not only by those that iconv knows.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "util/ascii.h"

namespace quillet {

// Well-formed: no overlong forms, no surrogates, nothing beyond U+10FFFF, no sequence cut.
bool IsUtf8(std::string_view bytes);

// Whether the name means a set. "us-ascii", "unknown-8bit" and their kin do: text without a label.
bool IsKnownCharset(std::string_view name);
// Whether ASCII bytes stand for themselves there. An unknown set is taken for such a one.
bool KeepsAscii(std::string_view name);

// Bytes of which nobody says what they are: UTF-8 where they are, else code page 1252.
std::u16string DecodeUnlabelled(std::string_view bytes);

// The bytes in that set. A few sequences that it lacks become U+FFFD each; where they are more than
// one in ten of the characters beyond ASCII, or the set is not known, the label is no good and the
// bytes are taken as unlabelled.
std::u16string DecodeCharset(std::string_view bytes, std::string_view name);
// Nothing unless the set is known and has every one of the bytes.
std::optional<std::u16string> DecodeExactly(std::string_view bytes, std::string_view name);

}  // namespace quillet
