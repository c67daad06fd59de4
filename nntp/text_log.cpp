// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/text_log.h"

#include <new>

namespace quillet {

bool AppendToLog(TextLog& log, std::u16string_view text) {
  if (text.empty() && log.has_text) return true;
  try {
    log.text.append(text);
  } catch (const std::bad_alloc&) {
    return false;
  }
  log.has_text = true;
  return true;
}

}  // namespace quillet
