// SPDX-License-Identifier: GPL-3.0-or-later
// A uuencoded file, or its kind in base64, that begins with a line of a text. Pure; any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quillet {

struct UuFile {
  std::string_view name;  // in the text
  std::size_t end = 0;    // one past its last line
  std::string bytes;
};

// The file whose line "begin MODE NAME" is at the place, which is the start of a line; nothing when
// there is none: another line, or no sound line behind it. A line has as many characters as its
// first one says, but for blanks that were cut off at its end, and one more at the most, a
// checksum. Without the line "end" the file goes up to its last line of full length.
std::optional<UuFile> UuFileAt(std::string_view text, std::size_t place);

// The same for "begin-base64 MODE NAME" and "====".
std::optional<UuFile> Base64FileAt(std::string_view text, std::size_t place);

}  // namespace quillet
