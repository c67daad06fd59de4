// SPDX-License-Identifier: GPL-3.0-or-later
// One mutex and one condition variable for all queues: every change wakes every waiter, and each
// looks for what is its own. With a handful of threads that is cheap, and the order among windows
// of a thread is simply the order of posting. Timers are not queued: a due one is found when the
// queue is empty, so a burst of messages never gathers stale ticks.
#include "port/common/thread_queues.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace quillet::port {

bool ThreadQueues::Get(Message& message) {
  const std::thread::id self = std::this_thread::get_id();
  std::unique_lock lock(mutex_);
  Queue& queue = QueueOf(self);  // map nodes stay where they are
  for (;;) {
    if (!queue.entries.empty()) {
      Entry entry = std::move(queue.entries.front());
      queue.entries.pop_front();
      if (entry.call) {
        lock.unlock();
        entry.call();
        lock.lock();
        continue;
      }
      message = std::move(entry.message);
      if (!entry.quit) return true;
      queues_.erase(self);  // a later thread may get this id: it must not find old entries
      return false;
    }
    std::uint64_t wait_ms = 0;
    if (TakeDueTimer(self, message, wait_ms)) return true;
    queue.waiting = true;
    changed_.notify_all();
    if (wait_ms == 0) {
      changed_.wait(lock);
    } else {
      changed_.wait_for(lock, std::chrono::milliseconds(wait_ms));
    }
    queue.waiting = false;
  }
}

// Takes the earliest due timer of the thread; otherwise wait_ms is the time to the next one (0:
// there is none).
bool ThreadQueues::TakeDueTimer(std::thread::id thread, Message& message, std::uint64_t& wait_ms) {
  const std::uint64_t now = clock_.Ticks();
  auto next = timers_.end();
  for (auto it = timers_.begin(); it != timers_.end(); ++it) {
    const auto owner = windows_.find(it->first.first);
    if (owner == windows_.end() || owner->second != thread) continue;
    if (next == timers_.end() || it->second.due < next->second.due) next = it;
  }
  if (next == timers_.end()) return false;
  if (next->second.due > now) {
    wait_ms = next->second.due - now;
    return false;
  }
  next->second.due = now + next->second.period;
  message = Message{next->first.first, MessageKind::kTimer, next->first.second, 0, {}};
  return true;
}

void ThreadQueues::Post(const Message& message) {
  const std::lock_guard lock(mutex_);
  const auto owner = windows_.find(message.window);
  if (owner == windows_.end()) return;
  QueueOf(owner->second).entries.push_back(Entry{message, nullptr, false});
  changed_.notify_all();
}

void ThreadQueues::PostQuit(int code) {
  const std::lock_guard lock(mutex_);
  Entry entry;
  entry.message.id = static_cast<std::uint32_t>(code);
  entry.quit = true;
  QueueOf(std::this_thread::get_id()).entries.push_back(std::move(entry));
  changed_.notify_all();
}

void ThreadQueues::SetTimer(WindowHandle window, std::uint32_t id, std::uint32_t milliseconds) {
  const std::lock_guard lock(mutex_);
  if (!windows_.contains(window)) return;
  const std::uint32_t period = std::max<std::uint32_t>(milliseconds, 1);
  timers_[{window, id}] = Timer{period, clock_.Ticks() + period};
  changed_.notify_all();
}

void ThreadQueues::KillTimer(WindowHandle window, std::uint32_t id) {
  const std::lock_guard lock(mutex_);
  timers_.erase({window, id});
}

WindowHandle ThreadQueues::AddWindow(std::thread::id owner) {
  const std::lock_guard lock(mutex_);
  windows_[++last_window_] = owner;
  return last_window_;
}

void ThreadQueues::RemoveWindow(WindowHandle window) {
  const std::lock_guard lock(mutex_);
  const auto owner = windows_.find(window);
  if (owner == windows_.end()) return;
  std::erase_if(QueueOf(owner->second).entries,
                [&](const Entry& entry) { return entry.message.window == window; });
  std::erase_if(timers_, [&](const auto& timer) { return timer.first.first == window; });
  windows_.erase(owner);
  changed_.notify_all();
}

bool ThreadQueues::Exists(WindowHandle window) const {
  const std::lock_guard lock(mutex_);
  return windows_.contains(window);
}

void ThreadQueues::PostCall(std::thread::id thread, std::function<void()> call) {
  const std::lock_guard lock(mutex_);
  QueueOf(thread).entries.push_back(Entry{{}, std::move(call), false});
  changed_.notify_all();
}

bool ThreadQueues::WaitIdle(std::thread::id thread, int timeout_ms) {
  std::unique_lock lock(mutex_);
  const auto idle = [&] {
    const Queue& queue = QueueOf(thread);
    return queue.waiting && queue.entries.empty();
  };
  if (timeout_ms < 0) {
    changed_.wait(lock, idle);
    return true;
  }
  return changed_.wait_for(lock, std::chrono::milliseconds(timeout_ms), idle);
}

void ThreadQueues::ClockMoved() {
  const std::lock_guard lock(mutex_);
  changed_.notify_all();
}

}  // namespace quillet::port
