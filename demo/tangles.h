// SPDX-License-Identifier: GPL-3.0-or-later
// Threads as they are where people, servers and programs make mistakes: parents that arrive after
// their replies, in another group or never, circles, subjects written in every manner. The same for
// the same seed. Any thread, one at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "demo/random.h"

namespace quillet::demo {

// Where an article stands among the others.
struct Place {
  std::string message_id;
  std::string references;  // Message-IDs parted by blanks; empty for the start of a thread
  std::string topic;       // the subject without reply marks
  std::string subject;     // as it is sent
  std::vector<std::string> groups;
};

class Tangles {
 public:
  Tangles(std::uint64_t seed, std::vector<std::string> groups);

  // Moves the article with that number, which has a sensible place, to the one that it gets.
  void Tangle(Place& place, std::size_t index);

 private:
  // An article that others answer before it is sent.
  struct Promised {
    Place place;
    std::string reply_id;
  };

  void SpellSubject(Place& place, std::size_t index);
  bool KeepPromise(Place& place);
  void AnswerUnsent(Place& place, std::size_t index);
  void ContinueLongThread(Place& place);
  void Misplace(Place& place, std::size_t index);

  Random random_;
  std::vector<std::string> groups_;
  std::deque<Promised> promised_;
  Place long_thread_;  // its newest article
};

}  // namespace quillet::demo
