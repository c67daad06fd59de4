// SPDX-License-Identifier: GPL-3.0-or-later
// Message queues and timers, one queue a thread.
#pragma once

#include <cstdint>

#include "port/message.h"

namespace quillet::port {

class MessageQueue {
 public:
  virtual ~MessageQueue() = default;

  // Waits for the calling thread's next message and takes it. False when the quit message was
  // taken instead: message.id then holds its exit code. Timers fire only when no message waits.
  virtual bool Get(Message& message) = 0;

  // Appends a message to the queue of the thread that owns message.window. Any thread. A message
  // to a window that does not exist (any more) is dropped; what already waits for a window when it
  // is destroyed is dropped as well.
  virtual void Post(const Message& message) = 0;

  // Appends the quit message to the calling thread's own queue.
  virtual void PostQuit(int code) = 0;

  // Starts (or restarts) the window's periodic timer `id`; its messages come to the owner's queue.
  // KillTimer of a timer that does not run does nothing; destroying the window kills its timers.
  virtual void SetTimer(WindowHandle window, std::uint32_t id, std::uint32_t milliseconds) = 0;
  virtual void KillTimer(WindowHandle window, std::uint32_t id) = 0;
};

}  // namespace quillet::port
