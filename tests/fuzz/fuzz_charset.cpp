// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes in any set: what is good by every byte comes out the same both ways, and nothing takes
// the label's word against the bytes.
//
// Input: the name of a set, a line feed, the bytes.
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "mime/charset.h"
#include "util/text.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = input.find('\n');
  if (end == std::string::npos) return 0;
  const std::string name = input.substr(0, end), bytes = input.substr(end + 1);
  const std::u16string text = quillet::DecodeCharset(bytes, name);
  Require(text.size() <= 8 * bytes.size() + 8);
  const auto exact = quillet::DecodeExactly(bytes, name);
  if (exact) Require(*exact == text);
  if (exact) Require(quillet::IsKnownCharset(name));
  if (!quillet::IsKnownCharset(name)) Require(text == quillet::DecodeUnlabelled(bytes));
  if (quillet::IsUtf8(bytes)) {
    Require(quillet::ToUtf8(quillet::DecodeUnlabelled(bytes)) == bytes);
  } else {
    Require(quillet::DecodeUnlabelled(bytes) == quillet::Widen(bytes));
  }
  return 0;
}
