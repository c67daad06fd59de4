// SPDX-License-Identifier: GPL-3.0-or-later
// Lists in forms: signs, tool tips, fingers and what a menu is asked for with.
#include "qt/form_list.h"

#include <QImage>
#include <QPointingDevice>
#include <QScrollBar>
#include <QStyleHints>
#include <QStyledItemDelegate>

#include "qt/forms.h"
#include "res/resource.h"
#include "tests/forms/ids.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::MessageKind;

class FormListTest : public DisplayTest {
 protected:
  FormListTest() {
    dialog = device->dialogs().Create(kDialogEveryKind, 0, port::DialogKind::kModal);
    device->dialogs().Show(dialog);
    OnDisplay([&] { EXPECT_TRUE(QTest::qWaitForWindowActive(&Widget())); });
    Fill(3);
  }
  void Fill(int count) {
    port::Rows rows;
    for (int i = 0; i < count; ++i) rows.rows.push_back({{u"post"}});
    device->dialogs().Write(dialog, kControlTapList, rows);
    device->dialogs().Read(dialog, kControlTapList);
    OnDisplay([] { QCoreApplication::processEvents(); });
    TakeMessages(queues);
  }
  QWidget& Widget() { return *device->display().WidgetOf(dialog); }
  FormList& List(std::uint32_t control = kControlTapList) {
    return dynamic_cast<FormList&>(*ControlOf(Widget(), control));
  }
  QPoint PlaceOf(int row) { return List().visualItemRect(List().topLevelItem(row)).center(); }

  static QPointingDevice* Screen() {
    static QPointingDevice* screen = QTest::createTouchDevice();
    return screen;
  }
  QPoint InWindow(QPoint place) { return List().viewport()->mapTo(&Widget(), place); }
  void FingerDown(QPoint place) {
    QTest::touchEvent(Widget().windowHandle(), Screen()).press(1, InWindow(place));
  }
  void FingerTo(QPoint place) {
    QTest::touchEvent(Widget().windowHandle(), Screen()).move(1, InWindow(place));
  }
  void FingerUp(QPoint place) {
    QTest::touchEvent(Widget().windowHandle(), Screen()).release(1, InWindow(place));
  }
  void Tap(QPoint place) {
    FingerDown(place);
    FingerUp(place);
  }
  static void Pause() { QTest::qWait(QApplication::doubleClickInterval() + 100); }
  Details Taken(MessageKind kind) { return OfKind(TakeMessages(queues), kind); }

  port::WindowHandle dialog = 0;
};

TEST_F(FormListTest, MarkedRowHasASignAndSaysSoToReaders) {
  device->dialogs().Write(
      dialog, kControlTapList,
      port::Rows{{{{u"Hello"}, false, true, u"441 <b>no</b>"}, {{u"World"}, false, false}}});
  device->dialogs().Read(dialog, kControlTapList);
  OnDisplay([&] {
    const QTreeWidgetItem& marked = *List().topLevelItem(0);
    const QTreeWidgetItem& plain = *List().topLevelItem(1);
    EXPECT_FALSE(marked.icon(0).isNull());
    EXPECT_TRUE(plain.icon(0).isNull());
    EXPECT_EQ(marked.data(0, Qt::AccessibleTextRole).toString(), QStringLiteral("refused: Hello"));
    EXPECT_FALSE(plain.data(0, Qt::AccessibleTextRole).isValid());
    EXPECT_EQ(marked.text(0), QStringLiteral("Hello"));
    const QString tip = List().ToolTipAt(PlaceOf(0));
    EXPECT_TRUE(tip.contains(QStringLiteral("441 &lt;b&gt;no&lt;/b&gt;"))) << tip.toStdString();
    EXPECT_TRUE(List().ToolTipAt(PlaceOf(1)).contains(QStringLiteral("World")));
    EXPECT_EQ(List().ToolTipAt({5, List().viewport()->height() - 1}), QString()) << "no row";
  });
}

// As many pixels as the screen has, in the ink of the palette.
TEST_F(FormListTest, SignIsDrawnInThePalettesColoursAtEveryScale) {
  device->dialogs().Write(dialog, kControlTapList, port::Rows{{{{u"x"}, false, true, u""}}});
  device->dialogs().Read(dialog, kControlTapList);
  OnDisplay([&] {
    const QIcon sign = List().topLevelItem(0)->icon(0);
    const auto brightest = [&] {
      const QImage drawn = sign.pixmap(QSize(16, 16), 2.0).toImage();
      EXPECT_EQ(drawn.size(), QSize(32, 32));
      int most = -1;
      for (int y = 0; y < drawn.height(); ++y) {
        for (int x = 0; x < drawn.width(); ++x) {
          const QColor pixel = drawn.pixelColor(x, y);
          if (pixel.alpha() > 200) most = std::max(most, pixel.value());
        }
      }
      return most;
    };
    const int on_light = brightest();
    EXPECT_GE(on_light, 0);
    EXPECT_LT(on_light, 100);
    const DarkPalette dark;
    EXPECT_GT(brightest(), 150);
  });
}

// Slow enough to be no double click.
TEST_F(FormListTest, FingerTapsSelectThenOpen) {
  OnDisplay([&] { Tap(PlaceOf(1)); });
  EXPECT_EQ(device->dialogs().Read(dialog, kControlTapList).choice, 1);
  EXPECT_TRUE(Taken(MessageKind::kItemActivated).empty());
  OnDisplay([&] {
    Pause();
    Tap(PlaceOf(1));
  });
  EXPECT_EQ(Taken(MessageKind::kItemActivated), (Details{{1, 0}}));
}

TEST_F(FormListTest, QuickTapsOfAFingerOpenOnce) {
  OnDisplay([&] {
    Pause();  // no second tap of what was before
    Tap(PlaceOf(1));
  });
  OnDisplay([&] { Tap(PlaceOf(1)); });
  EXPECT_EQ(Taken(MessageKind::kItemActivated), (Details{{1, 0}}));
}

TEST_F(FormListTest, FingerThatRestsAsksForTheMenuAndIsNoTap) {
  OnDisplay([&] {
    Tap(PlaceOf(1));
    Pause();
    FingerDown(PlaceOf(1));
    QTest::qWait(QGuiApplication::styleHints()->mousePressAndHoldInterval() + 100);
    FingerUp(PlaceOf(1));
  });
  const std::vector<port::Message> messages = TakeMessages(queues);
  EXPECT_EQ(OfKind(messages, MessageKind::kContextMenu), (Details{{1, 0}}));
  EXPECT_TRUE(OfKind(messages, MessageKind::kItemActivated).empty());
}

TEST_F(FormListTest, FingerThatMovesScrollsAndIsNoTap) {
  Fill(200);
  OnDisplay([&] {
    Tap(PlaceOf(0));
    Pause();
    QPoint place = List().viewport()->rect().center();
    FingerDown(place);
    for (int i = 0; i < 20; ++i) {
      QTest::qWait(10);
      place -= QPoint(0, 10);
      FingerTo(place);
    }
    QTest::qWait(QGuiApplication::styleHints()->mousePressAndHoldInterval() + 100);
    EXPECT_GT(List().verticalScrollBar()->value(), 50);
    FingerUp(place);
  });
  const std::vector<port::Message> messages = TakeMessages(queues);
  EXPECT_TRUE(OfKind(messages, MessageKind::kContextMenu).empty());
  EXPECT_TRUE(OfKind(messages, MessageKind::kItemActivated).empty());
}

TEST_F(FormListTest, PressThatEndsOnAnotherRowIsNoTap) {
  OnDisplay([&] {
    QTest::mouseClick(List().viewport(), Qt::LeftButton, Qt::NoModifier, PlaceOf(0));
    QTest::mousePress(List().viewport(), Qt::LeftButton, Qt::NoModifier, PlaceOf(0));
    QTest::mouseRelease(List().viewport(), Qt::LeftButton, Qt::NoModifier, PlaceOf(2));
  });
  EXPECT_TRUE(Taken(MessageKind::kItemActivated).empty());
}

TEST_F(FormListTest, DownGoesFromASearchFieldIntoItsList) {
  device->dialogs().Destroy(dialog);
  dialog = device->dialogs().Create(kDialogChooseRecipients, 0, port::DialogKind::kModal);
  device->dialogs().Write(dialog, kControlContactSearch, port::Focus{});
  device->dialogs().Show(dialog);
  OnDisplay([&] { EXPECT_TRUE(QTest::qWaitForWindowActive(&Widget())); });
  const auto focused = [&](std::uint32_t control) {
    return device->dialogs().Read(dialog, control).focused;
  };
  Key(Qt::Key_Down);
  EXPECT_TRUE(focused(kControlContactSearch)) << "the list is empty";
  OnDisplay([&] { QTest::keyClicks(ControlOf(Widget(), kControlContactSearch), "ann"); });
  device->dialogs().Write(dialog, kControlContacts, port::Rows{{{{u"Ann"}}, {{u"Anna"}}}});
  EXPECT_TRUE(focused(kControlContactSearch)) << "while the list is filled anew";
  Key(Qt::Key_Down);
  EXPECT_TRUE(focused(kControlContacts));
  EXPECT_EQ(device->dialogs().Read(dialog, kControlContacts).choice, 0);
  Key(Qt::Key_Space);
  EXPECT_EQ(device->dialogs().Read(dialog, kControlContacts).row_checks,
            (std::vector<bool>{true, false}));
  EXPECT_EQ(device->dialogs().Read(dialog, kControlContactSearch).text, u"ann");
}

TEST_F(FormListTest, DeleteKeyIsTold) {
  OnDisplay([&] { List().setFocus(); });
  Key(Qt::Key_Delete);
  EXPECT_EQ(Taken(MessageKind::kKeyUp), (Details{{port::kKeyDelete, 0}}));
}

TEST_F(FormListTest, BoxOverAWindowTakesTheInputOfAll) {
  device->dialogs().Destroy(dialog);
  const port::WindowHandle window =
      device->dialogs().Create(kDialogEveryKind, 0, port::DialogKind::kWindow);
  device->dialogs().Show(window);
  auto answer = std::async(std::launch::async, [this, window] {
    return device->boxes().Show(window, u"Quillet", u"Text", {port::BoxButtons::kYesNo});
  });
  ASSERT_TRUE(WaitOnDisplay([&] { return !device->boxes().OpenBoxes().empty(); }));
  OnDisplay([&] {
    QMessageBox& box = *device->boxes().OpenBoxes().front();
    EXPECT_EQ(box.windowModality(), Qt::ApplicationModal);
    EXPECT_EQ(box.parentWidget(), device->display().WidgetOf(window));
    box.button(QMessageBox::Yes)->click();
  });
  EXPECT_EQ(answer.get(), 6);
  dialog = window;
}

TEST_F(FormListTest, ARowGoesByItsOwnDirectionAndKeepsItsText) {
  const std::u16string hebrew = u"\u05E9\u05DC\u05D5\u05DD abc";
  device->dialogs().Write(dialog, kControlTapList, port::Rows{.rows = {{{hebrew}}, {{u"abc"}}}});
  device->dialogs().Read(dialog, kControlTapList);
  OnDisplay([&] {
    const auto* rows = qobject_cast<const QStyledItemDelegate*>(List().itemDelegate());
    ASSERT_NE(rows, nullptr);
    const auto drawn = [&](int row) {
      return rows->displayText(List().topLevelItem(row)->data(0, Qt::DisplayRole), QLocale());
    };
    EXPECT_EQ(drawn(0), QStringLiteral("\u2068\u05E9\u05DC\u05D5\u05DD abc\u2069"));
    EXPECT_EQ(drawn(1), QStringLiteral("abc"));
    EXPECT_EQ(List().topLevelItem(0)->text(0), QString::fromStdU16String(hebrew));
  });
}

}  // namespace
}  // namespace quillet::qt
