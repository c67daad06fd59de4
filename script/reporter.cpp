// SPDX-License-Identifier: GPL-3.0-or-later
#include "script/reporter.h"

#include <algorithm>

namespace quillet {
namespace {

constexpr std::chrono::milliseconds kLongestLook(20);

void WriteLine(std::FILE* stream, const std::string& line) {
  if (stream == nullptr) return;
  // A reader that has gone away must not stop the program: it still saves and ends.
  std::fwrite(line.data(), 1, line.size(), stream);
  std::fflush(stream);
}

}  // namespace

void Reporter::Report(std::string_view event, const JsonObject& members) {
  const std::string line = JsonObject().Add("event", event).Append(members).Finish() + "\n";
  const std::lock_guard lock(mutex_);
  WriteLine(out_, line);
  WriteLine(log_, line);
  ++counts_[std::string(event)];
  changed_.notify_all();
}

int Reporter::Count(std::string_view event) {
  const std::lock_guard lock(mutex_);
  const auto count = counts_.find(event);
  return count == counts_.end() ? 0 : count->second;
}

void Reporter::Wake() {
  const std::lock_guard lock(mutex_);
  changed_.notify_all();
}

bool Reporter::WaitUntil(std::chrono::milliseconds limit, const std::function<bool()>& done) {
  const auto end = std::chrono::steady_clock::now() + limit;
  for (;;) {
    if (done()) return true;
    const auto now = std::chrono::steady_clock::now();
    if (now >= end) return false;
    std::unique_lock lock(mutex_);
    changed_.wait_until(lock, std::min(end, now + kLongestLook));
  }
}

}  // namespace quillet
