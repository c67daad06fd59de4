// SPDX-License-Identifier: GPL-3.0-or-later
// A growable wide text: the transaction log and the error log of a connection.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

struct TextLog {
  std::u16string text;
  bool has_text = false;  // an empty text appended to a new log still makes it non-null
};

// An empty text is ignored when the log already has text. False when memory ran out; the log then
// keeps its old text.
bool AppendToLog(TextLog& log, std::u16string_view text);

}  // namespace quillet
