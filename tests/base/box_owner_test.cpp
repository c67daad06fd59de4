// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/box_owner.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>

#include "base/messages.h"
#include "base/reset.h"

namespace quillet {
namespace {

class BoxOwners : public testing::Test {
 protected:
  BoxOwners() { gMainWindow = 1; }
  ~BoxOwners() override { ResetProgram(); }
};

TEST_F(BoxOwners, TheMainWindowOwnsBoxesWhileNothingStandsOverIt) {
  EXPECT_EQ(CurrentBoxOwner(), 1U);
}

TEST_F(BoxOwners, TheLastOneOwnsThemAndGivesThemBack) {
  {
    const BoxOwner dialog(2);
    EXPECT_EQ(CurrentBoxOwner(), 2U);
    {
      const BoxOwner inner(3);
      EXPECT_EQ(CurrentBoxOwner(), 3U);
    }
    EXPECT_EQ(CurrentBoxOwner(), 2U);
  }
  EXPECT_EQ(CurrentBoxOwner(), 1U);
}

TEST_F(BoxOwners, OneBelowMayGoFirst) {
  std::optional<BoxOwner> progress(2);
  std::optional<BoxOwner> dialog(3);
  progress.reset();
  EXPECT_EQ(CurrentBoxOwner(), 3U);
  dialog.reset();
  EXPECT_EQ(CurrentBoxOwner(), 1U);
}

TEST_F(BoxOwners, NeedNoMainWindow) {
  gMainWindow = 0;
  const BoxOwner dialog(2);
  EXPECT_EQ(CurrentBoxOwner(), 2U);
}

TEST_F(BoxOwners, AreAllClearedAtOnceAndThenComeAndGoAsBefore) {
  std::optional<BoxOwner> progress(2);
  std::optional<BoxOwner> dialog(3);
  ClearBoxOwners();
  EXPECT_EQ(CurrentBoxOwner(), 1U);
  const BoxOwner later(4);
  dialog.reset();
  progress.reset();
  EXPECT_EQ(CurrentBoxOwner(), 4U);
}

TEST_F(BoxOwners, ComeAndGoOnAnotherThreadMeanwhile) {
  std::atomic<bool> done = false;
  std::thread progress([&done] {
    for (int i = 0; i < 20000; ++i) const BoxOwner dialog(2);
    done = true;
  });
  bool known = true;
  while (!done) {
    const BoxOwner dialog(3);
    const port::WindowHandle owner = CurrentBoxOwner();
    known = known && (owner == 2 || owner == 3);
  }
  progress.join();
  EXPECT_TRUE(known);
  EXPECT_EQ(CurrentBoxOwner(), 1U);
}

}  // namespace
}  // namespace quillet
