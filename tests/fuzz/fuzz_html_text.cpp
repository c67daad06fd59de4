// SPDX-License-Identifier: GPL-3.0-or-later
// Any page as text: it grows no more than its quotations let it, no line in it is half ended, and a
// page without tags and entities keeps all its words.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "mime/html_text.h"
#include "util/text.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

bool IsSpace(char16_t unit) {
  return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n' || unit == u'\f' ||
         unit == 0xA0;
}

std::u16string Letters(std::u16string_view text) {
  std::u16string letters(text);
  std::erase_if(letters, IsSpace);
  return letters;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  Require(quillet::HtmlCharset(bytes).size() <= size);
  const std::u16string page = quillet::FromUtf8(bytes);
  const std::u16string text = quillet::HtmlToText(page);
  Require(text.size() <= 12 * page.size());
  Require(text.empty() || text.ends_with(u"\r\n"));
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == u'\r') Require(at + 1 < text.size() && text[at + 1] == u'\n');
    if (text[at] == u'\n') Require(at > 0 && text[at - 1] == u'\r');
  }
  if (page.find_first_of(u"<&") == std::u16string::npos) Require(Letters(text) == Letters(page));
  return 0;
}
