// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "port/common/thread_queues.h"

namespace quillet::port {
namespace {

class HandClock final : public Clock {
 public:
  CalendarTime LocalTime() override { return {}; }
  std::optional<CalendarTime> LocalTimeOf(std::int64_t) override { return std::nullopt; }
  CalendarTime UtcTime() override { return {}; }
  std::uint64_t Ticks() override { return ticks; }
  void Sleep(std::uint32_t milliseconds) override { ticks += milliseconds; }
  std::atomic<std::uint64_t> ticks = 0;
};

TEST(ThreadQueues, MessagesComeInOrderToTheOwnersThread) {
  HandClock clock;
  ThreadQueues queues(clock);
  const WindowHandle window = queues.AddWindow();
  std::thread([&] {
    queues.Post({window, MessageKind::kCommand, 1, 0, {}});
    queues.Post({window, MessageKind::kCommand, 2, 0, {}});
  }).join();
  Message message;
  ASSERT_TRUE(queues.Get(message));
  EXPECT_EQ(message.id, 1U);
  ASSERT_TRUE(queues.Get(message));
  EXPECT_EQ(message.id, 2U);
}

TEST(ThreadQueues, QuitEndsGetWithItsCode) {
  HandClock clock;
  ThreadQueues queues(clock);
  queues.PostQuit(7);
  Message message;
  EXPECT_FALSE(queues.Get(message));
  EXPECT_EQ(message.id, 7U);
}

TEST(ThreadQueues, MessagesToARemovedWindowAreDropped) {
  HandClock clock;
  ThreadQueues queues(clock);
  const WindowHandle gone = queues.AddWindow();
  const WindowHandle stays = queues.AddWindow();
  queues.Post({gone, MessageKind::kCommand, 1, 0, {}});
  queues.Post({stays, MessageKind::kCommand, 2, 0, {}});
  queues.RemoveWindow(gone);
  queues.Post({gone, MessageKind::kCommand, 3, 0, {}});
  Message message;
  ASSERT_TRUE(queues.Get(message));
  EXPECT_EQ(message.window, stays);
  EXPECT_FALSE(queues.Exists(gone));
}

TEST(ThreadQueues, TimerFiresWhenTheClockReachesIt) {
  HandClock clock;
  ThreadQueues queues(clock);
  const WindowHandle window = queues.AddWindow();
  queues.SetTimer(window, 5, 10000);
  clock.ticks = 9999;
  queues.Post({window, MessageKind::kCommand, 1, 0, {}});
  Message message;
  ASSERT_TRUE(queues.Get(message));
  EXPECT_EQ(message.kind, MessageKind::kCommand);
  clock.ticks = 10000;
  ASSERT_TRUE(queues.Get(message));
  EXPECT_EQ(message.kind, MessageKind::kTimer);
  EXPECT_EQ(message.id, 5U);
}

TEST(ThreadQueues, ACallRunsOnTheThreadItWasMeantFor) {
  HandClock clock;
  ThreadQueues queues(clock);
  std::thread::id ran_on;
  std::thread worker([&] {
    Message message;
    while (queues.Get(message)) {
    }
  });
  const std::thread::id worker_id = worker.get_id();
  queues.PostCall(worker_id, [&] {
    ran_on = std::this_thread::get_id();
    queues.PostQuit(0);
  });
  worker.join();
  EXPECT_EQ(ran_on, worker_id);
}

TEST(ThreadQueues, IdleOnlyWhileWaitingWithNothingToDo) {
  HandClock clock;
  ThreadQueues queues(clock);
  EXPECT_FALSE(queues.WaitIdle(std::this_thread::get_id(), 10));
  std::thread worker([&] {
    Message message;
    while (queues.Get(message)) {
    }
  });
  EXPECT_TRUE(queues.WaitIdle(worker.get_id(), 5000));
  queues.PostCall(worker.get_id(), [&] { queues.PostQuit(0); });
  worker.join();
}

}  // namespace
}  // namespace quillet::port
