// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/changes.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

TEST(SeenChanges, IsUpToDateWhenItIsMade) {
  NoteChange(Change::kStore);
  EXPECT_FALSE(SeenChanges(Change::kStore).OutOfDate());
}

TEST(SeenChanges, IsOutOfDateAfterAChangeUntilBroughtUpToDate) {
  SeenChanges seen(Change::kStore);
  NoteChange(Change::kStore);
  EXPECT_TRUE(seen.OutOfDate());
  EXPECT_TRUE(seen.OutOfDate());
  seen.BringUpToDate();
  EXPECT_FALSE(seen.OutOfDate());
  NoteChange(Change::kStore);
  EXPECT_TRUE(seen.OutOfDate());
}

TEST(SeenChanges, LooksAtItsOwnKindsAlone) {
  SeenChanges seen(Change::kStore | Change::kQueuedPosts);
  NoteChange(Change::kCounts | Change::kGroupList);
  EXPECT_FALSE(seen.OutOfDate());
  NoteChange(Change::kQueuedPosts);
  EXPECT_TRUE(seen.OutOfDate());
}

TEST(SeenChanges, OneNoteMayBeOfSeveralKinds) {
  const SeenChanges store(Change::kStore);
  const SeenChanges counts(Change::kCounts);
  const SeenChanges groups(Change::kGroupList);
  NoteChange(Change::kStore | Change::kCounts);
  EXPECT_TRUE(store.OutOfDate());
  EXPECT_TRUE(counts.OutOfDate());
  EXPECT_FALSE(groups.OutOfDate());
}

TEST(SeenChanges, EachKeepsItsOwnPlace) {
  SeenChanges one(Change::kCounts);
  const SeenChanges other(Change::kCounts);
  NoteChange(Change::kCounts);
  one.BringUpToDate();
  EXPECT_FALSE(one.OutOfDate());
  EXPECT_TRUE(other.OutOfDate());
}

TEST(SeenChanges, MayBeInvalidatedWithoutAChange) {
  SeenChanges seen(Change::kGroupList);
  const SeenChanges other(Change::kGroupList);
  seen.Invalidate();
  EXPECT_TRUE(seen.OutOfDate());
  EXPECT_FALSE(other.OutOfDate());
  seen.BringUpToDate();
  EXPECT_FALSE(seen.OutOfDate());
}

}  // namespace
}  // namespace quillet
