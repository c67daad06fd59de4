// SPDX-License-Identifier: GPL-3.0-or-later
// Keys as the window system tells them: by place on the keyboard, and held down.
#include "qt/key_filter.h"

#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>

#include "res/commands.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::MessageKind;

// Places of keys, by what an American layout has there.
constexpr quint32 kPlaceOf1 = 10;
constexpr quint32 kPlaceOf3 = 12;
constexpr quint32 kPlaceOf0 = 19;
constexpr quint32 kPlaceOfQ = 24;
constexpr quint32 kPlaceOfP = 33;
constexpr quint32 kPlaceOfA = 38;
constexpr quint32 kPlaceOfK = 45;
constexpr quint32 kPlaceOfSemicolon = 47;
constexpr quint32 kPlaceOfM = 58;

constexpr int kCyrillicShortI = 0x0419;
constexpr int kCyrillicZe = 0x0417;
constexpr int kCyrillicEf = 0x0424;
constexpr int kCyrillicEl = 0x041B;
constexpr int kCyrillicSoft = 0x042C;
constexpr int kCyrillicZhe = 0x0416;

class KeyFilterTest : public DisplayTest {
 protected:
  // Straight to the window, as the window system does.
  void Send(QWindow* window, QEvent::Type type, int key, Qt::KeyboardModifiers modifiers = {},
            quint32 place = 0, bool repeated = false) {
    QKeyEvent event(type, key, modifiers, place, 0, 0, QString(), repeated);
    QCoreApplication::sendEvent(window, &event);
  }
  void Press(int key, Qt::KeyboardModifiers modifiers = {}, quint32 place = 0) {
    OnDisplay([&] { Send(Main().windowHandle(), QEvent::KeyPress, key, modifiers, place); });
  }
  void Release(int key, Qt::KeyboardModifiers modifiers = {}, quint32 place = 0) {
    OnDisplay([&] { Send(Main().windowHandle(), QEvent::KeyRelease, key, modifiers, place); });
  }
  // What the key system sends for a key that is held down.
  void Repeat(int key, Qt::KeyboardModifiers modifiers = {}) {
    OnDisplay([&] {
      QWindow* window = Main().windowHandle();
      Send(window, QEvent::KeyRelease, key, modifiers, 0, true);
      Send(window, QEvent::KeyPress, key, modifiers, 0, true);
    });
  }
  Details Take(MessageKind kind) { return OfKind(TakeMessages(queues), kind); }

  // The key that a press with Control is for the program; its release must be the same.
  std::uint32_t KeyOf(int key, quint32 place, Qt::KeyboardModifiers more = {}) {
    Press(key, Qt::ControlModifier | more, place);
    Release(key, Qt::ControlModifier | more, place);
    const auto messages = TakeMessages(queues);
    const Details down = OfKind(messages, MessageKind::kKeyDown);
    if (down.empty()) return 0;
    EXPECT_EQ(OfKind(messages, MessageKind::kKeyUp), down);
    EXPECT_EQ(down[0].second, port::kModifierControl);
    return down[0].first;
  }
};

TEST_F(KeyFilterTest, DigitKeysOfAFrenchLayoutAreDigits) {
  ShowWindow();
  EXPECT_EQ(KeyOf(Qt::Key_Ampersand, kPlaceOf1), '1');
  EXPECT_EQ(KeyOf(Qt::Key_QuoteDbl, kPlaceOf3), '3');
  EXPECT_EQ(KeyOf(Qt::Key_Agrave, kPlaceOf0), '0');
  EXPECT_EQ(KeyOf(Qt::Key_1, kPlaceOf1, Qt::ShiftModifier), '1') << "and with Shift";
}

TEST_F(KeyFilterTest, LetterKeysOfACyrillicLayoutAreTheLatinOnesAtTheirPlace) {
  ShowWindow();
  EXPECT_EQ(KeyOf(kCyrillicShortI, kPlaceOfQ), 'Q');
  EXPECT_EQ(KeyOf(kCyrillicZe, kPlaceOfP), 'P');
  EXPECT_EQ(KeyOf(kCyrillicEf, kPlaceOfA), 'A');
  EXPECT_EQ(KeyOf(kCyrillicEl, kPlaceOfK), 'K');
  EXPECT_EQ(KeyOf(kCyrillicSoft, kPlaceOfM), 'M');
  EXPECT_EQ(KeyOf(kCyrillicZhe, kPlaceOfSemicolon), 0U) << "a Latin keyboard has no letter there";
}

TEST_F(KeyFilterTest, LatinLettersAreThemselvesWhereverTheyAre) {
  ShowWindow();
  EXPECT_EQ(KeyOf(Qt::Key_A, kPlaceOfQ), 'A') << "as on a French keyboard";
  EXPECT_EQ(KeyOf(Qt::Key_M, kPlaceOfSemicolon), 'M');
  EXPECT_EQ(KeyOf(Qt::Key_Comma, kPlaceOfM), 0U);
}

TEST_F(KeyFilterTest, ShiftOfALetterStays) {
  ShowWindow();
  Press(Qt::Key_M, Qt::ControlModifier | Qt::ShiftModifier, kPlaceOfM);
  EXPECT_EQ(Take(MessageKind::kKeyDown),
            (Details{{'M', port::kModifierControl | port::kModifierShift}}));
}

TEST_F(KeyFilterTest, AcceleratorByPlaceGoesNoFurther) {
  ShowWindow();
  FillRows(3);
  Press(kCyrillicEf, Qt::ControlModifier, kPlaceOfA);
  EXPECT_NE(FindAccelerator(port::kGroupTab, 'A', port::kModifierControl), 0U);
  EXPECT_EQ(device->group_list().SelectedRow(), -1);
}

TEST_F(KeyFilterTest, HeldKeyIsReleasedOnce) {
  ShowWindow();
  Press(Qt::Key_Escape);
  Repeat(Qt::Key_Escape);
  Repeat(Qt::Key_Escape);
  EXPECT_TRUE(Take(MessageKind::kKeyUp).empty());
  Release(Qt::Key_Escape);
  EXPECT_EQ(Take(MessageKind::kKeyUp), (Details{{port::kKeyEscape, 0}}));
  Press(Qt::Key_Down);
  Repeat(Qt::Key_Down);
  EXPECT_TRUE(Take(MessageKind::kKeyUp).empty());
  Release(Qt::Key_Down);
  EXPECT_EQ(Take(MessageKind::kKeyUp), (Details{{port::kKeyDown, 0}}));
}

TEST_F(KeyFilterTest, RepeatedPressesMoveOnInTheListAndRepeatAccelerators) {
  ShowWindow();
  FillRows(5);
  Press(Qt::Key_Down);
  Repeat(Qt::Key_Down);
  Repeat(Qt::Key_Down);
  EXPECT_EQ(device->group_list().SelectedRow(), 2);
  TakeMessages(queues);
  Press(Qt::Key_Right, Qt::ControlModifier);
  Repeat(Qt::Key_Right, Qt::ControlModifier);
  EXPECT_EQ(Take(MessageKind::kKeyDown).size(), 2U);
}

TEST_F(KeyFilterTest, KeyThatClosedADialogIsNotTheWindowsWhenItIsHeldDown) {
  for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return}) {
    const port::WindowHandle main = ShowWindow();
    const port::WindowHandle dialog = device->dialogs().Create(121, main, port::DialogKind::kModal);
    device->dialogs().Show(dialog);
    OnDisplay(
        [&] { Send(device->display().WidgetOf(dialog)->windowHandle(), QEvent::KeyPress, key); });
    device->dialogs().Destroy(dialog);
    TakeMessages(queues);
    Repeat(key);
    Repeat(key);
    Release(key);
    EXPECT_TRUE(Take(MessageKind::kKeyUp).empty());
    device->windows().DestroyMainWindow();
  }
}

TEST_F(KeyFilterTest, HeldEscapeClosesOneDialog) {
  const port::WindowHandle main = ShowWindow();
  const port::WindowHandle below = device->dialogs().Create(121, main, port::DialogKind::kModal);
  device->dialogs().Show(below);
  TakeMessages(queues);
  OnDisplay([&] {
    QWindow* window = device->display().WidgetOf(below)->windowHandle();
    Send(window, QEvent::KeyPress, Qt::Key_Escape, {}, 0, true);
  });
  EXPECT_TRUE(Take(MessageKind::kCommand).empty());
  OnDisplay([&] {
    QWindow* window = device->display().WidgetOf(below)->windowHandle();
    Send(window, QEvent::KeyPress, Qt::Key_Escape);
  });
  EXPECT_EQ(Take(MessageKind::kCommand), (Details{{port::kIdCancel, 0}}));
}

TEST_F(KeyFilterTest, F10OpensTheFirstMenu) {
  ShowWindow();
  FillRows(3);
  Key(Qt::Key_F10, Qt::ControlModifier);
  OnDisplay([] { EXPECT_EQ(QApplication::activePopupWidget(), nullptr); });
  Key(Qt::Key_F10);
  OnDisplay([&] {
    QMenu* file = Main().menuBar()->actions()[0]->menu();
    ASSERT_EQ(QApplication::activePopupWidget(), file);
    EXPECT_EQ(file->activeAction(), file->actions()[0]);
    file->close();
  });
}

}  // namespace
}  // namespace quillet::qt
