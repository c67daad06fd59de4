// SPDX-License-Identifier: GPL-3.0-or-later
// Who is told at once of what the user changes in a dialog: the same on every display.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <utility>

#include "port/message.h"

namespace quillet::port {

// Calls one watcher after the other under one lock, so that none is running any more when it has
// been replaced or has gone. Any thread.
class EditWatches {
 public:
  void Add(WindowHandle dialog) {
    const std::lock_guard lock(mutex_);
    watches_.try_emplace(dialog);
  }
  void Remove(WindowHandle dialog) {
    const std::lock_guard lock(mutex_);
    watches_.erase(dialog);
  }
  // Nothing for a dialog that was not added.
  void Watch(WindowHandle dialog, std::function<void()> edited) {
    const std::lock_guard lock(mutex_);
    const auto found = watches_.find(dialog);
    if (found != watches_.end()) found->second = std::move(edited);
  }
  void Tell(WindowHandle dialog) {
    const std::lock_guard lock(mutex_);
    const auto found = watches_.find(dialog);
    if (found != watches_.end() && found->second) found->second();
  }

 private:
  std::mutex mutex_;
  std::map<WindowHandle, std::function<void()>> watches_;
};

}  // namespace quillet::port
