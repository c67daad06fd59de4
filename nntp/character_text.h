// SPDX-License-Identifier: GPL-3.0-or-later
// The bytes of a queued post that is not plain ASCII: as BuildPostText makes them, but lines are
// counted in characters, wide ones as two columns and combining marks as none, and no character is
// cut. Pure; any thread.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

// Whether the text of the post has other characters than plain ASCII.
bool HasCharacters(std::string_view header, std::string_view body);

// As WrapPostBody, of UTF-8. What is no UTF-8 counts as one character a byte.
std::string WrapCharacters(std::string_view body);

// Breaks lines of UTF-8 that have more than 500 characters, or more bytes than that: at their last
// blank, which goes, else between two characters.
std::string CutLongLines(std::string_view body, std::size_t longest_bytes);

// As BuildPostText of the wrapped body. A body in a charset that the head names is wrapped as text
// of it. No line has more than 998 bytes. Throws std::bad_alloc when memory runs out.
std::string BuildCharacterPost(std::string_view header, std::string_view body,
                               std::string_view message_id = {});

}  // namespace quillet
