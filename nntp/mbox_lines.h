// SPDX-License-Identifier: GPL-3.0-or-later
// The lines of an mbox file, whatever its line ends. Program thread only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "port/files.h"

namespace quillet {

// Which byte ends the lines of the next import, and which one beside it is passed over.
struct LineEnds {
  char terminator = '\n';
  char skipped = '\r';
};

// What DetermineReturnCharacters found last.
LineEnds ImportLineEnds();

// Takes the line ends of the next import from the first LF or CR of the file; without one those of
// the last import stay. A file that cannot be opened or read is told.
void DetermineReturnCharacters(std::u16string_view path);

// More of a line is read through and forgotten: no record takes a text of that length.
inline constexpr std::size_t kLongestImportLine = std::size_t{64} << 20;

// A file on its way through ReadLine.
struct MboxReader {
  std::unique_ptr<port::FileReader> file;
  LineEnds ends;
  std::array<char, 2048> chunk{};
  std::size_t held = 0;      // bytes of the file in the chunk, 2,047 at most
  std::size_t next = 0;      // where the next line begins in it
  std::uint64_t before = 0;  // bytes of the file before the chunk
  std::uint32_t error = 0;   // why the file could not be read to its end
  bool out_of_memory = false;

  std::uint64_t Position() const { return before + next; }
};

enum class LineRead {
  kLine,      // ended in the file; there may be more
  kLastLine,  // the file ends without a line end
  kNothing,   // no data is left
};

// The next line, in place of what `line` holds: with CR LF for whatever ended it, the last one
// without a line end when it has none in the file. Nothing also after an error, and when memory
// runs out, which is reported.
LineRead ReadLine(MboxReader& reader, std::string& line);

// Whether the next line begins so, without reading the whole of it; Rewind has to follow.
bool NextLineStartsWith(MboxReader& reader, std::string_view prefix);

// Back to the beginning of the file.
void Rewind(MboxReader& reader);

}  // namespace quillet
