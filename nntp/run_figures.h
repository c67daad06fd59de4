// SPDX-License-Identifier: GPL-3.0-or-later
// The figures of a connection: where it is, how fast, and how long it will take. Pure: who calls
// says what time it is, in milliseconds of a clock that never goes back. One thread at a time.
//
// How many articles a group has is known when the server has answered GROUP, and nothing more is
// asked of it for the figures' sake. Of the groups to come there are the numbers of the last visit,
// and what was new in the groups visited so far.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/pace.h"

namespace quillet {

// What is known of a group before the server is asked.
struct GroupOutlook {
  std::uint32_t backlog = 0;  // articles the server had at the last visit that were not fetched
  std::uint32_t room = 0;     // for so many more the preferences leave room
  bool visited = false;       // by an earlier run
};

// Where the way through a group is. Article numbers.
struct WalkNumbers {
  std::uint32_t first = 0;      // from the reply to GROUP
  std::uint32_t last = 0;       // likewise
  std::uint32_t existing = 0;   // articles between them, by the server's estimate; 0: not said
  std::uint32_t next = 0;       // the article that comes next
  std::uint32_t remaining = 0;  // articles still to get at most, as planned
  std::uint32_t handled = 0;    // articles done with since Plan, whatever became of them
};

class RunFigures {
 public:
  // A run begins that will visit these groups.
  void Start(std::vector<GroupOutlook> groups);

  // The place-th of so many is under way.
  void Post(std::size_t place, std::size_t count);
  void LostArticle(std::size_t place, std::size_t count);
  // The group at that place of the list, from 0, is visited; again after a loss, when what was done
  // in it counts on.
  void Group(std::size_t place);
  // The server has answered GROUP.
  void Plan(std::uint64_t now, const WalkNumbers& walk);
  void Walk(std::uint64_t now, const WalkNumbers& walk);
  // Nothing moves until the next Plan: the connection is lost, or all is done.
  void Hold();

  // "group 2 of 5, article 120 of 350, 18 articles a second, 0:40 left" without what is not known;
  // "posting 2 of 3"; "lost article 1 of 4"; or nothing. The article is the number of those done
  // with, the other number how many they can become.
  std::u16string Line(std::uint64_t now);

 private:
  enum class Stage { kNone, kPost, kLostArticle, kGroup };
  // Of groups visited in this run.
  struct Average {
    double sum = 0;
    double groups = 0;
  };

  std::u16string GroupLine(std::uint64_t now);
  std::uint64_t HandledInGroup() const;
  std::uint64_t AtMostExisting() const;
  std::uint64_t MostInGroup() const;
  double ExpectedInGroup() const;
  double ExpectedIn(const GroupOutlook& group) const;
  double Expected() const;
  void LearnFrom(const GroupOutlook& group);

  std::vector<GroupOutlook> groups_;
  Average new_in_visited_;  // articles beyond the backlog
  Average found_in_fresh_;  // articles
  Stage stage_ = Stage::kNone;
  std::size_t place_ = 0;  // of the post or lost article, from 1
  std::size_t count_ = 0;  // of them

  std::size_t group_ = 0;        // the one under way, from 0
  bool planned_ = false;         // it has numbers
  bool from_the_first_ = false;  // its walk began at its first article
  bool moving_ = false;          // since `moving_since_`
  std::uint64_t moving_since_ = 0;
  WalkNumbers plan_;                  // as planned last
  WalkNumbers walk_;                  // now
  std::uint32_t first_handled_ = 0;   // the first article done with since then
  std::uint64_t handled_before_ = 0;  // in this group, by connections that were lost
  std::uint64_t handled_ = 0;         // in the run

  Pace shown_pace_{10000};
  Pace pace_{30000};  // for what is left: not every large article is to change it
  CountDown count_down_;
};

}  // namespace quillet
