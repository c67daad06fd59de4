// SPDX-License-Identifier: GPL-3.0-or-later
// Long operations with their dialog on the real display.
#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>

#include <algorithm>

#include "base/box_owner.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/reset.h"
#include "port/fake/fake_platform.h"
#include "qt/forms.h"
#include "res/resource.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

class RunnerTest : public DisplayTest {
 protected:
  RunnerTest() {
    gPlatform = &platform;
    gMainWindow = ShowWindow();
  }
  ~RunnerTest() override {
    ResetProgram();
    gPlatform = &fake.platform;
  }
  QWidget* Dialog() { return device->display().WidgetOf(gProgressDialog); }
  QString Text(std::uint32_t control) {
    QString text;
    OnDisplay([&] { text = qobject_cast<QLabel*>(ControlOf(*Dialog(), control))->text(); });
    return text;
  }
  void PressCancel() {
    OnDisplay([&] { qobject_cast<QPushButton*>(ControlOf(*Dialog(), kControlCancel))->click(); });
  }

  port::FakePlatform fake;
  port::Platform platform{device->Services(), queues,       fake.registry, fake.sockets,
                          fake.libraries,     fake.files,   clock,         fake.shell,
                          fake.scheduler,     fake.dialler, fake.mail,     fake.contacts,
                          fake.security,      fake.secrets};
};

TEST_F(RunnerTest, DialogIsUpWhileTheOperationRuns) {
  const int result = RunWithProgress(u"Compacting databases", [&] {
    EXPECT_EQ(Text(kControlProgressTitle), QStringLiteral("Compacting databases"));
    OnDisplay([&] {
      EXPECT_TRUE(Dialog()->isVisible());
      EXPECT_EQ(Main().Blocker(), Dialog());
    });
    return 42;
  });
  EXPECT_EQ(result, 42);
  EXPECT_EQ(gProgressDialog, 0u);
  EXPECT_EQ(CurrentBoxOwner(), gMainWindow);
  OnDisplay([&] { EXPECT_EQ(Main().Blocker(), nullptr); });
}

// What a user does with the main window: a click on a tab, an accelerator, a step in the list.
void UseMain(MainWindow& main) {
  QWindow* window = main.windowHandle();
  ImageTabBar& bar = main.Tabs()->Bar();
  const QPoint tab = bar.mapTo(&main, bar.tabRect(1).center());
  QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, tab);
  QTest::keyClick(window, Qt::Key_A, Qt::ControlModifier);
  QTest::keyClick(window, Qt::Key_F10);
  QTest::keyClick(window, Qt::Key_Down);
}

TEST_F(RunnerTest, TheWindowBelowTakesNothingButItsCloseButton) {
  FillRows(3);
  RunWithProgress(u"Marking", [&] {
    OnDisplay([&] {
      UseMain(Main());
      EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
      EXPECT_TRUE(Main().menuBar()->isEnabled()) << "a short operation makes nothing flicker";
    });
    EXPECT_EQ(device->group_list().SelectedRow(), -1);
    EXPECT_EQ(device->windows().SelectedTab(), port::kGroupTab);
    EXPECT_FALSE(AbortRequested());
    OnDisplay([&] { Main().close(); });
    EXPECT_TRUE(WaitOnDisplay([] { return AbortRequested(); }));
    return 0;
  });
  const auto messages = TakeMessages(queues);
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0].kind, port::MessageKind::kClose);
  EXPECT_EQ(messages[0].window, gMainWindow);
  OnDisplay([&] { UseMain(Main()); });
  EXPECT_FALSE(TakeMessages(queues).empty());
}

TEST_F(RunnerTest, ClickOnTheWindowBelowBringsTheDialogForward) {
  RunWithProgress(u"Marking", [&] {
    OnDisplay([&] {
      Main().activateWindow();
      EXPECT_TRUE(QTest::qWaitForWindowActive(Dialog()));
    });
    return 0;
  });
}

TEST_F(RunnerTest, OpenMenuIsClosedByAnOperation) {
  OnDisplay([&] {
    Main().menuBar()->actions()[0]->menu()->popup(Main().mapToGlobal(QPoint(5, 25)));
    ASSERT_NE(QApplication::activePopupWidget(), nullptr);
  });
  RunWithProgress(u"Marking", [&] {
    OnDisplay([] { EXPECT_EQ(QApplication::activePopupWidget(), nullptr); });
    return 0;
  });
}

TEST_F(RunnerTest, WindowWhoseDialogHasGoneIsGreyUntilTheEnd) {
  FillRows(3);
  OnDisplay([&] { List().setFocus(); });
  RunWithProgress(u"Marking", [&] {
    PressCancel();
    EXPECT_TRUE(WaitOnDisplay([] { return AbortRequested(); }));
    queues.Post({gProgressDialog, port::MessageKind::kTimer, 1, 0, {}});  // ten seconds later
    EXPECT_TRUE(WaitOnDisplay([] { return gProgressDialog == 0; }));
    OnDisplay([&] {
      EXPECT_FALSE(Main().menuBar()->isEnabled());
      EXPECT_FALSE(List().isEnabled());
      EXPECT_EQ(Main().cursor().shape(), Qt::WaitCursor);
      EXPECT_TRUE(Main().isEnabled()) << "its frame is its own";
      UseMain(Main());
      Main().close();
    });
    return 0;
  });
  const auto messages = TakeMessages(queues);
  ASSERT_EQ(messages.size(), 1U) << "and no key that goes back a view";
  EXPECT_EQ(messages[0].kind, port::MessageKind::kClose);
  OnDisplay([&] {
    EXPECT_TRUE(Main().menuBar()->isEnabled());
    EXPECT_EQ(Main().focusWidget(), &List());
    EXPECT_EQ(Main().cursor().shape(), Qt::ArrowCursor);
  });
}

TEST_F(RunnerTest, BoxOutlastsTheDialogThatTheTimerTakes) {
  RunWithProgress(u"Marking", [&] {
    auto answer = std::async(std::launch::async, [&] { return AskYesNo(u"Go on?"); });
    EXPECT_TRUE(WaitOnDisplay([&] { return device->boxes().OpenBoxes().size() == 1; }));
    const port::WindowHandle dialog = gProgressDialog;
    queues.Post({dialog, port::MessageKind::kTimer, 1, 0, {}});
    EXPECT_TRUE(WaitOnDisplay([] { return gProgressDialog == 0; }));
    OnDisplay([&] {
      EXPECT_EQ(device->display().WidgetOf(dialog), nullptr);
      EXPECT_EQ(device->boxes().OpenBoxes().size(), 1U);
      QMessageBox* box = device->boxes().OpenBoxes()[0];
      EXPECT_EQ(box->parentWidget(), &Main());
      EXPECT_EQ(box->windowModality(), Qt::WindowModal);
      EXPECT_TRUE(QTest::qWaitForWindowExposed(box));
      box->button(QMessageBox::Yes)->click();
    });
    EXPECT_TRUE(answer.get());
    return 1;
  });
}

TEST_F(RunnerTest, CancelAnswersWhileTheProgramIsBusy) {
  RunWithProgress(u"Marking", [&] {
    PressCancel();
    EXPECT_TRUE(WaitOnDisplay([&] {
      return qobject_cast<QLabel*>(ControlOf(*Dialog(), kControlProgressDetail))->text() ==
             QStringLiteral("Aborting; please wait.");
    }));
    EXPECT_TRUE(AbortRequested());
    OnDisplay([&] { EXPECT_FALSE(ControlOf(*Dialog(), kControlCancel)->isVisible()); });
    return 0;
  });
  EXPECT_EQ(gProgressDialog, 0u);
}

TEST_F(RunnerTest, FiguresRunOnWhileTheProgramIsBusyAndNothingMoves) {
  std::atomic<int> looks = 0;
  const auto figures = [&] {
    return ++looks % 2 == 0 ? std::u16string(u"group 1 of 2, article 9 of 10, 0:09 left")
                            : std::u16string(u"group 1 of 2, article 10 of 10, 0:10 left");
  };
  const auto places = [&] {
    std::vector<QRect> all;
    OnDisplay([&] {
      QCoreApplication::processEvents();
      all.push_back(Dialog()->geometry());
      for (const std::uint32_t id : {2, 1004, 1020, 1022, 1230}) {
        all.push_back(ControlOf(*Dialog(), id)->geometry());
      }
    });
    return all;
  };
  const auto run = [&] {
    const std::vector<QRect> before = places();
    SetProgressRange(10);
    SetProgressPosition(9);
    EXPECT_TRUE(WaitOnDisplay([&] { return looks >= 2; }));
    EXPECT_TRUE(Text(kControlProgressFigures).startsWith(QStringLiteral("group 1 of 2")));
    EXPECT_EQ(places(), before);
    PressCancel();
    EXPECT_TRUE(WaitOnDisplay([] { return AbortRequested(); }));
    EXPECT_TRUE(WaitOnDisplay([&] { return !ControlOf(*Dialog(), kControlCancel)->isVisible(); }));
    EXPECT_EQ(places(), before);
    return 0;
  };
  RunWithProgress(u"Preparing to download...", run, figures);
}

TEST_F(RunnerTest, BoxOfTheOperationStandsOverTheDialog) {
  RunWithProgress(u"Marking", [&] {
    const port::WindowHandle owner = CurrentBoxOwner();
    EXPECT_EQ(owner, gProgressDialog);
    auto answer = std::async(std::launch::async, [&] { return AskYesNo(u"Go on?"); });
    EXPECT_TRUE(WaitOnDisplay([&] { return device->boxes().OpenBoxes().size() == 1; }));
    OnDisplay([&] {
      QMessageBox* box = device->boxes().OpenBoxes()[0];
      EXPECT_EQ(box->parentWidget(), Dialog());
      box->button(QMessageBox::Yes)->click();
    });
    EXPECT_TRUE(answer.get());
    return 1;
  });
}

TEST_F(RunnerTest, SilentKeyOfTheEndIsIgnoredByTheMainWindow) {
  RunWithProgress(u"Marking", [] { return 1; });
  EXPECT_TRUE(OfKind(TakeMessages(queues), port::MessageKind::kKeyUp).empty());
}

TEST_F(RunnerTest, EmptyOperationHasNoPollingDelay) {
  std::vector<double> milliseconds;
  for (int i = 0; i < 21; ++i) {
    const auto start = std::chrono::steady_clock::now();
    RunWithProgress(u"Marking", [] { return 1; });
    milliseconds.push_back(
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
            .count());
  }
  std::sort(milliseconds.begin(), milliseconds.end());
  EXPECT_LT(milliseconds[10], 50.0);  // far below one poll of 100 ms, also with sanitizers
}

}  // namespace
}  // namespace quillet::qt
