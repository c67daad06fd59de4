// SPDX-License-Identifier: GPL-3.0-or-later
// Which window owns the message boxes. Any thread.
#pragma once

#include "port/message.h"

namespace quillet {

// While it lives, boxes belong to that window: the topmost, which is the one that came last. The
// progress thread's one comes and goes while the program thread shows boxes, and not always in the
// order of a stack: each takes away itself alone.
class BoxOwner {
 public:
  explicit BoxOwner(port::WindowHandle window);
  ~BoxOwner();
  BoxOwner(const BoxOwner&) = delete;
  BoxOwner& operator=(const BoxOwner&) = delete;

 private:
  friend port::WindowHandle CurrentBoxOwner();

  port::WindowHandle window_;
  BoxOwner* below_ = nullptr;
};

// The owner of a box that is shown now: the last BoxOwner's window, else the main window, which may
// be 0.
port::WindowHandle CurrentBoxOwner();
// With the main window all owners go at once, whoever still holds them.
void ClearBoxOwners();

}  // namespace quillet
