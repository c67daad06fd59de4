// SPDX-License-Identifier: GPL-3.0-or-later
// The message queues of a process: what every device (toolkit, scripted, in-memory) shares.
//
// Windows have thread affinity: AddWindow gives a window to the calling thread, and Post finds the
// queue by the window. All functions may be called on any thread.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "port/clock.h"
#include "port/message_queue.h"

namespace quillet::port {

class ThreadQueues final : public MessageQueue {
 public:
  // Timers run by the clock's ticks. The clock must outlive the queues.
  explicit ThreadQueues(Clock& clock) : clock_(clock) {}

  bool Get(Message& message) override;
  void Post(const Message& message) override;
  void PostQuit(int code) override;
  void SetTimer(WindowHandle window, std::uint32_t id, std::uint32_t milliseconds) override;
  void KillTimer(WindowHandle window, std::uint32_t id) override;

  // A new window of the calling thread, or of `owner`.
  WindowHandle AddWindow() { return AddWindow(std::this_thread::get_id()); }
  WindowHandle AddWindow(std::thread::id owner);
  // Forgets the window, its timers and its waiting messages. Idempotent.
  void RemoveWindow(WindowHandle window);
  bool Exists(WindowHandle window) const;

  // Runs `call` on the thread while it sits in Get, in the order of its messages. Dropped when that
  // thread never calls Get again.
  void PostCall(std::thread::id thread, std::function<void()> call);

  // True once the thread waits in Get with nothing to do; false after the time-out (milliseconds of
  // real time; negative: none).
  bool WaitIdle(std::thread::id thread, int timeout_ms);

  // Makes every waiting thread look at the clock again (a clock that is set by hand moved).
  void ClockMoved();

 private:
  struct Entry {
    Message message;
    std::function<void()> call;
    bool quit = false;
  };
  struct Timer {
    std::uint32_t period = 0;
    std::uint64_t due = 0;
  };
  struct Queue {
    std::deque<Entry> entries;
    bool waiting = false;
  };

  Queue& QueueOf(std::thread::id thread) { return queues_[thread]; }
  bool TakeDueTimer(std::thread::id thread, Message& message, std::uint64_t& wait_ms);

  Clock& clock_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::thread::id, Queue> queues_;
  std::map<WindowHandle, std::thread::id> windows_;
  std::map<std::pair<WindowHandle, std::uint32_t>, Timer> timers_;
  WindowHandle last_window_ = 0;
};

}  // namespace quillet::port
