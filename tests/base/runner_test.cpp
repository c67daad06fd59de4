// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <thread>

#include "base/box_owner.h"
#include "base/extensions.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/reset.h"
#include "port/fake/fake_platform.h"
#include "res/resource.h"

namespace quillet {
namespace {

using Texts = std::vector<port::FakeDisplay::ProgressText>;

class Runner : public testing::Test {
 protected:
  Runner() {
    gAbortRequested = 0;
    window_ = fake_.display.CreateMainWindow({u"Quillet CE", u"title", kIconMain, {240, 294}});
    fake_.display.ShowMainWindow();
    gMainWindow = window_;
  }
  ~Runner() override {
    fake_.display.Verify();
    ResetProgram();
  }
  // Real time, bounded: what another thread does soon.
  template <class Condition>
  static bool Soon(Condition condition) {
    for (int i = 0; i < 5000 && !condition(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
  }
  port::ShownControl Control(std::uint32_t id) {
    const auto dialog = fake_.display.FindDialog(gProgressDialog);
    if (dialog) {
      for (const auto& control : dialog->controls) {
        if (control.id == id) return control;
      }
    }
    ADD_FAILURE() << "no control " << id;
    return {};
  }

  port::FakePlatform fake_;
  port::WindowHandle window_ = 0;
};

TEST_F(Runner, ReturnsTheOperationsResultUnchanged) {
  EXPECT_EQ(RunWithProgress(u"title", [] { return -1; }), -1);
  EXPECT_EQ(RunWithProgress(u"title", [] { return 42; }), 42);
}

TEST_F(Runner, OperationRunsOnTheCallingThreadUnderAShownDialog) {
  const std::thread::id self = std::this_thread::get_id();
  RunWithProgress(u"Compacting databases", [&] {
    EXPECT_EQ(std::this_thread::get_id(), self);
    EXPECT_TRUE(OperationRunning());
    const auto dialog = fake_.display.FindDialog(gProgressDialog);
    EXPECT_TRUE(dialog && dialog->shown);
    EXPECT_EQ(dialog->owner, window_);
    EXPECT_EQ(Control(kControlProgressTitle).text, u"Compacting databases");
    EXPECT_FALSE(fake_.display.TakesInput(window_));
    return 0;
  });
  EXPECT_FALSE(OperationRunning());
  EXPECT_EQ(gProgressDialog, 0U);
  EXPECT_TRUE(fake_.display.dialogs().empty());
}

TEST_F(Runner, BoxesBelongToTheDialogAndThenToTheMainWindowAgain) {
  port::WindowHandle dialog = 0;
  RunWithProgress(u"title", [&] {
    dialog = gProgressDialog;
    ShowMessage(u"inside");
    return 0;
  });
  EXPECT_EQ(fake_.display.boxes().front().owner, dialog);
  EXPECT_EQ(CurrentBoxOwner(), window_);
}

TEST_F(Runner, AbortFlagIsClearedAtTheStart) {
  RequestAbort();
  RunWithProgress(u"title", [] {
    EXPECT_FALSE(AbortRequested());
    return 0;
  });
}

TEST_F(Runner, AbortFlagIsTakenIntoAnEndThatIsStillOpen) {
  RunWithProgress(u"title", [] {
    RunEnd open = RunEnd::kGoOn;
    EXPECT_FALSE(Ended(open));
    RunEnd lost = RunEnd::kLost;
    EXPECT_TRUE(Ended(lost));
    RequestAbort();
    EXPECT_TRUE(Ended(open));
    EXPECT_EQ(open, RunEnd::kCancelled);
    EXPECT_TRUE(Ended(lost));
    EXPECT_EQ(lost, RunEnd::kLost);
    return 0;
  });
}

TEST_F(Runner, EndOfTheSessionIsNoCancel) {
  // In a process of its own: a session that ends does not come back.
  EXPECT_EXIT(
      {
        const bool before = RequestedEnd() == RunEnd::kGoOn;
        BeginSessionEnd();
        std::_Exit(before && RequestedEnd() == RunEnd::kSessionEnds ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(Runner, WhatEndedAnOperationIsReturned) {
  for (const RunEnd end : {RunEnd::kGoOn, RunEnd::kStoreFailed}) {
    EXPECT_EQ(RunWithProgress(u"title", [end] { return end; }), end);
    EXPECT_EQ(RunWithProgress(u"outer",
                              [end] { return RunWithProgress(u"inner", [end] { return end; }); }),
              end);
  }
}

TEST_F(Runner, CancelEndsAWaitForTheNetwork) {
  fake_.sockets.Stalls();
  const port::SocketHandle socket = fake_.sockets.Open();
  ASSERT_TRUE(fake_.sockets.Connect(socket, std::array{port::Ipv4(192, 0, 2, 7)}, 119));
  RunWithProgress(u"title", [&] {
    EXPECT_TRUE(fake_.display.Press(gProgressDialog, kControlCancel));
    char buffer[10];
    EXPECT_EQ(fake_.sockets.Receive(socket, buffer), -1);  // would wait for ever
    EXPECT_TRUE(AbortRequested());
    return 0;
  });
  EXPECT_EQ(fake_.sockets.interrupts(),
            std::vector<port::InterruptReason>{port::InterruptReason::kCancel});
}

TEST_F(Runner, CancelSetsTheFlagOnceHidesTheButtonAndSaysSo) {
  RunWithProgress(u"title", [&] {
    EXPECT_TRUE(fake_.display.Press(gProgressDialog, kControlCancel));
    EXPECT_TRUE(Soon([] { return AbortRequested(); }));
    EXPECT_TRUE(
        Soon([&] { return Control(kControlProgressDetail).text == u"Aborting; please wait."; }));
    EXPECT_FALSE(Control(kControlCancel).visible);
    EXPECT_FALSE(fake_.display.Press(gProgressDialog, kControlCancel));
    return 0;
  });
}

TEST_F(Runner, TenSecondsAfterCancelTheDialogVanishesAndTheOperationGoesOn) {
  const int result = RunWithProgress(u"title", [&] {
    fake_.display.Press(gProgressDialog, kControlCancel);
    EXPECT_TRUE(
        Soon([&] { return Control(kControlProgressDetail).text == u"Aborting; please wait."; }));
    // The timer is set right after that text.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    fake_.clock.Advance(9990);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_NE(gProgressDialog, 0U);
    fake_.clock.Advance(20);
    EXPECT_TRUE(Soon([] { return gProgressDialog == 0; }));
    SetProgressDetail(u"nobody sees this");
    EXPECT_TRUE(fake_.display.main_window().busy);
    EXPECT_FALSE(fake_.display.TakesInput(window_));
    EXPECT_TRUE(fake_.display.CloseMainWindow());
    return 7;
  });
  EXPECT_EQ(result, 7);
  EXPECT_EQ(CurrentBoxOwner(), window_);
  EXPECT_FALSE(fake_.display.main_window().busy);
  EXPECT_TRUE(fake_.display.injected_keys().empty()) << "the main window would go back a view";
  port::Message message;
  ASSERT_TRUE(fake_.queues.Get(message));
  EXPECT_EQ(message.kind, port::MessageKind::kClose);
}

TEST_F(Runner, ClosingTheWindowCancelsAndClosesAfterwards) {
  RunWithProgress(u"title", [&] {
    EXPECT_TRUE(fake_.display.CloseMainWindow());
    EXPECT_TRUE(Soon([] { return AbortRequested(); }));
    EXPECT_TRUE(fake_.display.CloseMainWindow()) << "again";
    return 0;
  });
  port::Message message;
  ASSERT_TRUE(fake_.queues.Get(message));
  EXPECT_EQ(message.window, window_);
  EXPECT_EQ(message.kind, port::MessageKind::kClose);
}

TEST_F(Runner, SilentKeyUpGoesToTheDialogWhileItIsUp) {
  port::WindowHandle dialog = 0;
  RunWithProgress(u"title", [&] {
    dialog = gProgressDialog;
    return 0;
  });
  ASSERT_EQ(fake_.display.injected_keys().size(), 1U);
  EXPECT_EQ(fake_.display.injected_keys()[0].key, 0x87U);
  EXPECT_EQ(fake_.display.injected_keys()[0].target, dialog);
}

TEST_F(Runner, TextsComeInOrderTitleFirst) {
  RunWithProgress(u"title", [] {
    SetProgressTitle(u"one");
    SetProgressDetail(u"two");
    return 0;
  });
  EXPECT_EQ(fake_.display.progress_texts(),
            (Texts{{1020, u"title"}, {1020, u"one"}, {1022, u"two"}}));
}

TEST_F(Runner, RangesUpTo65535AreExactAndLargerOnesAreScaled) {
  RunWithProgress(u"title", [&] {
    SetProgressRange(0);
    EXPECT_EQ(Control(kControlProgressBar).upper, 1);
    SetProgressRange(65535);
    SetProgressPosition(1234);
    EXPECT_EQ(Control(kControlProgressBar).upper, 65535);
    EXPECT_EQ(Control(kControlProgressBar).position, 1234);
    SetProgressRange(200000);
    EXPECT_EQ(Control(kControlProgressBar).upper, 65535);
    SetProgressPosition(100000);
    EXPECT_EQ(Control(kControlProgressBar).position, 32767);
    SetProgressPosition(200000);
    EXPECT_EQ(Control(kControlProgressBar).position, 65535);
    SetProgressPosition(300000);
    EXPECT_EQ(Control(kControlProgressBar).position, 65535);
    return 0;
  });
}

// --- figures ---------------------------------------------------------------------------------

// The figures are looked at on the dialog's thread, four times a second.
TEST_F(Runner, LineOfFiguresIsKeptUpToDateByTheDialogsOwnThread) {
  const std::thread::id self = std::this_thread::get_id();
  std::atomic<int> number = 1;
  const auto figures = [&]() -> std::u16string {
    EXPECT_NE(std::this_thread::get_id(), self);
    return number == 1 ? u"group 1 of 2" : u"group 2 of 2";
  };
  const auto run = [&] {
    EXPECT_TRUE(Control(kControlProgressFigures).visible);
    EXPECT_EQ(Control(kControlProgressFigures).text, u"");
    EXPECT_EQ(Control(kControlProgressFigures).accessible_name, u"Figures");
    fake_.clock.Advance(250);
    EXPECT_TRUE(Soon([&] { return Control(kControlProgressFigures).text == u"group 1 of 2"; }));
    number = 2;
    fake_.clock.Advance(249);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(Control(kControlProgressFigures).text, u"group 1 of 2") << "not more often";
    fake_.clock.Advance(1);
    EXPECT_TRUE(Soon([&] { return Control(kControlProgressFigures).text == u"group 2 of 2"; }));
    return 0;
  };
  RunWithProgress(u"title", run, figures);
  EXPECT_EQ(fake_.display.progress_texts(), (Texts{{1020, u"title"}})) << "no status change";
}

TEST_F(Runner, FiguresAreShownWithoutWaitingWhenTheOperationWantsThat) {
  RunWithProgress(
      u"title",
      [&] {
        RefreshProgressFigures();
        EXPECT_TRUE(
            Soon([&] { return Control(kControlProgressFigures).text == u"posting 1 of 2"; }));
        return 0;
      },
      [] { return std::u16string(u"posting 1 of 2"); });
  RefreshProgressFigures();  // nobody is there
}

TEST_F(Runner, OperationWithoutFiguresHasNoLineOfThem) {
  RunWithProgress(u"title", [&] {
    EXPECT_FALSE(Control(kControlProgressFigures).visible);
    RefreshProgressFigures();
    return 0;
  });
}

TEST_F(Runner, FiguresOfOneRunAreNotThoseOfTheNext) {
  RunWithProgress(
      u"one", [] { return 0; }, [] { return std::u16string(u"figures"); });
  RunWithProgress(u"two", [&] {
    EXPECT_FALSE(Control(kControlProgressFigures).visible);
    return 0;
  });
}

TEST_F(Runner, WithoutTheExtensionNothingIsAdded) {
  fake_.registry.PutDword(kExtensionsPath, u"progressline", 0);
  std::atomic<bool> asked = false;
  RunWithProgress(
      u"title",
      [&] {
        EXPECT_FALSE(Control(kControlProgressFigures).visible);
        RefreshProgressFigures();
        SetProgressRange(4, RangeCovers::kWholeOperation);
        SetProgressPosition(2);
        fake_.clock.Advance(10000);
        SetProgressPosition(3);
        EXPECT_EQ(Control(kControlProgressBar).text, u"");
        EXPECT_EQ(Control(kControlProgressBar).position, 3);
        return 0;
      },
      [&] {
        asked = true;
        return std::u16string(u"figures");
      });
  EXPECT_FALSE(asked);
}

TEST_F(Runner, BarSaysHowMuchOfItsRangeIsDone) {
  RunWithProgress(u"title", [&] {
    EXPECT_EQ(Control(kControlProgressBar).text, u"");
    SetProgressRange(350);
    EXPECT_EQ(Control(kControlProgressBar).text, u"0%");
    fake_.clock.Advance(10000);
    SetProgressPosition(120);
    EXPECT_EQ(Control(kControlProgressBar).text, u"34%") << "whatever comes after this part";
    SetProgressPosition(349);
    EXPECT_EQ(Control(kControlProgressBar).text, u"99%");
    SetProgressPosition(351);
    EXPECT_EQ(Control(kControlProgressBar).text, u"100%");
    SetProgressRange(3);
    EXPECT_EQ(Control(kControlProgressBar).text, u"0%");
    return 0;
  });
}

TEST_F(Runner, BarThatDoesNotEndWithItsWorkSaysNothing) {
  RunWithProgress(u"title", [&] {
    SetProgressRange(4);
    SetProgressPosition(1);
    EXPECT_EQ(Control(kControlProgressBar).text, u"25%");
    SetProgressRange(4, RangeCovers::kRoughly);
    EXPECT_EQ(Control(kControlProgressBar).text, u"") << "also not what it said before";
    SetProgressPosition(1);
    EXPECT_EQ(Control(kControlProgressBar).text, u"");
    EXPECT_EQ(Control(kControlProgressBar).position, 1);
    SetProgressRange(4);
    EXPECT_EQ(Control(kControlProgressBar).text, u"0%");
    return 0;
  });
}

TEST_F(Runner, BarSaysWhatIsLeftOfAWholeOperation) {
  RunWithProgress(u"title", [&] {
    SetProgressRange(200000, RangeCovers::kWholeOperation);
    for (std::uint64_t second = 1; second <= 5; ++second) {
      fake_.clock.Advance(1000);
      SetProgressPosition(second * 10000);
      if (second == 2) {
        EXPECT_EQ(Control(kControlProgressBar).text, u"10%");
      }
    }
    EXPECT_EQ(Control(kControlProgressBar).text, u"25%, 0:15 left");
    return 0;
  });
}

TEST_F(Runner, ANestedRunUsesTheDialogThatIsUp) {
  RunWithProgress(u"outer", [&] {
    const port::WindowHandle dialog = gProgressDialog;
    EXPECT_EQ(RunWithProgress(u"inner", [] { return 3; }), 3);
    EXPECT_EQ(gProgressDialog, dialog);
    EXPECT_TRUE(OperationRunning());
    return 0;
  });
}

TEST_F(Runner, WithoutADialogTheOperationRunsAllTheSame) {
  fake_.display.FailNextDialog();
  EXPECT_EQ(RunWithProgress(u"title",
                            [this] {
                              EXPECT_EQ(gProgressDialog, 0U);
                              EXPECT_TRUE(fake_.display.main_window().busy);
                              return 5;
                            }),
            5);
  EXPECT_TRUE(fake_.display.injected_keys().empty());
  EXPECT_FALSE(fake_.display.main_window().busy);
}

TEST_F(Runner, TheOperationMayTakeTheDialogDownItself) {
  RunWithProgress(u"title", [] {
    DestroyProgressDialog();
    DestroyProgressDialog();
    EXPECT_EQ(gProgressDialog, 0U);
    return 0;
  });
  EXPECT_EQ(CurrentBoxOwner(), window_);
}

TEST_F(Runner, HundredsOfRunsLeaveNothingBehind) {
  for (int i = 0; i < 300; ++i) RunWithProgress(u"title", [] { return 0; });
  EXPECT_TRUE(fake_.display.dialogs().empty());
  EXPECT_EQ(CurrentBoxOwner(), window_);
}

}  // namespace
}  // namespace quillet
