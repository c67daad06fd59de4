// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/common/edit_watches.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace quillet::port {
namespace {

TEST(EditWatches, TellsTheWatcherOfThatDialogOnly) {
  EditWatches watches;
  watches.Add(1);
  watches.Add(2);
  int first = 0;
  int second = 0;
  watches.Watch(1, [&] { ++first; });
  watches.Watch(2, [&] { ++second; });
  watches.Tell(2);
  watches.Tell(3);
  EXPECT_EQ(first, 0);
  EXPECT_EQ(second, 1);
}

TEST(EditWatches, DialogsThatWereNotAddedHaveNone) {
  EditWatches watches;
  int told = 0;
  watches.Watch(1, [&] { ++told; });
  watches.Tell(1);
  watches.Add(1);
  watches.Tell(1);
  EXPECT_EQ(told, 0);
}

// What a watcher uses may be destroyed as soon as it has been ended.
TEST(EditWatches, NoneIsRunningAnyMoreWhenItHasEnded) {
  EditWatches watches;
  std::atomic<bool> end = false;
  std::thread user([&] {
    while (!end) watches.Tell(1);
  });
  for (int i = 0; i < 500; ++i) {
    watches.Add(1);
    auto used = std::make_unique<std::atomic<int>>(0);
    watches.Watch(1, [&counter = *used] { ++counter; });
    while (*used == 0) std::this_thread::yield();
    if (i % 2 == 0) {
      watches.Watch(1, {});
    } else {
      watches.Remove(1);
    }
    const int last = *used;
    std::this_thread::yield();
    EXPECT_EQ(*used, last);
  }
  end = true;
  user.join();
}

}  // namespace
}  // namespace quillet::port
