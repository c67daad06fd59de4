// SPDX-License-Identifier: GPL-3.0-or-later
// Three things bound what a group can still give: how many are to be got, how many numbers are
// left, and how many articles the server says that it has. Numbers without an article, and articles
// that do not count, are expected to go on as they came so far.
#include "nntp/run_figures.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/progress_text.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr std::uint64_t kTimeIsKnownAfter = 3000;  // milliseconds

std::uint64_t NumbersLeft(const WalkNumbers& walk) {
  return walk.next <= walk.last ? std::uint64_t{walk.last} - walk.next + 1 : 0;
}

void AddFigure(std::u16string& line, const std::optional<std::u16string>& figure) {
  if (figure) line += u", " + *figure;
}

}  // namespace

void RunFigures::Start(std::vector<GroupOutlook> groups) {
  *this = RunFigures();
  groups_ = std::move(groups);
}

void RunFigures::Post(std::size_t place, std::size_t count) {
  stage_ = Stage::kPost;
  place_ = place;
  count_ = count;
}

void RunFigures::LostArticle(std::size_t place, std::size_t count) {
  Post(place, count);
  stage_ = Stage::kLostArticle;
}

void RunFigures::Group(std::size_t place) {
  stage_ = Stage::kGroup;
  if (planned_ && place == group_) {
    handled_before_ += walk_.handled;
  } else {
    planned_ = false;
    handled_before_ = 0;
  }
  group_ = place;
  walk_.handled = 0;
}

void RunFigures::Plan(std::uint64_t now, const WalkNumbers& walk) {
  const bool goes_on = planned_ && walk.first == plan_.first;
  from_the_first_ = goes_on ? from_the_first_ : !planned_ && walk.next == walk.first;
  plan_ = walk_ = walk;
  if (!std::exchange(planned_, true) && group_ < groups_.size()) LearnFrom(groups_[group_]);
  if (std::exchange(moving_, true)) return;
  moving_since_ = now;
  shown_pace_.Restart(now, handled_);
  pace_.Restart(now, handled_);
  count_down_.Restart();
}

// Also what there is no room for here: others may have it.
void RunFigures::LearnFrom(const GroupOutlook& group) {
  const auto found = static_cast<double>(AtMostExisting());
  Average& average = group.visited ? new_in_visited_ : found_in_fresh_;
  average.sum += std::max(found - (group.visited ? group.backlog : 0), 0.0);
  average.groups += 1;
}

void RunFigures::Walk(std::uint64_t now, const WalkNumbers& walk) {
  handled_ += walk.handled - std::min(walk_.handled, walk.handled);
  if (walk_.handled == 0 && walk.handled > 0) first_handled_ = walk.next - 1;
  walk_ = walk;
  shown_pace_.Note(now, handled_);
  pace_.Note(now, handled_);
}

void RunFigures::Hold() {
  moving_ = false;
}

std::uint64_t RunFigures::HandledInGroup() const {
  return handled_before_ + walk_.handled;
}

// Servers estimate; one that has more than it said is not believed any longer.
std::uint64_t RunFigures::AtMostExisting() const {
  const std::uint64_t numbers = NumbersLeft(walk_);
  if (plan_.existing <= HandledInGroup()) return numbers;
  return std::min(numbers, plan_.existing - (from_the_first_ ? HandledInGroup() : 0));
}

std::uint64_t RunFigures::MostInGroup() const {
  return std::min<std::uint64_t>(walk_.remaining, AtMostExisting());
}

double RunFigures::ExpectedInGroup() const {
  const double handled = walk_.handled;
  const auto most = static_cast<double>(AtMostExisting());
  const double counted = plan_.remaining - std::min(walk_.remaining, plan_.remaining);
  const double until_enough = walk_.remaining * (counted > 0 ? handled / counted : 1);
  const double passed = walk_.next - std::min(first_handled_, walk_.next);
  const double density = handled > 0 && passed > 0 ? std::min(handled / passed, 1.0) : 1;
  const double numbers = static_cast<double>(NumbersLeft(walk_)) * density;
  const std::uint64_t span = std::uint64_t{plan_.last} - std::min(plan_.first, plan_.last) + 1;
  // Fewer than there are numbers: the server has counted them.
  const bool is_counted =
      from_the_first_ && plan_.existing < span && plan_.existing > HandledInGroup();
  return std::min(until_enough, is_counted ? most : std::min(most, numbers));
}

double RunFigures::ExpectedIn(const GroupOutlook& group) const {
  const double room = group.room;
  const Average& average = group.visited ? new_in_visited_ : found_in_fresh_;
  if (average.groups == 0) return group.visited ? std::min<double>(group.backlog, room) : room;
  return std::min(room, (group.visited ? group.backlog : 0) + average.sum / average.groups);
}

double RunFigures::Expected() const {
  double articles = 0;
  if (planned_) {
    articles = ExpectedInGroup();
  } else if (group_ < groups_.size()) {
    articles = ExpectedIn(groups_[group_]);
  }
  for (std::size_t i = group_ + 1; i < groups_.size(); ++i) articles += ExpectedIn(groups_[i]);
  return articles;
}

std::u16string RunFigures::Line(std::uint64_t now) {
  switch (stage_) {
    case Stage::kPost:
      return FormatWide(u"posting %lu of %lu", place_, count_);
    case Stage::kLostArticle:
      return FormatWide(u"lost article %lu of %lu", place_, count_);
    case Stage::kGroup:
      return GroupLine(now);
    case Stage::kNone:
      break;
  }
  return {};
}

std::u16string RunFigures::GroupLine(std::uint64_t now) {
  std::u16string line = FormatWide(u"group %lu of %lu", group_ + 1, groups_.size());
  const std::uint64_t done = HandledInGroup();
  const std::uint64_t all = done + MostInGroup();
  if (planned_ && all > 0) line += FormatWide(u", article %lu of %lu", done, all);
  if (!moving_) return line;
  if (const auto pace = shown_pace_.PerSecond(now)) AddFigure(line, ArticlePaceText(*pace));
  const auto pace = pace_.PerSecond(now);
  if (!pace || now < moving_since_ + kTimeIsKnownAfter) return line;
  const double left = std::ceil(Expected() * 1000 / *pace);
  AddFigure(line, TimeLeftText(count_down_.Seconds(now, static_cast<std::uint64_t>(left))));
  return line;
}

}  // namespace quillet
