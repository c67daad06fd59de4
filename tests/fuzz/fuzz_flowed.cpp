// SPDX-License-Identifier: GPL-3.0-or-later
// Any text as flowed text: but for blanks, quotation marks and line ends every character comes out,
// in its order, and lines that are joined are joined for a reason.
//
// Input: a byte that says whether blanks are deleted, then the text.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "mime/flowed.h"
#include "util/text.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

bool IsMark(char16_t unit) {
  return unit == u' ' || unit == u'>' || unit == u'\r' || unit == u'\n';
}

std::u16string Letters(std::u16string_view text) {
  std::u16string letters(text);
  std::erase_if(letters, IsMark);
  return letters;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const bool del_space = (data[0] & 1) != 0;
  const std::u16string text =
      quillet::Widen(std::string_view(reinterpret_cast<const char*>(data) + 1, size - 1));
  const std::u16string joined = quillet::JoinFlowed(text, del_space);
  Require(Letters(joined) == Letters(text));
  Require(joined.size() <= 2 * text.size() + 2);
  Require(joined.empty() || joined.ends_with(u"\r\n"));
  const auto ends = [](std::u16string_view lines) { return std::ranges::count(lines, u'\n'); };
  const auto cr = std::ranges::count(text, u'\r');
  Require(ends(joined) <= ends(text) + cr + 1);
  if (text.find(u' ') == std::u16string::npos) {
    Require(ends(joined) >= std::max<std::ptrdiff_t>(ends(text), cr));
  }
  return 0;
}
