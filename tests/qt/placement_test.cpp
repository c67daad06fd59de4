// SPDX-License-Identifier: GPL-3.0-or-later
// Where boxes and dialogs appear, and what is in front when the window below cannot be used.
#include <QApplication>
#include <QPushButton>
#include <array>

#include "qt/dialogs.h"
#include "qt/fit_screen.h"
#include "qt/forms.h"
#include "qt/message_boxes.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::BoxButtons;
using port::BoxIcon;
using port::DialogKind;
using port::WindowHandle;

// --- screens -------------------------------------------------------------------------------------

TEST(OnScreens, APlaceOnAScreenStays) {
  const std::array screens{QRect(0, 0, 800, 600)};
  EXPECT_EQ(OnScreens(QRect(100, 50, 300, 200), screens), QRect(100, 50, 300, 200));
  EXPECT_EQ(OnScreens(QRect(0, 0, 800, 600), screens), QRect(0, 0, 800, 600));
}

TEST(OnScreens, APlaceOnAScreenThatHasGoneComesToTheFirst) {
  const std::array screens{QRect(0, 20, 800, 580), QRect(800, 0, 1024, 768)};
  EXPECT_EQ(OnScreens(QRect(2000, 100, 300, 200), screens), QRect(500, 100, 300, 200));
  EXPECT_EQ(OnScreens(QRect(-5000, -5000, 300, 200), screens), QRect(0, 20, 300, 200));
  EXPECT_EQ(OnScreens(QRect(5000, 5000, 3000, 2000), screens), QRect(0, 20, 800, 580));
}

TEST(OnScreens, APlaceOverAnEdgeMovesInsideTheScreenThatHasMostOfIt) {
  const std::array screens{QRect(0, 0, 800, 600), QRect(800, 0, 1024, 768)};
  EXPECT_EQ(OnScreens(QRect(600, 10, 300, 200), screens), QRect(500, 10, 300, 200));
  EXPECT_EQ(OnScreens(QRect(700, 10, 300, 200), screens), QRect(800, 10, 300, 200));
  EXPECT_EQ(OnScreens(QRect(900, 700, 300, 200), screens), QRect(900, 568, 300, 200));
  EXPECT_EQ(OnScreens(QRect(-10, -10, 300, 200), screens), QRect(0, 0, 300, 200));
}

TEST(OnScreens, WithoutAScreenItIsAsItWas) {
  EXPECT_EQ(OnScreens(QRect(-10, -10, 300, 200), {}), QRect(-10, -10, 300, 200));
}

TEST(OnScreens, OddPlacesAreTakenToo) {
  const std::array screens{QRect(0, 0, 800, 600)};
  EXPECT_TRUE(screens[0].contains(OnScreens(QRect(0x7FFFFF00, 0x7FFFFF00, 50, 50), screens)));
  EXPECT_TRUE(screens[0].contains(OnScreens(QRect(-0x7FFFFF00, 5, 50, 50), screens)));
}

// --- boxes and dialogs ---------------------------------------------------------------------------

class PlacementTest : public DisplayTest {
 protected:
  // The main window away from the middle of the screen.
  WindowHandle ShowAside() {
    const WindowHandle main = ShowWindow(port::TabPlacement::kBottom, {400, 300});
    OnDisplay([&] {
      Main().move(250, 200);
      QCoreApplication::processEvents();
      ASSERT_NE(Main().frameGeometry().center(), Main().screen()->availableGeometry().center());
    });
    return main;
  }
  std::future<int> BoxLater(WindowHandle owner, bool topmost = false) {
    return std::async(std::launch::async, [this, owner, topmost] {
      return device->boxes().Show(owner, u"Quillet", u"Text",
                                  {BoxButtons::kOk, BoxIcon::kNone, topmost});
    });
  }
  bool WaitForBox() {
    return WaitOnDisplay([&] { return device->boxes().OpenBoxes().size() == 1; });
  }
  QMessageBox& Box() { return *device->boxes().OpenBoxes().back(); }
  void EndBox(std::future<int>& answer) {
    OnDisplay([&] { Box().reject(); });
    answer.get();
  }
  QWidget& Widget(WindowHandle window) { return *device->display().WidgetOf(window); }
  static void ExpectOver(const QWidget& dialog, const QWidget& window) {
    const QPoint off = dialog.frameGeometry().center() - window.frameGeometry().center();
    EXPECT_LE(off.manhattanLength(), 2) << off.x() << "," << off.y();
  }
};

TEST_F(PlacementTest, BoxesLieInTheMiddleOfTheMainWindow) {
  const WindowHandle main = ShowAside();
  for (const bool topmost : {false, true}) {
    // A box without an owner too: it knows where it belongs.
    for (const WindowHandle owner : {main, WindowHandle{0}}) {
      auto answer = BoxLater(owner, topmost);
      ASSERT_TRUE(WaitForBox());
      OnDisplay([&] {
        ExpectOver(Box(), Main());
        EXPECT_EQ(Box().windowHandle()->transientParent(), Main().windowHandle());
      });
      EndBox(answer);
    }
  }
}

TEST_F(PlacementTest, DialogsLieInTheMiddleAndTheirBoxesInTheirs) {
  const WindowHandle main = ShowAside();
  for (const DialogKind kind : {DialogKind::kModal, DialogKind::kProgress}) {
    const WindowHandle dialog = device->dialogs().Create(120, main, kind);
    device->dialogs().Show(dialog);
    OnDisplay([&] {
      ExpectOver(Widget(dialog), Main());
      Widget(dialog).move(20, 30);
    });
    auto answer = BoxLater(dialog);
    ASSERT_TRUE(WaitForBox());
    OnDisplay([&] {
      const QRect whole = Box().screen()->availableGeometry();
      EXPECT_TRUE(whole.contains(Box().frameGeometry()));
      const bool fits = Box().width() <= Widget(dialog).width();
      if (fits) ExpectOver(Box(), Widget(dialog));
    });
    EndBox(answer);
    device->dialogs().Destroy(dialog);
  }
}

TEST_F(PlacementTest, DialogsStayWholeOnTheScreen) {
  const WindowHandle main = ShowWindow(port::TabPlacement::kBottom, {240, 200});
  OnDisplay(
      [&] { Main().move(Main().screen()->availableGeometry().bottomRight() - QPoint(60, 60)); });
  const WindowHandle dialog = device->dialogs().Create(125, main, DialogKind::kModal);
  device->dialogs().Show(dialog);
  OnDisplay([&] {
    const QRect screen = Main().screen()->availableGeometry();
    EXPECT_TRUE(screen.contains(Widget(dialog).frameGeometry()));
  });
  device->dialogs().Destroy(dialog);
}

TEST_F(PlacementTest, SheetsLieInTheMiddle) {
  const WindowHandle main = ShowAside();
  const auto pages = std::to_array<port::SheetPage>({{144, u"Signature"}});
  const WindowHandle sheet = device->sheets().Create(u"Sheet", pages, main);
  device->dialogs().Show(sheet);
  OnDisplay([&] {
    const QRect frame = Widget(sheet).frameGeometry();
    EXPECT_TRUE(Main().screen()->availableGeometry().contains(frame));
    QRect expected = frame;
    expected.moveCenter(Main().frameGeometry().center());
    EXPECT_EQ(frame, OnScreens(expected));
  });
  device->dialogs().Destroy(sheet);
}

// --- what is in front ----------------------------------------------------------------------------

TEST_F(PlacementTest, RaisingBringsTheOpenDialogForward) {
  const WindowHandle main = ShowAside();
  for (const DialogKind kind : {DialogKind::kModal, DialogKind::kProgress}) {
    const WindowHandle dialog = device->dialogs().Create(120, main, kind);
    device->dialogs().Show(dialog);
    OnDisplay([&] {
      QWidget other;
      other.show();
      other.activateWindow();
      ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    });
    device->windows().Raise("");
    EXPECT_TRUE(WaitOnDisplay([&] { return Widget(dialog).isActiveWindow(); }));
    device->dialogs().Destroy(dialog);
  }
}

TEST_F(PlacementTest, RaisingBringsABoxForwardWhateverOwnsIt) {
  const WindowHandle main = ShowAside();
  for (const WindowHandle owner : {main, WindowHandle{0}}) {
    auto answer = BoxLater(owner);
    ASSERT_TRUE(WaitForBox());
    OnDisplay([&] { Main().activateWindow(); });
    device->windows().Raise("");
    EXPECT_TRUE(WaitOnDisplay([&] { return Box().isActiveWindow(); }));
    EndBox(answer);
  }
}

TEST_F(PlacementTest, AMinimizedWindowComesBackWithItsDialog) {
  const WindowHandle main = ShowAside();
  const WindowHandle dialog = device->dialogs().Create(121, main, DialogKind::kModal);
  device->dialogs().Show(dialog);
  OnDisplay([&] { Main().showMinimized(); });
  device->windows().Raise("");
  EXPECT_TRUE(
      WaitOnDisplay([&] { return !Main().isMinimized() && Widget(dialog).isActiveWindow(); }));
}

TEST_F(PlacementTest, TheMainWindowHasTheKeyboardAfterALongOperation) {
  const WindowHandle main = ShowAside();
  FillRows(3);
  OnDisplay([&] { List().setFocus(); });
  const WindowHandle dialog = device->dialogs().Create(120, main, DialogKind::kProgress);
  device->dialogs().Show(dialog);
  OnDisplay([&] {
    Widget(dialog).activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&Widget(dialog)));
  });
  device->dialogs().Destroy(dialog);
  EXPECT_TRUE(WaitOnDisplay([&] { return Main().isActiveWindow() && List().hasFocus(); }));
  TakeMessages(queues);
  Key(Qt::Key_Down);
  EXPECT_EQ(device->group_list().SelectedRow(), 0);
}

TEST_F(PlacementTest, AnEditorThatTheUserWritesInKeepsTheKeyboardAfterALongOperation) {
  const WindowHandle main = ShowAside();
  const WindowHandle editor = device->dialogs().Create(128, 0, DialogKind::kWindow);
  device->dialogs().Show(editor);
  const WindowHandle dialog = device->dialogs().Create(120, main, DialogKind::kProgress);
  device->dialogs().Show(dialog);
  OnDisplay([&] {
    Widget(editor).activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&Widget(editor)));
  });
  device->dialogs().Destroy(dialog);
  OnDisplay([&] {
    QCoreApplication::processEvents();
    EXPECT_TRUE(Widget(editor).isActiveWindow());
  });
}

}  // namespace
}  // namespace quillet::qt
