// SPDX-License-Identifier: GPL-3.0-or-later
// SIGTERM, SIGINT and SIGHUP as calls on an own thread, so that the program ends through itself.
#pragma once

#include <functional>
#include <thread>

#include "port/linux/file_descriptor.h"

namespace quillet::port {

class SignalWatcher {
 public:
  // Blocks the signals for the calling thread and all that it starts later: made before any other
  // thread. SIGPIPE is ignored from then on. `on_signal` is called once for each signal.
  explicit SignalWatcher(std::function<void()> on_signal);
  SignalWatcher(const SignalWatcher&) = delete;
  SignalWatcher& operator=(const SignalWatcher&) = delete;
  // The signals stay blocked: one that comes while the program ends must not cut that short.
  ~SignalWatcher();

 private:
  void Watch();

  const std::function<void()> on_signal_;
  FileDescriptor signals_;
  FileDescriptor end_event_;
  std::thread thread_;
};

}  // namespace quillet::port
