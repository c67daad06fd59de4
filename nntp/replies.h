// SPDX-License-Identifier: GPL-3.0-or-later
// Reading from the news server in turns, one command and its whole reply: reply lines, article
// status lines, dot-terminated blocks, and the numbers in them. Whatever has come when a reply ends
// belongs to it, so that nothing is left over on the wire. Program thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quillet {

// Reads into gConnection.reply until everything received ends with CR LF, cuts it at its first NUL
// and logs it. False when the connection is lost or the line buffer is full: the connection is
// closed and then the loss noted. False also after an abort request when the reply has not come
// whole; then nothing else happens.
bool ReadResponse();

// Receives the first line of a HEAD or BODY reply into status_line (up to its first CR or NUL),
// last_status and last_article_number and appends what came after it to `rest`. On failure the loss
// is noted; the connection stays as it is.
bool ReadStatusLine(std::string& rest);

enum class BlockResult { kComplete = 0, kClosed = 1, kNoText = 2, kOversized = 3 };

// Reads the rest of a dot-terminated block. `text` holds what came already and is never grown
// beyond capacity - 1 bytes; a block that fills it is read to its end all the same, and then
// (kOversized) the contents mean nothing. A complete text has lost its terminator with the CR LF
// before it; dot-stuffing is not undone. NUL bytes count while receiving, and the text ends at the
// first one. An abort request ends the reading. On kClosed, after closing the connection, the text
// holds what came.
BlockResult ReadMultiline(std::string* text, std::size_t capacity, bool show_progress,
                          std::uint32_t article_number, std::uint32_t estimated_k);

// Whether a block ends here.
bool IsTerminated(std::string_view text);

// Decimal digits at the start of the text, modulo 2^32; 0 when there are none.
std::uint32_t LeadingNumber(std::string_view text);
// Field `field` (from 0) of a line whose fields are separated by single blanks; 0 when it is
// missing or not all digits up to the next blank or the end of the text.
std::uint32_t GetNumericField(std::string_view line, int field);

}  // namespace quillet
