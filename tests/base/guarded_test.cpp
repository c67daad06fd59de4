// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/guarded.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "base/reset.h"
#include "port/fake/fake_platform.h"

namespace quillet {
namespace {

[[noreturn]] void RunOut() {
  throw std::bad_alloc();
}

class GuardedWork : public testing::Test {
 protected:
  ~GuardedWork() override { ResetProgram(); }
  std::u16string LastBox() {
    return fake_.display.boxes().empty() ? u"none" : fake_.display.boxes().back().text;
  }

  port::FakePlatform fake_;
};

TEST_F(GuardedWork, ReturnsItsResult) {
  EXPECT_EQ(Guarded(u"Here", [] { return 5; }), 5);
  EXPECT_EQ(*Guarded(u"Here", [] { return std::make_unique<int>(6); }), 6);
  EXPECT_TRUE(Guarded(u"Here", [] {}));
  EXPECT_EQ(LastBox(), u"none");
}

TEST_F(GuardedWork, RunningOutOfMemoryIsReportedAndGivesNothing) {
  EXPECT_FALSE(Guarded(u"Here", [] { RunOut(); }));
  EXPECT_EQ(LastBox(), u"An unexpected error (out of memory) occurred in Here.");
  const auto text = Guarded(u"There", []() -> std::optional<std::string> { RunOut(); });
  EXPECT_EQ(text, std::nullopt);
  EXPECT_EQ(LastBox(), u"An unexpected error (out of memory) occurred in There.");
}

TEST_F(GuardedWork, TheCriticalReportClosesTheMainWindow) {
  gMainWindow = fake_.display.CreateMainWindow({});
  EXPECT_EQ(GuardedCritically(u"Here", []() -> int* { RunOut(); }), nullptr);
  EXPECT_EQ(LastBox(), u"A critical error (out of memory) occurred in Here.");
  EXPECT_EQ(gMainWindow, 0U);
}

TEST_F(GuardedWork, OtherExceptionsPass) {
  EXPECT_THROW(Guarded(u"Here", [] { throw std::runtime_error("other"); }), std::runtime_error);
  EXPECT_EQ(LastBox(), u"none");
}

}  // namespace
}  // namespace quillet
