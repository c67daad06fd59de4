// SPDX-License-Identifier: GPL-3.0-or-later
// The header of a gdbm file, as the library lays it out. Only for store/.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillet {

// False when the header of the file at that device path and its real length, `size`, disagree: the
// last writer was killed before it had written the header, or the file was cut. True for files that
// are not the library's, and when the header cannot be read.
bool HeaderKnowsLength(std::u16string_view path, std::uint64_t size);

// Makes the header ready for a recovery: the real length and an empty table of free blocks. When it
// cannot be read or written it stays as it is, and the recovery keeps what it can.
//
// A writer that was killed may have written buckets and directory, but not the header. The library
// takes everything beyond the header's idea of the file's end for damage, and its recovery would
// drop hundreds of sound records; and blocks that an old header calls free may be in use.
void CorrectHeader(std::u16string_view path, std::uint64_t size);

// The header's bytes, to be put back when a correction has not helped; empty when they cannot be
// read.
std::string KeepHeader(std::u16string_view path);

}  // namespace quillet
