// SPDX-License-Identifier: GPL-3.0-or-later
#include "article/save.h"

#include <algorithm>

#include "mime/shown_text.h"

namespace quillet {
namespace {

bool IsAsciiLetterOrDigit(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9');
}

}  // namespace

std::u16string DefaultFileName(std::string_view subject) {
  constexpr std::size_t kSubjectCharacters = 16;
  std::u16string name = ShownHeader(subject).substr(0, kSubjectCharacters);
  std::replace_if(
      name.begin(), name.end(), [](char16_t c) { return !IsAsciiLetterOrDigit(c); }, u'_');
  return name + u".txt";
}

}  // namespace quillet
