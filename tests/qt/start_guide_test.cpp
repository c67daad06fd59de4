// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/start_guide.h"

#include <QAccessible>
#include <QApplication>
#include <QScrollBar>
#include <array>

#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::MessageKind;

const std::vector<port::GuideStep> kSteps = {{u"1. Tell Quillet your news server", 40061, true},
                                             {u"2. Add a newsgroup", 40020, false},
                                             {u"3. Connect", 40008, false}};

// The share of grey levels that a grabbed widget has between its ground and its text.
double ContrastShown(StepLink& link) {
  const QImage image = link.grab().toImage();
  int darkest = 255;
  int lightest = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      const int grey = qGray(image.pixel(x, y));
      darkest = std::min(darkest, grey);
      lightest = std::max(lightest, grey);
    }
  }
  return lightest - darkest;
}

class StartGuideTest : public DisplayTest {
 protected:
  StartGuide& Guide() { return *Main().Guide(); }
  StepLink& Link(std::size_t step) { return *Guide().Links().at(step); }
  void ShowSteps() { device->group_list().SetGuide(kSteps); }
  std::vector<std::uint32_t> Commands() {
    std::vector<std::uint32_t> commands;
    for (const auto& [id, detail] : OfKind(TakeMessages(queues), MessageKind::kCommand)) {
      commands.push_back(id);
    }
    return commands;
  }
  // In the coordinates of the group pane. Display thread.
  QRect Place() { return Guide().geometry(); }
  int EndOfRows() {
    const int last = List().model()->rowCount() - 1;
    const int bottom = last < 0 ? -1 : List().visualRect(List().model()->index(last, 0)).bottom();
    return List().viewport()->mapTo(Guide().parentWidget(), QPoint(0, bottom)).y();
  }
  // Whole, and with whole texts, once scrolled to. Display thread.
  void ExpectWholeTexts() {
    for (std::size_t i = 0; i < kSteps.size(); ++i) {
      StepLink& link = Link(i);
      Guide().ensureWidgetVisible(&link, 0, 0);
      QCoreApplication::processEvents();
      const QRect text = link.TextRect();
      EXPECT_TRUE(link.rect().contains(text)) << i;
      EXPECT_GE(link.height(), link.heightForWidth(link.width())) << i;
      const QRect there(link.mapTo(Guide().viewport(), text.topLeft()), text.size());
      EXPECT_GE(there.left(), 0) << i;
      EXPECT_LE(there.right(), Guide().viewport()->width()) << i;
    }
  }
};

TEST_F(StartGuideTest, LinksAreReachedByTabAndFollowedByReturnAndSpace) {
  ShowWindow();
  ShowSteps();
  TakeMessages(queues);
  for (std::size_t i = 0; i < kSteps.size(); ++i) {
    Key(Qt::Key_Tab);
    OnDisplay([&] { EXPECT_TRUE(Link(i).hasFocus()) << i; });
    Key(i == 1 ? Qt::Key_Space : Qt::Key_Return);
    EXPECT_EQ(Commands(), std::vector{kSteps[i].command});
  }
  Key(Qt::Key_Enter);
  EXPECT_EQ(Commands(), std::vector<std::uint32_t>{40008});
  for (int i = 0; i < 3; ++i) Key(Qt::Key_Backtab);
  OnDisplay([&] { EXPECT_TRUE(List().hasFocus()); });
}

TEST_F(StartGuideTest, KeyHeldDownAndDoubleClickFollowOnce) {
  ShowWindow();
  ShowSteps();
  Key(Qt::Key_Tab);
  TakeMessages(queues);
  OnDisplay([&] {
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QApplication::sendEvent(&Link(0), &press);
    QKeyEvent again(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, {}, true);
    QApplication::sendEvent(&Link(0), &again);
  });
  EXPECT_EQ(Commands(), std::vector<std::uint32_t>{40061});
  // As two quick clicks come from the window system.
  OnDisplay([&] {
    const QPoint place = Link(1).TextRect().center();
    QTest::mouseClick(&Link(1), Qt::LeftButton, Qt::NoModifier, place);
    QMouseEvent again(QEvent::MouseButtonDblClick, place, Link(1).mapToGlobal(place),
                      Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&Link(1), &again);
    QTest::mouseRelease(&Link(1), Qt::LeftButton, Qt::NoModifier, place);
  });
  EXPECT_EQ(Commands(), std::vector<std::uint32_t>{40020});
}

TEST_F(StartGuideTest, NothingIsClickedBesideTheText) {
  ShowWindow();
  ShowSteps();
  OnDisplay([&] {
    StepLink& link = Link(2);
    QTest::mouseClick(&link, Qt::LeftButton, Qt::NoModifier, {link.width() - 3, link.height() / 2});
  });
  EXPECT_TRUE(Commands().empty());
}

TEST_F(StartGuideTest, ScreenReaderHearsLinksAndTicks) {
  ShowWindow();
  ShowSteps();
  OnDisplay([&] {
    const QString names[] = {"1. Tell Quillet your news server, done", "2. Add a newsgroup",
                             "3. Connect"};
    for (std::size_t i = 0; i < kSteps.size(); ++i) {
      QAccessibleInterface* link = QAccessible::queryAccessibleInterface(&Link(i));
      ASSERT_NE(link, nullptr);
      EXPECT_EQ(link->text(QAccessible::Name), names[i]);
      EXPECT_EQ(link->role(), QAccessible::PushButton);
      EXPECT_TRUE(link->state().focusable);
      ASSERT_NE(link->actionInterface(), nullptr);
      link->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    }
  });
  // The toolkit shows each as pressed for a moment first.
  std::vector<std::uint32_t> commands;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (commands.size() < kSteps.size() && std::chrono::steady_clock::now() < end) {
    OnDisplay([] { QCoreApplication::processEvents(); });
    for (const std::uint32_t command : Commands()) commands.push_back(command);
  }
  EXPECT_EQ(commands, (std::vector<std::uint32_t>{40061, 40020, 40008}));
}

TEST_F(StartGuideTest, StandsBelowTheRowsAndHidesNone) {
  ShowWindow();
  ShowSteps();
  OnDisplay([&] {
    EXPECT_TRUE(Guide().isVisible());
    EXPECT_GT(Place().top(), EndOfRows());
  });
  FillRows(3);
  OnDisplay([&] {
    EXPECT_TRUE(Guide().isVisible());
    EXPECT_GT(Place().top(), EndOfRows());
    EXPECT_EQ(Main().childAt(List().viewport()->mapTo(
                  &Main(), List().visualRect(List().model()->index(2, 0)).center())),
              List().viewport());
  });
  FillRows(300);
  OnDisplay([&] { EXPECT_FALSE(Guide().isVisible()); });
  FillRows(1);
  OnDisplay([&] { EXPECT_TRUE(Guide().isVisible()); });
}

TEST_F(StartGuideTest, ListKeepsItsColumnsAndTheStatusLineItsPlace) {
  ShowWindow();
  std::array<QRect, 2> places;
  std::array<int, 2> widths{};
  const auto look = [&](std::size_t i) {
    OnDisplay([&] {
      QCoreApplication::processEvents();
      places[i] = List().geometry();
      widths[i] = List().columnWidth(0);
    });
  };
  look(0);
  ShowSteps();
  look(1);
  EXPECT_EQ(places[0], places[1]);
  EXPECT_EQ(widths[0], widths[1]);
}

TEST_F(StartGuideTest, FocusGoesToTheListWhenItGoes) {
  ShowWindow();
  ShowSteps();
  Key(Qt::Key_Tab);
  Key(Qt::Key_Tab);
  device->group_list().SetGuide({});
  OnDisplay([&] {
    EXPECT_TRUE(List().hasFocus());
    EXPECT_FALSE(Guide().isVisible());
  });
  ShowSteps();
  Key(Qt::Key_Tab);
  FillRows(300);
  OnDisplay([&] { EXPECT_TRUE(List().hasFocus()); });
}

TEST_F(StartGuideTest, FocusThatIsElsewhereStaysThere) {
  ShowWindow();
  ShowSteps();
  Key(Qt::Key_Tab);
  OnDisplay([&] { Tabs().Bar().setFocus(); });
  FillRows(300);
  device->group_list().SetGuide({});
  OnDisplay([&] { EXPECT_TRUE(Tabs().Bar().hasFocus()); });
}

TEST_F(StartGuideTest, FocusGoesToTheListWhileAnotherWindowIsActive) {
  ShowWindow();
  ShowSteps();
  Key(Qt::Key_Tab);
  OnDisplay([&] {
    QWidget other;
    other.show();
    other.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&other));
    Guide().Show({});
    EXPECT_EQ(Main().focusWidget(), &List());
  });
}

TEST_F(StartGuideTest, FocusStaysOnALinkThatIsTicked) {
  ShowWindow();
  ShowSteps();
  Key(Qt::Key_Tab);
  Key(Qt::Key_Tab);
  std::vector<port::GuideStep> steps = kSteps;
  steps[1].done = true;
  device->group_list().SetGuide(steps);
  FillRows(1);
  OnDisplay([&] {
    EXPECT_TRUE(Link(1).hasFocus());
    EXPECT_EQ(Link(1).accessibleName(), "2. Add a newsgroup, done");
  });
}

TEST_F(StartGuideTest, TextsAreWholeOnASmallScreenInTheLargestFont) {
  ShowWindow(port::TabPlacement::kBottom, {240, 294});
  const std::array<port::ListColumn, 2> columns{{{u"Newsgroup", 0, false}, {u"Unread", 0, true}}};
  for (const int size : {0, 4, 7}) {
    device->group_list().Create(columns, u"", size);
    FillRows(1);
    ShowSteps();
    OnDisplay([&] {
      Main().resize(240, 294);
      QCoreApplication::processEvents();
      EXPECT_TRUE(Guide().isVisible());
      EXPECT_EQ(Guide().verticalScrollBar()->maximum(), 0) << size;  // all at once
      ExpectWholeTexts();
    });
  }
}

TEST_F(StartGuideTest, LettersAreTheListsWhereThereIsRoomAndScrollWhereThereIsNone) {
  ShowWindow();
  const std::array<port::ListColumn, 2> columns{{{u"Newsgroup", 0, false}, {u"Unread", 0, true}}};
  device->group_list().Create(columns, u"", 7);
  ShowSteps();
  OnDisplay([&] { EXPECT_EQ(Link(0).font().pointSizeF(), List().font().pointSizeF()); });
  OnDisplay([&] {
    Main().resize(240, 160);
    EXPECT_TRUE(QTest::qWaitFor([&] { return List().viewport()->height() < 100; }));
    EXPECT_LT(Link(0).font().pointSizeF(), List().font().pointSizeF());
    EXPECT_GE(Link(0).font().pointSizeF(), QApplication::font().pointSizeF());
    ExpectWholeTexts();
    Main().resize(640, 480);
    EXPECT_TRUE(QTest::qWaitFor([&] { return List().viewport()->height() > 300; }));
    EXPECT_EQ(Link(0).font().pointSizeF(), List().font().pointSizeF());
  });
}

TEST_F(StartGuideTest, TextStaysAtTheLeftOfAWideWindow) {
  ShowWindow(port::TabPlacement::kBottom, {3840, 2100});
  ShowSteps();
  OnDisplay([&] {
    ExpectWholeTexts();
    EXPECT_LT(Link(0).TextRect().right(), 900);
  });
}

TEST_F(StartGuideTest, IsLegibleInLightAndDark) {
  ShowWindow();
  ShowSteps();
  OnDisplay([&] { EXPECT_GT(ContrastShown(Link(0)), 100); });
  OnDisplay([&] {
    const DarkPalette dark;
    QCoreApplication::processEvents();
    EXPECT_GT(ContrastShown(Link(0)), 100);
    const QImage image = Guide().grab().toImage();
    EXPECT_LT(qGray(image.pixel(image.width() - 2, image.height() - 2)), 64);
  });
}

TEST(LegibleLinkColour, IsTheTextsWhereTheLinksIsLost) {
  QPalette palette;
  palette.setColor(QPalette::Base, Qt::white);
  palette.setColor(QPalette::Text, Qt::black);
  palette.setColor(QPalette::Link, QColor(0, 0, 255));
  EXPECT_EQ(LegibleLinkColour(palette), QColor(0, 0, 255));
  palette.setColor(QPalette::Base, QColor(0x18, 0x18, 0x18));
  palette.setColor(QPalette::Text, Qt::white);
  EXPECT_EQ(LegibleLinkColour(palette), QColor(Qt::white));
}

}  // namespace
}  // namespace quillet::qt
