// Long operations with their dialog on the real display.
#include <QApplication>
#include <QLabel>
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
  port::Platform platform{device->Services(), queues, fake.registry, fake.sockets,   fake.libraries,
                          fake.files,         clock,  fake.shell,    fake.scheduler, fake.dialler};
};

TEST_F(RunnerTest, DialogIsUpWhileTheOperationRuns) {
  const int result = RunWithProgress(u"Compacting databases", [&] {
    EXPECT_EQ(Text(kControlProgressTitle), QStringLiteral("Compacting databases"));
    OnDisplay([&] {
      EXPECT_TRUE(Dialog()->isVisible());
      EXPECT_EQ(QApplication::activeModalWidget(), Dialog());
    });
    return 42;
  });
  EXPECT_EQ(result, 42);
  EXPECT_EQ(gProgressDialog, 0u);
  EXPECT_EQ(CurrentBoxOwner(), gMainWindow);
  OnDisplay([&] { EXPECT_EQ(QApplication::activeModalWidget(), nullptr); });
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
