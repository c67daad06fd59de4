// SPDX-License-Identifier: GPL-3.0-or-later
// Files that lie in the text of an article, uuencoded or in yEnc.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "mime/binary_in_text.h"

namespace {

using namespace quillet;

void Require(bool holds) {
  if (!holds) std::abort();
}

bool IsLineStart(std::string_view text, std::size_t place) {
  return place == 0 || place == text.size() || text[place - 1] == '\n';
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::vector<BinaryInText> found = FindBinariesInText(text);
  std::size_t last = 0;
  std::string rest;
  for (const BinaryInText& binary : found) {
    Require(binary.begin >= last && binary.begin < binary.end && binary.end <= size);
    Require(IsLineStart(text, binary.begin) && IsLineStart(text, binary.end));
    Require(!binary.type.empty());
    const std::string bytes = DecodeBinaryInText(text, binary);
    // No line says more than it has: an "M" alone, whose blanks were cut off, is 45 bytes.
    Require(bytes.size() == binary.bytes && bytes.size() <= 63 * (binary.end - binary.begin));
    rest.append(text.substr(last, binary.begin - last));
    last = binary.end;
  }
  // The same file is found where nothing stands before it.
  if (!found.empty()) {
    const BinaryInText& first = found.front();
    const std::vector<BinaryInText> again = FindBinariesInText(text.substr(first.begin));
    Require(again.size() == found.size() && again.front().bytes == first.bytes &&
            again.front().name == first.name && again.front().damaged == first.damaged);
  }
  DecodeBinaryInText(text, {.begin = size / 2, .end = size, .name = {}, .type = {}});
  return 0;
}
