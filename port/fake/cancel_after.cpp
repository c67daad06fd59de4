// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/cancel_after.h"

namespace quillet::port {
namespace {

// Milliseconds of real time; far more than handling a message takes.
constexpr int kHandledWithin = 5000;

}  // namespace

void CancelAfter::Arm(std::optional<std::uint32_t> changes) {
  WindowHandle dialog = 0;
  {
    const std::lock_guard lock(mutex_);
    armed_ = changes;
    changes_ = 0;
    PressWhenDue();
    dialog = dialog_;
  }
  AwaitHandled(dialog);
}

void CancelAfter::DialogCreated(WindowHandle dialog) {
  const std::lock_guard lock(mutex_);
  dialog_ = dialog;
  thread_ = std::this_thread::get_id();
  shown_ = false;
  pressed_ = false;
}

void CancelAfter::DialogShown(WindowHandle dialog) {
  const std::lock_guard lock(mutex_);
  if (dialog != dialog_) return;
  shown_ = true;
  PressWhenDue();
}

void CancelAfter::DialogDestroyed(WindowHandle dialog) {
  const std::lock_guard lock(mutex_);
  if (dialog != dialog_) return;
  dialog_ = 0;
  shown_ = false;
  pressed_ = false;
}

void CancelAfter::NoteChange(WindowHandle dialog) {
  const std::lock_guard lock(mutex_);
  if (dialog != dialog_) return;
  ++changes_;
  PressWhenDue();
}

// Locked.
void CancelAfter::PressWhenDue() {
  if (!shown_ || !armed_ || changes_ < *armed_) return;
  const std::uint32_t after = *armed_;
  armed_.reset();
  pressed_ = press_(dialog_, after);
}

void CancelAfter::AwaitHandled(WindowHandle dialog) {
  std::thread::id thread;
  {
    const std::lock_guard lock(mutex_);
    if (!pressed_ || dialog != dialog_ || thread_ == std::this_thread::get_id()) return;
    pressed_ = false;
    thread = thread_;
  }
  queues_.WaitIdle(thread, kHandledWithin);
}

}  // namespace quillet::port
