// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/mime_library.h"

#include <gmime/gmime.h>

namespace quillet {

void StartMimeLibrary() {
  static const bool started = [] {
    g_mime_init();
    return true;
  }();
  static_cast<void>(started);
}

}  // namespace quillet
