// SPDX-License-Identifier: GPL-3.0-or-later
// How fast units are done and what is left, by a clock of the test's own.
#include "base/pace.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

constexpr std::uint64_t kStart = 5000;  // no clock begins at 0

class PaceTest : public ::testing::Test {
 protected:
  PaceTest() { pace_.Restart(kStart, 0); }

  // From now on one unit after each of these pauses.
  void Units(int count, std::uint64_t pause) {
    for (int i = 0; i < count; ++i) pace_.Note(now_ += pause, ++units_);
  }
  double Shown() const { return pace_.PerSecond(now_).value_or(-1); }

  Pace pace_{10000};
  std::uint64_t now_ = kStart;
  std::uint64_t units_ = 0;
};

TEST_F(PaceTest, NothingIsKnownBeforeTheStart) {
  Pace pace(10000);
  pace.Note(1000, 5);
  pace.Note(9000, 50);
  EXPECT_EQ(pace.PerSecond(20000), std::nullopt);
}

TEST_F(PaceTest, NothingIsKnownWhileNothingIsDone) {
  EXPECT_EQ(pace_.PerSecond(kStart + 30000), std::nullopt);
  pace_.Note(kStart + 5000, 0);
  EXPECT_EQ(pace_.PerSecond(kStart + 30000), std::nullopt);
}

TEST_F(PaceTest, NothingIsKnownInTheFirstSecond) {
  Units(9, 100);
  EXPECT_EQ(pace_.PerSecond(now_ + 99), std::nullopt);
  EXPECT_NEAR(pace_.PerSecond(now_ + 100).value_or(0), 10, 0.01);
}

TEST_F(PaceTest, SteadyWorkHasItsPaceAtEveryMoment) {
  Units(40, 50);
  for (int i = 0; i < 2000; ++i) {
    Units(1, 50);
    EXPECT_NEAR(Shown(), 20, 0.01);
    EXPECT_NEAR(pace_.PerSecond(now_ + 25).value_or(0), 20, 0.1) << "between two units";
  }
}

TEST_F(PaceTest, SlowWorkHasItsPaceToo) {
  Units(2, 15000);
  for (int i = 0; i < 20; ++i) {
    Units(1, 15000);
    EXPECT_NEAR(Shown(), 1 / 15.0, 0.0001);
    EXPECT_NEAR(pace_.PerSecond(now_ + 14999).value_or(0), 1 / 15.0, 0.0001) << "not overdue yet";
  }
}

TEST_F(PaceTest, NewSpeedIsTheShownOneAfterTheWindow) {
  Units(1000, 20);
  EXPECT_NEAR(Shown(), 50, 0.1);
  Units(50, 200);
  EXPECT_NEAR(Shown(), 5, 0.2);
}

TEST_F(PaceTest, FastOnesOfLongAgoDoNotCountForSlowOnes) {
  Units(1000, 10);
  Units(8, 4000);
  EXPECT_NEAR(Shown(), 0.25, 0.001);
}

TEST_F(PaceTest, WorkThatStandsStillGetsSlowerAndIsThenUnknown) {
  Units(400, 50);
  double before = Shown();
  for (std::uint64_t lull = 1000; lull <= 120000; lull += 1000) {
    const double pace = pace_.PerSecond(now_ + lull).value_or(-1);
    EXPECT_GT(pace, 0);
    EXPECT_LT(pace, before);
    before = pace;
  }
  EXPECT_LT(before, 2);
  EXPECT_EQ(pace_.PerSecond(now_ + 120001), std::nullopt);
}

TEST_F(PaceTest, WhatWasBeforeARestartDoesNotCount) {
  Units(400, 50);
  now_ += 60000;
  pace_.Restart(now_, units_);
  EXPECT_EQ(pace_.PerSecond(now_ + 5000), std::nullopt);
  Units(4, 500);
  EXPECT_NEAR(Shown(), 2, 0.01);
}

TEST_F(PaceTest, ManyUnitsAtOneMomentAreNoDivisionByNothing) {
  pace_.Note(kStart, 100);
  EXPECT_EQ(pace_.PerSecond(kStart), std::nullopt);
  EXPECT_NEAR(pace_.PerSecond(kStart + 10000).value_or(0), 10.1, 0.01);
}

TEST(CountDownTest, FirstEstimateIsSaid) {
  CountDown count_down;
  EXPECT_EQ(count_down.Seconds(kStart, 40000), 40U);
}

TEST(CountDownTest, RunsDownEvenlyUnderEstimatesThatSwing) {
  CountDown count_down;
  std::uint64_t expected = 100;
  for (std::uint64_t now = 0; now <= 60000; now += 1000, --expected) {
    const std::uint64_t right = 100000 - now;
    const std::uint64_t swing = now / 1000 % 2 == 0 ? right / 20 : 0;
    EXPECT_NEAR(static_cast<double>(count_down.Seconds(now, right + swing)),
                static_cast<double>(expected), 6);
  }
  EXPECT_EQ(count_down.Seconds(61000, 41000), count_down.Seconds(61000, 39500));
}

TEST(CountDownTest, ErrorOfMoreThanATenthIsPutRight) {
  CountDown count_down;
  count_down.Seconds(0, 100000);
  EXPECT_EQ(count_down.Seconds(0, 109000), 100U);
  EXPECT_EQ(count_down.Seconds(0, 120000), 120U);
  EXPECT_EQ(count_down.Seconds(0, 60000), 60U);
}

TEST(CountDownTest, LastSecondsAreRight) {
  CountDown count_down;
  count_down.Seconds(0, 3000);
  EXPECT_EQ(count_down.Seconds(0, 4000), 4U);
}

TEST(CountDownTest, NothingIsLeftOnlyWhenNothingIs) {
  CountDown count_down;
  EXPECT_EQ(count_down.Seconds(0, 100), 1U);
  EXPECT_EQ(count_down.Seconds(10000, 100), 1U);
  EXPECT_EQ(count_down.Seconds(10000, 0), 0U);
}

TEST(CountDownTest, RestartForgetsWhatWasSaid) {
  CountDown count_down;
  count_down.Seconds(0, 100000);
  count_down.Restart();
  EXPECT_EQ(count_down.Seconds(0, 95000), 95U);
}

}  // namespace
}  // namespace quillet
