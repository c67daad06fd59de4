// SPDX-License-Identifier: GPL-3.0-or-later
// The wait cursor for as long as the object lives.
#pragma once

#include "port/message_box.h"
#include "port/platform.h"

namespace quillet {

class WaitCursor {
 public:
  WaitCursor() { gPlatform->boxes.SetWaitCursor(true); }
  ~WaitCursor() { gPlatform->boxes.SetWaitCursor(false); }
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;
};

}  // namespace quillet
