// SPDX-License-Identifier: GPL-3.0-or-later
// Quoting of shown text. Pure; any thread.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

// Every line with the mark in front of it, the empty ones too; a last line end gets none behind it.
std::u16string QuoteLines(std::u16string_view text, std::u16string_view mark);

// The same of a text whose lines are whole paragraphs (DecodedBody::flowed). Each is broken, at
// blanks and between wide characters, into lines of 72 columns at most, the mark and its depth of
// quoting on each of them: a post is not broken once more on its way. Words that are longer stay
// whole.
std::u16string QuoteParagraphs(std::u16string_view text, std::u16string_view mark);

}  // namespace quillet
