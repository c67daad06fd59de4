// SPDX-License-Identifier: GPL-3.0-or-later
// What the program thread notes, the progress thread reads four times a second, so that the time
// left runs down also while the program waits for the server: the figures are behind a mutex. What
// has come is counted by the groups' own counts, before and after, and so is whatever the list
// says.
#include "nntp/figures.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include "base/extensions.h"
#include "base/prefs.h"
#include "base/reset.h"
#include "base/subscriptions.h"
#include "base/upward_calls.h"
#include "nntp/download.h"
#include "nntp/run_figures.h"
#include "nntp/run_report.h"
#include "port/clock.h"
#include "port/platform.h"
#include "store/counts.h"

namespace quillet {
namespace {

// Milliseconds between two looks of the list at the counts, and of the line at a new group.
constexpr std::uint64_t kCountsPeriod = 400;
constexpr std::uint64_t kGroupsPeriod = 250;

std::mutex gFiguresMutex;
RunFigures gFigures;  // guarded by it

// Program thread only.
struct Run {
  bool told = false;  // the extension is on
  std::uint64_t began = 0;
  std::uint64_t next_counts = 0;
  std::uint64_t next_group = 0;
  std::vector<std::uint32_t> counts;  // of the groups, when it began
  RunResult result;
  std::u16string text;  // of the result
};
Run gFiguredRun;

const ResetAtEnd kReset([] {
  gFigures = {};
  gFiguredRun = {};
});

std::uint64_t Now() {
  return gPlatform->clock.Ticks();
}

std::vector<std::uint32_t> CountsOfGroups() {
  std::vector<std::uint32_t> counts;
  counts.reserve(gReadInfo.size());
  for (const auto& info : gReadInfo) counts.push_back(info->totalCount);
  return counts;
}

GroupOutlook OutlookOf(GroupIndex group) {
  GroupOutlook outlook;
  const std::size_t place = IndexOf(group);
  const std::uint32_t stored = place < gReadInfo.size() ? gReadInfo[place]->totalCount : 0;
  outlook.room = gPrefs->maxarticles - std::min(stored, gPrefs->maxarticles);
  if (const auto progress = Progress(*gPrefs, CountingServer(*gPrefs), group)) {
    const auto& [downloaded, on_server] = *progress;
    outlook.visited = on_server != 0;
    outlook.backlog = on_server - std::min(downloaded, on_server);
  }
  return outlook;
}

template <class Change>
void ChangeFigures(const Change& change) {
  if (!gFiguredRun.told) return;
  const std::lock_guard lock(gFiguresMutex);
  change(gFigures);
}

WalkNumbers NumbersOf(const GroupWalk& walk) {
  WalkNumbers numbers;
  numbers.first = walk.first;
  numbers.last = walk.last;
  numbers.existing = walk.existing;
  numbers.next = walk.have_current ? walk.wanted + 1 : walk.wanted;
  numbers.remaining = static_cast<std::uint32_t>(std::max(walk.remaining, 0));
  numbers.handled = walk.handled;
  return numbers;
}

void ShowCountsNowAndThen(std::uint64_t now) {
  if (!gFiguredRun.told || now < gFiguredRun.next_counts) return;
  gFiguredRun.next_counts = now + kCountsPeriod;
  up::ShowGroupCounts();
}

void CountNewArticles(RunResult& result) {
  const std::vector<std::uint32_t> counts = CountsOfGroups();
  const std::size_t groups = std::min(counts.size(), gFiguredRun.counts.size());
  for (std::size_t i = 0; i < groups; ++i) {
    if (counts[i] <= gFiguredRun.counts[i]) continue;
    result.articles += counts[i] - gFiguredRun.counts[i];
    ++result.groups;
  }
}

}  // namespace

ProgressFigures FiguresOfRun() {
  {
    const std::lock_guard lock(gFiguresMutex);
    gFigures = {};  // those of an earlier run
  }
  return [] {
    const std::lock_guard lock(gFiguresMutex);
    return gFigures.Line(Now());
  };
}

void BeginFigures() {
  gFiguredRun = {};
  gFiguredRun.told = ReadExtensions().progressline != 0;
  if (!gFiguredRun.told) return;
  gFiguredRun.began = Now();
  gFiguredRun.next_counts = gFiguredRun.began + kCountsPeriod;
  gFiguredRun.counts = CountsOfGroups();
  std::vector<GroupOutlook> groups;
  for (const GroupIndex group : gDownloadList) groups.push_back(OutlookOf(group));
  ChangeFigures([&](RunFigures& figures) { figures.Start(std::move(groups)); });
}

void NotePosting(std::size_t place, std::size_t count) {
  ChangeFigures([&](RunFigures& figures) { figures.Post(place, count); });
}

void NotePosted() {
  ++gFiguredRun.result.posts;
}

void NoteLostArticle(std::size_t place, std::size_t count) {
  ChangeFigures([&](RunFigures& figures) { figures.LostArticle(place, count); });
  ShowCountsNowAndThen(Now());
}

void NoteGroup(std::size_t place) {
  ChangeFigures([&](RunFigures& figures) { figures.Group(place); });
}

void NotePlan(const GroupWalk& walk) {
  if (!gFiguredRun.told) return;
  const std::uint64_t now = Now();
  ChangeFigures([&](RunFigures& figures) { figures.Plan(now, NumbersOf(walk)); });
  if (now < gFiguredRun.next_group) return;
  gFiguredRun.next_group = now + kGroupsPeriod;
  RefreshProgressFigures();
}

void NoteWalk(const GroupWalk& walk) {
  if (!gFiguredRun.told) return;
  const std::uint64_t now = Now();
  ChangeFigures([&](RunFigures& figures) { figures.Walk(now, NumbersOf(walk)); });
  ShowCountsNowAndThen(now);
}

void NoteStoreFull() {
  gFiguredRun.result.store_full = true;
}

void NotePause() {
  ChangeFigures([](RunFigures& figures) { figures.Hold(); });
}

void EndFigures(RunEnd end) {
  if (!gFiguredRun.told) return;
  NotePause();
  RefreshProgressFigures();
  up::ShowGroupCounts();
  RunResult& result = gFiguredRun.result;
  result.end = end;
  result.seconds = (Now() - gFiguredRun.began) / 1000;
  CountNewArticles(result);
  gFiguredRun.text = RunReport(result);
}

std::u16string TakeResultOfRun() {
  return std::exchange(gFiguredRun.text, {});
}

}  // namespace quillet
