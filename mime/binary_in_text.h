// SPDX-License-Identifier: GPL-3.0-or-later
// Files that lie in a text as lines of it: uuencoded, in base64 between "begin-base64" and "====",
// and yEnc. Pure; any thread. The time is linear in the text.
//
// A text is bytes as its sender wrote them: dots at the start of a line are not doubled, lines end
// with CR LF or LF.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillet {

enum class BinaryCoding { kUuencode, kBase64, kYEnc };

struct BinaryInText {
  std::size_t begin = 0, end = 0;  // its lines in the text, whole, the last one's end with them
  std::u16string name;             // as it stands there: may be empty, and no name of a file yet
  std::string type;                // "image/jpeg", by the name's extension
  std::uint64_t bytes = 0;         // what DecodeBinaryInText gives
  BinaryCoding coding = BinaryCoding::kUuencode;
  // Not what was encoded, by the size or the checksum that came with it: what can be decoded is
  // given, and its lines are not to be taken out of the text.
  bool damaged = false;
  bool operator==(const BinaryInText&) const = default;
};

// In the order of the text; none overlaps another. A line that only reads like the first one of a
// file ("begin 644 is how it starts") is none. A uuencoded file whose end is missing goes as far
// as its lines are sound; one part of a yEnc file of many parts is a file of its own.
std::vector<BinaryInText> FindBinariesInText(std::string_view text);

// The file, of the same text.
std::string DecodeBinaryInText(std::string_view text, const BinaryInText& found);

// The media type that a name's extension tells, "application/octet-stream" when it tells none.
std::string TypeOfFileName(std::u16string_view name);

}  // namespace quillet
