// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/job_queue.h"

#include <QEventLoop>
#include <atomic>
#include <thread>
#include <vector>

#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

// A queue of its own on the display thread, so that a test may close it.
class JobQueueTest : public ::testing::Test {
 protected:
  JobQueueTest() {
    gDisplayThread->Call([this] { queue = std::make_unique<JobQueue>(); });
  }
  ~JobQueueTest() override {
    gDisplayThread->Call([this] { queue.reset(); });
  }
  void CloseOnDisplay() {
    gDisplayThread->Call([this] { queue->Close(); });
  }
  std::unique_ptr<JobQueue> queue;
};

TEST_F(JobQueueTest, CallRunsOnTheDisplayThreadBeforeItReturns) {
  std::thread::id ran_on;
  EXPECT_TRUE(queue->Call([&] { ran_on = std::this_thread::get_id(); }));
  std::thread::id display;
  gDisplayThread->Call([&] { display = std::this_thread::get_id(); });
  EXPECT_EQ(ran_on, display);
  EXPECT_NE(ran_on, std::this_thread::get_id());
}

TEST_F(JobQueueTest, CallOnTheDisplayThreadRunsAtOnce) {
  bool ran = false;
  gDisplayThread->Call([&] { EXPECT_TRUE(queue->Call([&] { ran = true; })); });
  EXPECT_TRUE(ran);
}

TEST_F(JobQueueTest, JobsOfOneThreadKeepTheirOrder) {
  std::vector<int> order;
  for (int i = 0; i < 100; ++i) queue->Post([&order, i] { order.push_back(i); });
  EXPECT_TRUE(queue->Call([&] { order.push_back(100); }));
  ASSERT_EQ(order.size(), 101u);
  for (int i = 0; i <= 100; ++i) EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST_F(JobQueueTest, CallsOfManyThreadsAllRun) {
  int sum = 0;  // display thread only
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) EXPECT_TRUE(queue->Call([&] { ++sum; }));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(sum, 2000);
}

TEST_F(JobQueueTest, AfterCloseNothingRuns) {
  CloseOnDisplay();
  bool ran = false;
  EXPECT_FALSE(queue->Call([&] { ran = true; }));
  EXPECT_FALSE(queue->Post([&] { ran = true; }));
  EXPECT_FALSE(queue->CallUntilFinished([&](const auto&) { ran = true; }));
  gDisplayThread->Call([&] { EXPECT_FALSE(queue->Call([&] { ran = true; })); });
  EXPECT_FALSE(ran);
}

TEST_F(JobQueueTest, CloseReleasesACallThatHasNotBegun) {
  std::atomic<bool> waiting = false;
  std::thread caller;
  bool ran = false;
  bool called = true;
  gDisplayThread->Call([&] {
    caller = std::thread([&] {
      waiting = true;
      called = queue->Call([&] { ran = true; });
    });
    while (!waiting) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    queue->Close();  // the display thread was busy all the time: the call cannot have begun
  });
  caller.join();
  EXPECT_FALSE(called);
  EXPECT_FALSE(ran);
}

TEST_F(JobQueueTest, CloseReleasesACallThatWaitsForItsFinish) {
  std::promise<void> begun;
  std::thread caller(
      [&] { EXPECT_FALSE(queue->CallUntilFinished([&](const auto&) { begun.set_value(); })); });
  begun.get_future().wait();
  CloseOnDisplay();
  caller.join();
}

// As when the toolkit ends the process from inside a job.
TEST_F(JobQueueTest, AbandonReleasesTheCallerOfAJobThatNeverReturns) {
  std::promise<void> begun;
  std::promise<void> returned;
  std::thread caller([&] {
    EXPECT_FALSE(queue->Call([&] {
      begun.set_value();
      returned.get_future().wait();
    }));
    EXPECT_FALSE(queue->Post([] {}));
    returned.set_value();
  });
  begun.get_future().wait();
  queue->Abandon();
  caller.join();
  gDisplayThread->Call([] {});  // the job uses what is here until it returns
}

TEST_F(JobQueueTest, FinishMayComeLater) {
  std::shared_ptr<Completion> kept;
  std::promise<void> begun;
  std::atomic<bool> returned = false;
  std::thread caller([&] {
    EXPECT_TRUE(queue->CallUntilFinished([&](const std::shared_ptr<Completion>& completion) {
      kept = completion;
      begun.set_value();
    }));
    returned = true;
  });
  begun.get_future().wait();
  EXPECT_TRUE(queue->Call([] {}));  // the display goes on working meanwhile
  EXPECT_FALSE(returned);
  queue->Post([&] { kept->Finish(); });
  caller.join();
  EXPECT_TRUE(returned);
}

TEST_F(JobQueueTest, JobsRunWhileAnotherJobRunsAnEventLoop) {
  int order = 0;
  std::thread other;
  gDisplayThread->Call([&] {
    QEventLoop inner;
    other = std::thread([&] {
      queue->Call([&] { order = order * 10 + 1; });
      queue->Post([&] { inner.quit(); });
    });
    inner.exec();
    order = order * 10 + 2;
  });
  other.join();
  EXPECT_EQ(order, 12);
}

}  // namespace
}  // namespace quillet::qt
