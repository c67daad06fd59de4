// SPDX-License-Identifier: GPL-3.0-or-later
// Somebody who presses Cancel in the progress dialog at a moment announced before: after the nth
// change of what it shows. An operation that is cancelled so stops at the same place every time.
//
// Any thread. It is told what happens to the progress dialog, on the thread where it happens; of
// those that exist it looks at the one that was made last.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "port/common/thread_queues.h"

namespace quillet::port {

class CancelAfter {
 public:
  // Presses Cancel in the dialog, after that many changes; false when it cannot be pressed now.
  // It must not call this object.
  using Press = std::function<bool(WindowHandle dialog, std::uint32_t changes)>;

  CancelAfter(ThreadQueues& queues, Press press) : queues_(queues), press_(std::move(press)) {}
  CancelAfter(const CancelAfter&) = delete;
  CancelAfter& operator=(const CancelAfter&) = delete;

  // Cancel is pressed once, after that many changes from now on, but not before the dialog is
  // shown; 0: as soon as it is; nothing: not at all. Waits as AwaitHandled does.
  void Arm(std::optional<std::uint32_t> changes);

  // --- may be called with locks held that `press` does not need ---

  void DialogCreated(WindowHandle dialog);  // on the dialog's own thread
  void DialogShown(WindowHandle dialog);
  void DialogDestroyed(WindowHandle dialog);
  void NoteChange(WindowHandle dialog);

  // --- with no lock held ---

  // To be called after each of them. When Cancel was pressed in that dialog, waits until the
  // dialog's thread has handled it, so that the calling thread, the operation's, finds the request
  // at its next test. Does not wait on the dialog's own thread: then the next caller does.
  void AwaitHandled(WindowHandle dialog);

 private:
  void PressWhenDue();

  ThreadQueues& queues_;
  const Press press_;
  std::mutex mutex_;
  std::optional<std::uint32_t> armed_;  // changes that Cancel is pressed after
  std::uint32_t changes_ = 0;           // since it was armed
  // The progress dialog, if there is one.
  WindowHandle dialog_ = 0;
  std::thread::id thread_;
  bool shown_ = false;
  bool pressed_ = false;  // and perhaps not handled yet
};

}  // namespace quillet::port
