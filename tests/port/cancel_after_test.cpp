// SPDX-License-Identifier: GPL-3.0-or-later
// The moment at which Cancel is pressed. That the press has been handled when the operation goes on
// is tested with a dialog on a thread of its own, in fake_display_test.cpp.
#include "port/fake/cancel_after.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <utility>
#include <vector>

#include "port/fake/fake_clock.h"

namespace quillet::port {
namespace {

constexpr WindowHandle kDialog = 7;

class CancelAfterTest : public testing::Test {
 protected:
  // A progress dialog of this thread, as it is when it has just been shown.
  void ShowDialog(WindowHandle dialog = kDialog) {
    cancel_.DialogCreated(dialog);
    cancel_.DialogShown(dialog);
  }
  using Presses = std::vector<std::pair<WindowHandle, std::uint32_t>>;

  FakeClock clock_;
  ThreadQueues queues_{clock_};
  Presses presses_;
  bool can_be_pressed_ = true;
  CancelAfter cancel_{queues_, [this](WindowHandle dialog, std::uint32_t changes) {
                        presses_.emplace_back(dialog, changes);
                        return can_be_pressed_;
                      }};
};

TEST_F(CancelAfterTest, CancelIsPressedOnceAfterThatManyChanges) {
  ShowDialog();
  cancel_.Arm(2);
  cancel_.NoteChange(kDialog);
  EXPECT_TRUE(presses_.empty());
  cancel_.NoteChange(kDialog);
  EXPECT_EQ(presses_, (Presses{{kDialog, 2}}));
  cancel_.NoteChange(kDialog);
  EXPECT_EQ(presses_.size(), 1U);
}

TEST_F(CancelAfterTest, ChangesCountFromTheAnnouncementOn) {
  ShowDialog();
  cancel_.NoteChange(kDialog);
  cancel_.Arm(1);
  EXPECT_TRUE(presses_.empty());
  cancel_.Arm(2);
  cancel_.NoteChange(kDialog);
  EXPECT_TRUE(presses_.empty());
  cancel_.Arm(std::nullopt);
  cancel_.NoteChange(kDialog);
  EXPECT_TRUE(presses_.empty());
}

TEST_F(CancelAfterTest, ChangesBeforeTheDialogIsShownCount) {
  cancel_.Arm(1);
  cancel_.DialogCreated(kDialog);
  cancel_.NoteChange(kDialog);
  EXPECT_TRUE(presses_.empty());
  cancel_.DialogShown(kDialog);
  EXPECT_EQ(presses_, (Presses{{kDialog, 1}}));
}

TEST_F(CancelAfterTest, NoChangesAreAsSoonAsTheDialogIsShown) {
  cancel_.Arm(0);
  ShowDialog();
  EXPECT_EQ(presses_, (Presses{{kDialog, 0}}));
  cancel_.Arm(0);
  EXPECT_EQ(presses_.size(), 2U);
}

TEST_F(CancelAfterTest, OnlyTheDialogThatExistsIsCancelled) {
  ShowDialog();
  cancel_.DialogDestroyed(kDialog);
  cancel_.Arm(1);
  cancel_.NoteChange(kDialog);
  EXPECT_TRUE(presses_.empty());
  ShowDialog(8);
  cancel_.NoteChange(kDialog);
  cancel_.DialogDestroyed(kDialog);
  EXPECT_TRUE(presses_.empty());
  cancel_.NoteChange(8);
  EXPECT_EQ(presses_, (Presses{{8, 1}}));
}

// The dialog's thread of these tests never waits for messages: whoever waits for it does so long.
TEST_F(CancelAfterTest, NobodyWaitsForWhatWasNotPressed) {
  can_be_pressed_ = false;
  ShowDialog();
  cancel_.Arm(1);
  cancel_.NoteChange(kDialog);
  const auto start = std::chrono::steady_clock::now();
  std::thread([&] { cancel_.AwaitHandled(kDialog); }).join();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  EXPECT_EQ(presses_.size(), 1U);
}

}  // namespace
}  // namespace quillet::port
