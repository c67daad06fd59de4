// SPDX-License-Identifier: GPL-3.0-or-later
// A file in yEnc that begins with a line of a text. Pure; any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quillet {

struct YEncFile {
  std::string_view name;  // in the text; may be empty
  std::size_t end = 0;    // one past its last line
  std::string bytes;
  bool damaged = false;  // another size or checksum than its sender gave
};

// The file, or the part of one, whose line "=ybegin" is at the place, which is the start of a line;
// nothing when there is none. It ends with its line "=yend"; without that with the last line that
// has the length which all lines have, or makes its size full.
std::optional<YEncFile> YEncFileAt(std::string_view text, std::size_t place);

}  // namespace quillet
