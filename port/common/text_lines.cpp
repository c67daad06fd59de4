// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/common/text_lines.h"

namespace quillet::port {

std::u16string CrLfLines(std::u16string_view text) {
  std::u16string lines;
  lines.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != u'\r' && text[i] != u'\n') {
      lines += text[i];
      continue;
    }
    if (text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') ++i;
    lines += u"\r\n";
  }
  return lines;
}

}  // namespace quillet::port
