// SPDX-License-Identifier: GPL-3.0-or-later
// Answers that are announced before their questions come.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillet::port {

constexpr std::uint32_t kAnyNumberOfTimes = std::numeric_limits<std::uint32_t>::max();

// How an announcement is to be used.
struct Uses {
  std::uint32_t times = 1;  // at most that often
  bool optional = false;    // it may as well be left over
};

// Any thread.
template <class Answer>
class Answers {
 public:
  struct Announcement {
    std::u16string prefix;
    Answer answer;
    Uses uses;  // those still to come
  };

  // For questions whose text begins so.
  void Add(std::u16string prefix, Answer answer, Uses uses = {}) {
    const std::lock_guard lock(mutex_);
    announcements_.push_back({std::move(prefix), std::move(answer), uses});
  }
  // For the next question, whatever it is.
  void AddNext(Answer answer) { Add({}, std::move(answer)); }

  // Uses up the first one that fits the question; nothing when none does.
  std::optional<Answer> Take(std::u16string_view text = {}) {
    const std::lock_guard lock(mutex_);
    const auto found = std::ranges::find_if(announcements_, [&](const Announcement& one) {
      return one.uses.times > 0 && text.starts_with(one.prefix);
    });
    if (found == announcements_.end()) return std::nullopt;
    Answer answer = found->answer;
    if (found->uses.times != kAnyNumberOfTimes && --found->uses.times == 0) {
      announcements_.erase(found);
    }
    return answer;
  }

  // Those that had to be used and were not, in the order of their announcement.
  std::vector<Announcement> LeftOver() const {
    const std::lock_guard lock(mutex_);
    std::vector<Announcement> left_over;
    std::ranges::copy_if(
        announcements_, std::back_inserter(left_over),
        [](const Announcement& one) { return one.uses.times > 0 && !one.uses.optional; });
    return left_over;
  }
  // The same, and forgets them all.
  std::vector<Announcement> TakeLeftOver() {
    std::vector<Announcement> left_over = LeftOver();
    const std::lock_guard lock(mutex_);
    announcements_.clear();
    return left_over;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Announcement> announcements_;
};

}  // namespace quillet::port
