// SPDX-License-Identifier: GPL-3.0-or-later
// What a run says: one JSON object a line, in order, flushed at once. Any thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "script/json.h"

namespace quillet {

class Reporter {
 public:
  // `log` may be null; both streams outlive the reporter.
  Reporter(std::FILE* out, std::FILE* log) : out_(out), log_(log) {}

  // Writes {"event":EVENT, then the members}.
  void Report(std::string_view event, const JsonObject& members = {});

  // How many events of that kind were reported so far.
  int Count(std::string_view event);
  // Wakes whoever waits below.
  void Wake();
  // Waits until `done` (called with nothing locked) is true, looking again after every event and
  // at least every 20 ms. False after the time limit.
  bool WaitUntil(std::chrono::milliseconds limit, const std::function<bool()>& done);

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::string, int, std::less<>> counts_;
  std::FILE* out_;
  std::FILE* log_;
};

}  // namespace quillet
