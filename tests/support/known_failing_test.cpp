// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/known_failing.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace {

TEST(KnownFailingTest, FailuresAreExpected) {
  KNOWN_FAILING("two of these are wrong");
  EXPECT_EQ(1, 2);
  ASSERT_TRUE(false);
  FAIL() << "not reached";
}

TEST(KnownFailingTest, FailuresOfOtherThreadsAreExpected) {
  KNOWN_FAILING("a thread fails");
  std::thread([] { EXPECT_EQ(1, 2); }).join();
}

void Pass() {
  KNOWN_FAILING("what was cured");
  EXPECT_EQ(1, 1);
}

TEST(KnownFailingTest, ThatItPassesIsAnErrorThatNamesTheReason) {
  EXPECT_NONFATAL_FAILURE_ON_ALL_THREADS(Pass(), "what was cured");
}

void FailAfterTheBlock() {
  {
    KNOWN_FAILING("within");
    ADD_FAILURE();
  }
  ADD_FAILURE() << "behind";
}

TEST(KnownFailingTest, WhatFailsBehindTheBlockStaysAFailure) {
  EXPECT_NONFATAL_FAILURE_ON_ALL_THREADS(FailAfterTheBlock(), "behind");
}

TEST(KnownFailingTest, AnExceptionGoesOn) {
  const auto fail = [] {
    KNOWN_FAILING("it throws");
    throw std::runtime_error("something else");
  };
  EXPECT_THROW(fail(), std::runtime_error);
}

}  // namespace
