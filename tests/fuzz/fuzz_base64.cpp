// SPDX-License-Identifier: GPL-3.0-or-later
// Text that is taken for base64, and bytes on their way into it.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "util/base64.h"

namespace {

using namespace quillet;

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::string bytes = Base64Decode(text);
  Require(bytes.size() <= text.size() / 4 * 3 + 2);
  // What was decoded is the beginning of the text, but for the bits that made no whole byte.
  const std::string again = Base64Encode(bytes);
  const std::string_view letters =
      text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
  const std::size_t whole = bytes.size() * 8 / 6;
  Require(letters.substr(0, whole) == std::string_view(again).substr(0, whole));
  Require(Base64Decode(Base64Encode(text)) == text);
  Require(Base64Encode(text).size() == (size + 2) / 3 * 4);
  return 0;
}
