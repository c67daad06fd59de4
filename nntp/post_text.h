// SPDX-License-Identifier: GPL-3.0-or-later
// From a queued post to the bytes that are sent for it: the columns of the body, folded header
// lines, dot-stuffing, the end of the article. Pure; any thread. All in one pass, in a time that
// grows with the length of the text alone.
//
// Texts are 8-bit and end at their first NUL. Nothing is refused: lone CR or LF and header lines
// without a colon are taken as they are. Throws std::bad_alloc when memory runs out.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

// Breaks lines of 80 characters and more at a blank, which becomes CR LF; a line without one stays
// long. The same text when nothing was broken.
std::string WrapPostBody(std::string body);

// What becomes of lines that are too long.
enum class LongLines {
  kCut,   // those of more than 500 bytes are broken, in the middle of a word if need be
  kKeep,  // those of the body have been cut before; one of the head that has no blank is folded
          // when it has more than 998 bytes
};

// The whole text that a server gets after its go-ahead, terminator included. `message_id` is a
// header line without its line end, to be sent behind the post's own; empty: none.
std::string BuildPostText(std::string_view header, std::string_view body,
                          std::string_view message_id = {}, LongLines lines = LongLines::kCut);

}  // namespace quillet
