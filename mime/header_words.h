// SPDX-License-Identifier: GPL-3.0-or-later
// Encoded words of RFC 2047 in headers. Pure; any thread.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

// Whether the text stands for itself: ASCII without a beginning of a word.
bool HasNothingToDecode(std::string_view stored);

enum class HeaderForm {
  kOneLine,  // a value: no line end stays
  kLines,    // a field with its continuation lines, whose ends stay where no words meet
};

// The words decoded, wherever they stand: beside each other, in quotes, in the middle of a word.
// What is no whole word, or of a set that is not known, stays as it is; text outside of words is
// UTF-8 where it is that, else code page 1252. Nothing that comes out turns the direction of the
// writing or ends the line.
std::u16string DecodeHeaderWords(std::string_view stored, HeaderForm form);

}  // namespace quillet
