// SPDX-License-Identifier: GPL-3.0-or-later
// What keys, the mouse and fingers do in the thread tree.
#include <QApplication>
#include <QContextMenuEvent>
#include <QPointingDevice>
#include <QScrollBar>
#include <QStyleHints>

#include "tests/qt/tree_fixture.h"

namespace quillet::qt {
namespace {

using port::MessageKind;
using port::TreeItem;
using port::TreeRow;

using TreeInputTest = TreeTest;

// --- keys ----------------------------------------------------------------------------------------

TEST_F(TreeInputTest, FirstStepSelectsTheFirstRow) {
  ShowTree(SmallTree());
  Key(Qt::Key_Down);
  EXPECT_EQ(tree().SelectedItem(), 100u);
  Key(Qt::Key_Down);
  EXPECT_EQ(tree().SelectedItem(), 200u);
  Key(Qt::Key_Up);
  EXPECT_EQ(tree().SelectedItem(), 100u);
}

TEST_F(TreeInputTest, ALeapToWhereTheFocusIsSelects) {
  for (const int key : {Qt::Key_Home, Qt::Key_PageUp}) {
    ShowTree(SmallTree());
    Key(static_cast<Qt::Key>(key));
    EXPECT_EQ(tree().SelectedItem(), 100u);
  }
  for (const int key : {Qt::Key_End, Qt::Key_PageDown}) {
    ShowTree({{100, 0, false, u"alone"}});
    Key(static_cast<Qt::Key>(key));
    EXPECT_EQ(tree().SelectedItem(), 100u);
  }
}

TEST_F(TreeInputTest, EndWorksBeforeAnythingIsSelected) {
  ShowTree(SmallTree());
  Key(Qt::Key_End);
  EXPECT_EQ(tree().SelectedItem(), 300u);
}

TEST_F(TreeInputTest, HomeEndAndPagesGoThroughTheRows) {
  std::vector<TreeRow> rows;
  for (TreeItem i = 1; i <= 200; ++i) rows.push_back({i, 0, false, u"x"});
  ShowTree(rows);
  Key(Qt::Key_End);
  EXPECT_EQ(tree().SelectedItem(), 200u);
  Key(Qt::Key_Home);
  EXPECT_EQ(tree().SelectedItem(), 1u);
  Key(Qt::Key_PageDown);
  const TreeItem page = tree().SelectedItem();
  EXPECT_GT(page, 10u);
  EXPECT_LT(page, 60u);
  Key(Qt::Key_PageUp);
  EXPECT_EQ(tree().SelectedItem(), 1u);
}

TEST_F(TreeInputTest, RightAndLeftExpandCollapseAndWalk) {
  ShowTree(SmallTree());
  tree().SelectItem(100);
  Key(Qt::Key_Right);
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 1, 4, 200, 300}));
  EXPECT_EQ(tree().SelectedItem(), 100u);
  Key(Qt::Key_Right);
  EXPECT_EQ(tree().SelectedItem(), 1u);
  Key(Qt::Key_Right);
  Key(Qt::Key_Right);
  EXPECT_EQ(tree().SelectedItem(), 2u);
  Key(Qt::Key_Left);
  EXPECT_EQ(tree().SelectedItem(), 1u);
  Key(Qt::Key_Left);
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 1, 4, 200, 300}));
  Key(Qt::Key_Left);
  Key(Qt::Key_Left);
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 200, 300}));
  EXPECT_EQ(tree().SelectedItem(), 100u);
}

TEST_F(TreeInputTest, PlusMinusAndAsteriskExpandAndCollapse) {
  std::vector<TreeRow> rows = SmallTree();
  rows.push_back({400, 0, false, u"+ a subject that begins with the key"});
  ShowTree(rows);
  tree().SelectItem(100);
  Key(Qt::Key_Plus);
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 1, 4, 200, 300, 400}));
  Key(Qt::Key_Minus);
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 200, 300, 400}));
  Key(Qt::Key_Asterisk, Qt::KeypadModifier);
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 1, 2, 3, 4, 200, 300, 400}));
  EXPECT_EQ(tree().SelectedItem(), 100u);
}

TEST_F(TreeInputTest, CollapsingTakesTheSelectionAlong) {
  ShowTree(SmallTree());
  tree().SelectItem(3);
  Expand(100, false);
  EXPECT_EQ(tree().SelectedItem(), 100u);
  tree().SelectItem(5);
  Expand(100, false);
  EXPECT_EQ(tree().SelectedItem(), 5u);
}

TEST_F(TreeInputTest, LettersFindTheNextRowWithoutItsCounts) {
  ShowTree(SmallTree());
  Expand(100);
  const auto type = [&](const char* text) {
    OnDisplay([&] { QTest::keyClicks(&Tree(), QLatin1String(text)); });
    return tree().SelectedItem();
  };
  const auto pause = [&] {
    OnDisplay([] { QTest::qWait(QApplication::keyboardInputInterval() + 50); });
  };
  EXPECT_EQ(type("w"), 200u);
  pause();
  EXPECT_EQ(type("a"), 300u);  // "1/1 Apple", below the selected row
  EXPECT_EQ(type("d"), 1u);    // "Ada", round the end
  pause();
  EXPECT_EQ(type("a"), 300u);
  EXPECT_EQ(type("a"), 1u);  // the same letter again: the next one
  pause();
  EXPECT_EQ(type("2/4 h"), 100u);  // with the counts
  pause();
  EXPECT_EQ(type("bob"), 100u);  // collapsed rows are not gone through
}

TEST_F(TreeInputTest, EnterActivatesTheSelectedRow) {
  const port::WindowHandle main = ShowTree(SmallTree());
  Key(Qt::Key_Return);
  EXPECT_TRUE(Activated().empty());
  tree().SelectItem(100);
  TakeMessages(queues);
  Key(Qt::Key_Return);
  Key(Qt::Key_Enter, Qt::KeypadModifier);
  const auto messages = TakeMessages(queues);
  EXPECT_EQ(OfKind(messages, MessageKind::kItemActivated), (Details{{100, 0}, {100, 0}}));
  EXPECT_EQ(messages.front().window, main);
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 200, 300}));  // not expanded
}

TEST_F(TreeInputTest, AcceleratorsComeFirstAndEscapeIsTold) {
  ShowTree(SmallTree());
  tree().SelectItem(100);
  TakeMessages(queues);
  Key(Qt::Key_A, Qt::ControlModifier | Qt::AltModifier);
  Key(Qt::Key_W, Qt::ControlModifier);
  EXPECT_EQ(tree().SelectedItem(), 100u);  // no search
  Key(Qt::Key_Escape);
  Key(Qt::Key_Right);
  const auto messages = TakeMessages(queues);
  EXPECT_EQ(OfKind(messages, MessageKind::kKeyDown),
            (Details{{'A', 3}, {'W', 1}, {0x1B, 0}, {0x27, 0}}));
  EXPECT_EQ(OfKind(messages, MessageKind::kKeyUp),
            (Details{{'A', 3}, {'W', 1}, {0x1B, 0}, {0x27, 0}}));
}

// --- mouse ---------------------------------------------------------------------------------------

TEST_F(TreeInputTest, ClickSelectsAndDoubleClickActivatesWithoutExpanding) {
  ShowTree(SmallTree());
  OnDisplay([&] { Click(TextOf(200)); });
  EXPECT_EQ(tree().SelectedItem(), 200u);
  EXPECT_TRUE(Activated().empty());
  OnDisplay([&] { Click(TextOf(200)); });
  EXPECT_TRUE(Activated().empty());  // slow clicks
  OnDisplay([&] { DoubleClick(TextOf(100)); });
  EXPECT_EQ(Activated(), (Details{{100, 0}}));
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 200, 300}));
  OnDisplay([&] { DoubleClick({100, Tree().viewport()->height() - 5}); });  // below the rows
  EXPECT_TRUE(Activated().empty());
}

TEST_F(TreeInputTest, ClickOnTheMarkExpandsWithoutSelecting) {
  ShowTree(SmallTree());
  tree().SelectItem(300);
  TakeMessages(queues);
  OnDisplay([&] { Click(MarkOf(100)); });
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 1, 4, 200, 300}));
  OnDisplay([&] { Click(MarkOf(1)); });
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 1, 2, 4, 200, 300}));
  OnDisplay([&] { DoubleClick(MarkOf(1)); });  // twice
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 1, 2, 4, 200, 300}));
  EXPECT_EQ(tree().SelectedItem(), 300u);
  EXPECT_TRUE(Activated().empty());
  OnDisplay([&] { Click(MarkOf(4)); });  // has no mark: a part of the row
  EXPECT_EQ(tree().SelectedItem(), 4u);
}

TEST_F(TreeInputTest, RightClickSelectsAndAsksForTheMenu) {
  const port::WindowHandle main = ShowTree(SmallTree());
  tree().SelectItem(300);
  TakeMessages(queues);
  const auto right_click = [&](QPoint place) {
    Click(place, Qt::RightButton);
    QContextMenuEvent event(QContextMenuEvent::Mouse, place, Tree().viewport()->mapToGlobal(place));
    QApplication::sendEvent(Tree().viewport(), &event);
  };
  OnDisplay([&] {
    right_click(TextOf(200));
    EXPECT_EQ(Main().Threads()->LastMenuPlace().place, Tree().viewport()->mapToGlobal(TextOf(200)));
    EXPECT_FALSE(Main().Threads()->LastMenuPlace().by_key);
  });
  EXPECT_EQ(tree().SelectedItem(), 200u);
  const auto messages = TakeMessages(queues);
  EXPECT_EQ(OfKind(messages, MessageKind::kContextMenu), (Details{{200, 0}}));
  EXPECT_EQ(messages.back().window, main);
  EXPECT_TRUE(OfKind(messages, MessageKind::kItemActivated).empty());
  OnDisplay([&] { right_click({100, Tree().viewport()->height() - 5}); });
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kContextMenu), (Details{{0, 0}}));
  EXPECT_EQ(tree().SelectedItem(), 0u);
}

TEST_F(TreeInputTest, MenuKeyAndShiftF10AskForTheSelectedRowsMenu) {
  ShowTree(SmallTree());
  tree().SelectItem(300);
  TakeMessages(queues);
  Key(Qt::Key_F10, Qt::ShiftModifier);
  OnDisplay([&] {
    const MenuPlace where = Main().Threads()->LastMenuPlace();
    EXPECT_TRUE(where.by_key);
    EXPECT_TRUE(Tree().visualRect(At(300)).contains(Tree().viewport()->mapFromGlobal(where.place)));
  });
  Key(Qt::Key_Menu);
  OnDisplay([&] {  // comes along with the key on some window systems
    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(), QPoint());
    QApplication::sendEvent(&Tree(), &event);
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Menu, Qt::NoModifier, QString(), true);
    QApplication::sendEvent(&Tree(), &held);
  });
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kContextMenu), (Details{{300, 0}, {300, 0}}));
  tree().SelectItem(0);
  Key(Qt::Key_F10, Qt::ShiftModifier);
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kContextMenu), (Details{{0, 0}}));
}

// --- fingers -------------------------------------------------------------------------------------

class TouchTest : public TreeTest {
 protected:
  static QPointingDevice* Screen() {
    static QPointingDevice* screen = QTest::createTouchDevice();
    return screen;
  }
  void Press(QPoint place) {
    QTest::touchEvent(Main().windowHandle(), Screen()).press(1, InWindow(place));
  }
  void Move(QPoint place) {
    QTest::touchEvent(Main().windowHandle(), Screen()).move(1, InWindow(place));
  }
  void Release(QPoint place) {
    QTest::touchEvent(Main().windowHandle(), Screen()).release(1, InWindow(place));
  }
  void Tap(QPoint place) {
    Press(place);
    Release(place);
  }
  QPoint InWindow(QPoint place) { return Tree().viewport()->mapTo(&Main(), place); }
};

TEST_F(TouchTest, TapSelectsAndASecondTapActivates) {
  ShowTree(SmallTree());
  OnDisplay([&] { Tap(TextOf(200)); });
  EXPECT_EQ(tree().SelectedItem(), 200u);
  EXPECT_TRUE(Activated().empty());
  OnDisplay([&] { Tap(TextOf(200)); });
  EXPECT_EQ(Activated(), (Details{{200, 0}}));
  OnDisplay([&] { Tap(TextOf(100)); });
  EXPECT_EQ(tree().SelectedItem(), 100u);
  EXPECT_TRUE(Activated().empty());
}

TEST_F(TouchTest, TapBeforeTheTextExpands) {
  ShowTree(SmallTree());
  OnDisplay([&] { Tap(MarkOf(100)); });
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 1, 4, 200, 300}));
  OnDisplay([&] { Tap({1, TextOf(1).y()}); });
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 1, 2, 4, 200, 300}));
  EXPECT_EQ(tree().SelectedItem(), 0u);
}

TEST_F(TouchTest, LongPressAsksForTheMenuOnce) {
  ShowTree(SmallTree());
  tree().SelectItem(200);
  TakeMessages(queues);
  OnDisplay([&] {
    Press(TextOf(200));
    QTest::qWait(QGuiApplication::styleHints()->mousePressAndHoldInterval() + 100);
    Release(TextOf(200));
    EXPECT_EQ(Main().Threads()->LastMenuPlace().place, Tree().viewport()->mapToGlobal(TextOf(200)));
  });
  auto messages = TakeMessages(queues);
  EXPECT_EQ(OfKind(messages, MessageKind::kContextMenu), (Details{{200, 0}}));
  EXPECT_TRUE(OfKind(messages, MessageKind::kItemActivated).empty());
  OnDisplay([&] { Tap(TextOf(200)); });
  messages = TakeMessages(queues);
  EXPECT_TRUE(OfKind(messages, MessageKind::kContextMenu).empty());
  EXPECT_EQ(OfKind(messages, MessageKind::kItemActivated), (Details{{200, 0}}));
}

TEST_F(TouchTest, FingerThatMovesScrolls) {
  std::vector<TreeRow> rows;
  for (TreeItem i = 1; i <= 500; ++i) rows.push_back({i, 0, false, u"x"});
  ShowTree(rows);
  tree().SelectItem(1);
  TakeMessages(queues);
  OnDisplay([&] {
    QPoint place(100, 300);
    Press(place);
    for (int i = 0; i < 20; ++i) {
      QTest::qWait(10);
      place -= QPoint(0, 10);
      Move(place);
    }
    QTest::qWait(QGuiApplication::styleHints()->mousePressAndHoldInterval() + 100);
    EXPECT_GT(Tree().verticalScrollBar()->value(), 100);
    Release(place);
  });
  const auto messages = TakeMessages(queues);
  EXPECT_TRUE(OfKind(messages, MessageKind::kContextMenu).empty());
  EXPECT_TRUE(OfKind(messages, MessageKind::kItemActivated).empty());
}

TEST_F(TouchTest, RestingMouseDoesNotAskForTheMenu) {
  ShowTree(SmallTree());
  OnDisplay([&] {
    QTest::mousePress(Tree().viewport(), Qt::LeftButton, Qt::NoModifier, TextOf(200));
    QTest::qWait(QGuiApplication::styleHints()->mousePressAndHoldInterval() + 100);
    QTest::mouseRelease(Tree().viewport(), Qt::LeftButton, Qt::NoModifier, TextOf(200));
  });
  EXPECT_TRUE(OfKind(TakeMessages(queues), MessageKind::kContextMenu).empty());
}

}  // namespace
}  // namespace quillet::qt
