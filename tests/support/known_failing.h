// SPDX-License-Identifier: GPL-3.0-or-later
// A mark for tests that land before their cure. The test runs, the failures of its assertions are
// expected and told with the reason; that it passes is an error, so that the mark goes with the
// cure.
//
//   TEST(Chains, AKillLeavesNoRecordBehind) {
//     KNOWN_FAILING("a kill between two writes leaves a record on no chain");
//     ...
//   }
//
// It holds from its line to the end of the block, for assertions on every thread. What fails later
// (TearDown, mocks of the fixture), an exception and a crash stay failures.
#pragma once

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <utility>

namespace quillet::test {

class KnownFailing {
 public:
  explicit KnownFailing(std::string reason) : reason_(std::move(reason)) {
    using Collector = testing::ScopedFakeTestPartResultReporter;
    collector_ = std::make_unique<Collector>(Collector::INTERCEPT_ALL_THREADS, &results_);
  }
  KnownFailing(const KnownFailing&) = delete;
  KnownFailing& operator=(const KnownFailing&) = delete;

  ~KnownFailing() {
    collector_.reset();
    if (std::uncaught_exceptions() > exceptions_) return;  // a failure of its own
    int failures = 0;
    for (int i = 0; i < results_.size(); ++i) {
      failures += results_.GetTestPartResult(i).failed() ? 1 : 0;
    }
    if (failures == 0) {
      ADD_FAILURE() << "It passes: take the mark away that says \"" << reason_ << "\".";
    } else {
      std::printf("[    KNOWN ] %d failed: %s\n", failures, reason_.c_str());
    }
  }

 private:
  std::string reason_;
  int exceptions_ = std::uncaught_exceptions();
  testing::TestPartResultArray results_;
  std::unique_ptr<testing::ScopedFakeTestPartResultReporter> collector_;
};

}  // namespace quillet::test

#define KNOWN_FAILING(reason) const quillet::test::KnownFailing known_failing(reason)
