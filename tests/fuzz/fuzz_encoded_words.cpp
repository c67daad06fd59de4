// SPDX-License-Identifier: GPL-3.0-or-later
// Any header as text: it stays on its line and turns nobody's writing around; and any text as a
// header, which must come back as it went.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "mime/encoded_words.h"
#include "mime/shown_text.h"
#include "util/text.h"

namespace {

using namespace quillet;

void Require(bool holds) {
  if (!holds) std::abort();
}

bool MayHarm(char16_t unit) {
  const bool control = (unit < 0x20 && unit != u'\t') || (unit >= 0x7F && unit < 0xA0);
  const bool turns = (unit >= 0x202A && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
  return control || turns || unit == 0x2028 || unit == 0x2029;
}

bool IsPrintableAscii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
}

void CheckShown(const std::string& stored) {
  const std::u16string shown = ShownHeader(stored);
  Require(shown.size() <= 2 * stored.size());
  if (shown != RawHeader(stored)) Require(std::ranges::none_of(shown, MayHarm));
  const std::u16string lines = ShownHeaderLines(stored);
  Require(std::ranges::count(lines, u'\n') <= std::ranges::count(stored, '\n'));
}

void CheckEncoded(const std::string& stored) {
  std::u16string text = FromUtf8(stored);
  const std::string line = EncodeHeaderText(text), address = EncodeHeaderAddress(text);
  Require(IsPrintableAscii(line) && IsPrintableAscii(address));
  std::erase_if(text, [](char16_t unit) { return MayHarm(unit) || unit == u'\t'; });
  const std::string encoded = EncodeHeaderText(text);
  if (encoded != ToUtf8(text)) Require(ShownHeader(encoded) == text);
  Require(ShownHeader(ToKillfileText(text)) == text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string stored(reinterpret_cast<const char*>(data), size);
  CheckShown(stored);
  CheckEncoded(stored);
  const std::size_t half = stored.find('\n');
  const std::string subject = stored.substr(0, half);
  const std::string joined =
      JoinedSubject(subject, half == std::string::npos ? "" : stored.substr(half + 1));
  Require(joined.starts_with(subject) && joined.size() <= stored.size() + 1);
  return 0;
}
