// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QHeaderView>
#include <QScrollBar>

#include "qt/fonts.h"
#include "qt/one_line.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::CheckState;
using port::MessageKind;

class ListTest : public DisplayTest {
 protected:
  port::ListView& list() { return device->group_list(); }
  // The middle of a row's box or of its text, in viewport coordinates. Display thread.
  QPoint BoxOf(int row) { return List().BoxRect(row).center(); }
  QPoint TextOf(int row) {
    return {List().columnWidth(0) / 2,
            List().visualRect(List().model()->index(row, 0)).center().y()};
  }
  std::vector<CheckState> Boxes() {
    std::vector<CheckState> boxes;
    OnDisplay([&] { boxes = List().Rows().Checks(); });
    return boxes;
  }
  // What the list has told of its columns by now, the last width of each.
  std::array<std::int32_t, 2> ToldWidths() {
    OnDisplay([] { QCoreApplication::processEvents(); });
    for (const auto& [column, width] : OfKind(TakeMessages(queues), MessageKind::kColumnSized)) {
      told_.at(column) = static_cast<std::int32_t>(width);
    }
    return told_;
  }
  void Click(QPoint place) {
    QTest::mouseClick(List().viewport(), Qt::LeftButton, Qt::NoModifier, place);
  }

 private:
  std::array<std::int32_t, 2> told_{};
};

TEST_F(ListTest, BeforeItIsCreatedAllIsEmpty) {
  list().Fill({{u"a", u"0/0", CheckState::kChecked}}, 0);
  list().SetCounts({u"1/1"});
  list().SetCheckStates(0, {CheckState::kChecked});
  EXPECT_EQ(list().SelectedRow(), -1);
  device->windows().CreateMainWindow({u"Quillet CE", u"t", 103, {640, 480}});
  list().Fill({{u"a", u"0/0", CheckState::kChecked}}, 0);
  EXPECT_EQ(list().SelectedRow(), -1);
  EXPECT_TRUE(OfKind(TakeMessages(queues), MessageKind::kColumnSized).empty());
}

TEST_F(ListTest, AfterTheWindowHasGoneAllIsEmpty) {
  ShowWindow();
  FillRows(3);
  device->windows().DestroyMainWindow();
  list().SetCheckStates(0, {CheckState::kChecked});
  EXPECT_EQ(list().SelectedRow(), -1);
  EXPECT_TRUE(TakeMessages(queues).empty());
}

TEST_F(ListTest, ShowsAThousandRowsWithBothColumns) {
  ShowWindow();
  std::vector<port::ListRow> rows(1000, {u"comp.lang.c++", u"12/345", CheckState::kUnchecked});
  rows[999] = {u"news.software.readers", u"7/8", CheckState::kChecked};
  list().Fill(rows, 999);
  EXPECT_EQ(list().SelectedRow(), 999);
  const std::vector<CheckState> states = Boxes();
  ASSERT_EQ(states.size(), 1000u);
  EXPECT_EQ(states[0], CheckState::kUnchecked);
  EXPECT_EQ(states[999], CheckState::kChecked);
  OnDisplay([&] {
    const QAbstractItemModel& model = *List().model();
    EXPECT_EQ(model.rowCount(), 1000);
    EXPECT_EQ(model.index(999, 0).data().toString(), QStringLiteral("news.software.readers"));
    EXPECT_EQ(model.index(999, 1).data().toString(), QStringLiteral("7/8"));
    EXPECT_TRUE(List().viewport()->rect().contains(
        List().visualRect(model.index(999, 0)).center()));  // scrolled to
    EXPECT_EQ(List().currentIndex().row(), 999);
  });
}

TEST_F(ListTest, ANameThatLooksLikeMarkUpIsNoMarkUpInItsToolTip) {
  ShowWindow();
  list().Fill({{u"<b>alt.test", u"1/1", CheckState::kUnchecked}}, -1);
  OnDisplay([&] {
    const QString tip = List().model()->index(0, 0).data(Qt::ToolTipRole).toString();
    EXPECT_EQ(tip, PlainToolTip(QStringLiteral("<b>alt.test")));
    EXPECT_TRUE(tip.contains(QLatin1String("&lt;b&gt;alt.test")));
  });
}

TEST_F(ListTest, HeadingsAreNamedAndAligned) {
  ShowWindow();
  OnDisplay([&] {
    const QAbstractItemModel& model = *List().model();
    EXPECT_EQ(model.headerData(0, Qt::Horizontal).toString(), QStringLiteral("Newsgroup"));
    EXPECT_EQ(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("Unread"));
    const auto align = [&](int section) {
      return model.headerData(section, Qt::Horizontal, Qt::TextAlignmentRole).toInt();
    };
    EXPECT_TRUE(align(0) & Qt::AlignLeft);
    EXPECT_TRUE(align(1) & Qt::AlignHCenter);
    List().Fill({{u"a", u"1/2", CheckState::kUnchecked}}, -1);
    EXPECT_TRUE(model.index(0, 1).data(Qt::TextAlignmentRole).toInt() & Qt::AlignHCenter);
  });
}

TEST_F(ListTest, FillWithoutASelectionSelectsNothing) {
  ShowWindow();
  FillRows(5);
  EXPECT_EQ(list().SelectedRow(), -1);
  list().Fill({{u"a", u"0/0", CheckState::kChecked}}, 7);  // beyond the rows
  EXPECT_EQ(list().SelectedRow(), -1);
  list().Fill({}, 0);
  EXPECT_EQ(list().SelectedRow(), -1);
  EXPECT_TRUE(Boxes().empty());
}

TEST_F(ListTest, RefillKeepsTheScrollPosition) {
  ShowWindow();
  FillRows(500);
  OnDisplay([&] { List().verticalScrollBar()->setValue(100); });
  FillRows(500);
  OnDisplay([&] { EXPECT_EQ(List().verticalScrollBar()->value(), 100); });
}

TEST_F(ListTest, CountsReplaceTheSecondColumnOnly) {
  ShowWindow();
  list().Fill({{u"a", u"1/1", CheckState::kChecked}, {u"b", u"2/2", CheckState::kUnchecked}}, 1);
  list().SetCounts({u"3/3"});
  OnDisplay([&] {
    EXPECT_EQ(List().model()->index(0, 1).data().toString(), QStringLiteral("3/3"));
    EXPECT_EQ(List().model()->index(1, 1).data().toString(), QStringLiteral("2/2"));
  });
  list().SetCounts({u"4/4", u"5/5", u"6/6"});  // more than there are rows
  OnDisplay(
      [&] { EXPECT_EQ(List().model()->index(1, 1).data().toString(), QStringLiteral("5/5")); });
  EXPECT_EQ(Boxes(), (std::vector<CheckState>{CheckState::kChecked, CheckState::kUnchecked}));
  EXPECT_EQ(list().SelectedRow(), 1);
}

TEST_F(ListTest, BoxesAreSetAndRead) {
  ShowWindow();
  FillRows(3);
  list().SetCheckStates(0, {CheckState::kChecked, CheckState::kNone});
  EXPECT_EQ(Boxes(), (std::vector<CheckState>{CheckState::kChecked, CheckState::kNone,
                                              CheckState::kUnchecked}));
  OnDisplay([&] {
    const QAbstractItemModel& model = *List().model();
    EXPECT_EQ(model.index(0, 0).data(Qt::CheckStateRole).toInt(), Qt::Checked);
    EXPECT_FALSE(model.index(1, 0).data(Qt::CheckStateRole).isValid());  // no box at all
    EXPECT_EQ(model.index(2, 0).data(Qt::CheckStateRole).toInt(), Qt::Unchecked);
  });
}

TEST_F(ListTest, ClickOnTheBoxTicksAndClickOnTheRowSelects) {
  ShowWindow();
  FillRows(4);
  OnDisplay([&] { Click(BoxOf(2)); });
  EXPECT_EQ(Boxes()[2], CheckState::kChecked);
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kRowChecked), (Details{{2, 1}}));
  OnDisplay([&] { Click(TextOf(1)); });
  EXPECT_EQ(list().SelectedRow(), 1);
  EXPECT_EQ(Boxes()[1], CheckState::kUnchecked);
  OnDisplay([&] {  // anywhere in the row
    Click({List().columnWidth(0) + 5, TextOf(3).y()});
  });
  EXPECT_EQ(list().SelectedRow(), 3);
}

TEST_F(ListTest, OnlyOneRowIsSelected) {
  ShowWindow();
  FillRows(4);
  OnDisplay([&] {
    Click(TextOf(0));
    QTest::mouseClick(List().viewport(), Qt::LeftButton, Qt::ControlModifier, TextOf(2));
    EXPECT_EQ(List().selectionModel()->selectedRows().size(), 1);
  });
}

TEST_F(ListTest, SpaceTogglesTheSelectedBox) {
  ShowWindow();
  FillRows(3);
  OnDisplay([&] { Click({List().columnWidth(0) + 5, TextOf(1).y()}); });  // in the second column
  Key(Qt::Key_Space);
  EXPECT_EQ(Boxes()[1], CheckState::kChecked);
  Key(Qt::Key_Space);
  EXPECT_EQ(Boxes()[1], CheckState::kUnchecked);
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kRowChecked), (Details{{1, 1}, {1, 0}}));
  list().SetCheckStates(0, {CheckState::kNone, CheckState::kNone, CheckState::kNone});
  Key(Qt::Key_Space);
  EXPECT_EQ(Boxes()[1], CheckState::kNone);
  EXPECT_TRUE(OfKind(TakeMessages(queues), MessageKind::kRowChecked).empty());
}

TEST_F(ListTest, EnterActivatesTheSelectedRow) {
  ShowWindow();
  FillRows(3);
  Key(Qt::Key_Return);
  EXPECT_TRUE(OfKind(TakeMessages(queues), MessageKind::kItemActivated).empty());
  OnDisplay([&] { Click(TextOf(2)); });
  TakeMessages(queues);
  Key(Qt::Key_Return);
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kItemActivated), (Details{{2, 0}}));
}

TEST_F(ListTest, DoubleClickActivatesButNotOnABox) {
  ShowWindow();
  FillRows(3);
  OnDisplay(
      [&] { QTest::mouseDClick(List().viewport(), Qt::LeftButton, Qt::NoModifier, BoxOf(0)); });
  EXPECT_TRUE(OfKind(TakeMessages(queues), MessageKind::kItemActivated).empty());
  OnDisplay(
      [&] { QTest::mouseDClick(List().viewport(), Qt::LeftButton, Qt::NoModifier, TextOf(1)); });
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kItemActivated), (Details{{1, 0}}));
}

TEST_F(ListTest, ArrowsMoveTheSelection) {
  ShowWindow();
  list().Fill({{u"a", u"0/0", CheckState::kChecked}, {u"b", u"0/0", CheckState::kChecked}}, 0);
  Key(Qt::Key_Down);
  EXPECT_EQ(list().SelectedRow(), 1);
}

TEST_F(ListTest, FirstStepSelectsTheFirstRow) {
  ShowWindow();
  FillRows(3);
  OnDisplay([&] {  // coming back to the list gives a row the focus without selecting it
    Tabs().Bar().setFocus();
    List().setFocus();
  });
  EXPECT_EQ(list().SelectedRow(), -1);
  Key(Qt::Key_Down);
  EXPECT_EQ(list().SelectedRow(), 0);
  Key(Qt::Key_Down);
  EXPECT_EQ(list().SelectedRow(), 1);
}

TEST_F(ListTest, ListHasTheFocusAtTheStart) {
  ShowWindow();
  OnDisplay([&] { EXPECT_TRUE(List().hasFocus()); });
}

TEST_F(ListTest, DefaultWidthsAreFiveSixthsAndTheRest) {
  ShowWindow();
  const std::array<port::ListColumn, 2> columns{{{u"Newsgroup", 0, false}, {u"Unread", 0, true}}};
  list().Create(columns, u"", 4);
  const auto widths = ToldWidths();
  int client = 0;
  OnDisplay([&] { client = List().viewport()->width(); });
  EXPECT_NEAR(widths[0], client * 5.0 / 6, 1);
  EXPECT_EQ(widths[0] + widths[1], client);
}

TEST_F(ListTest, DefaultWidthsFollowTheWindow) {
  ShowWindow();
  int client = 0;
  OnDisplay([&] {
    Main().resize(1000, 500);
    client = List().viewport()->width();
  });
  EXPECT_GT(client, 900);
  EXPECT_NEAR(ToldWidths()[0], client * 5.0 / 6, 1);
  EXPECT_EQ(ToldWidths()[0] + ToldWidths()[1], client);
}

TEST_F(ListTest, WidthsSavedInThisWindowComeBackExactly) {
  ShowWindow();
  int client = 0;
  OnDisplay([&] { client = List().viewport()->width(); });
  const std::array<port::ListColumn, 2> columns{
      {{u"Newsgroup", 400, false}, {u"Unread", client - 400, true}}};
  list().Create(columns, u"", 4);
  OnDisplay([&] { QCoreApplication::processEvents(); });
  EXPECT_EQ(ToldWidths(), (std::array<std::int32_t, 2>{400, client - 400}));
}

TEST_F(ListTest, WidthsSavedOnASmallScreenKeepTheirProportion) {
  ShowWindow();
  const std::array<port::ListColumn, 2> columns{
      {{u"Newsgroup", 150, false}, {u"Unread", 50, true}}};
  list().Create(columns, u"", 4);
  int client = 0;
  OnDisplay([&] {
    QCoreApplication::processEvents();
    client = List().viewport()->width();
  });
  EXPECT_NEAR(ToldWidths()[0], client * 3.0 / 4, 1);
}

TEST_F(ListTest, DividerMovedByTheUserIsToldForBothColumns) {
  ShowWindow();
  int client = 0;
  OnDisplay([&] {
    client = List().viewport()->width();
    const int divider = List().header()->sectionSize(0);
    const int y = List().header()->height() / 2;
    QTest::mousePress(List().header()->viewport(), Qt::LeftButton, Qt::NoModifier, {divider, y});
    QTest::mouseMove(List().header()->viewport(), {divider - 50, y});
    QTest::mouseMove(List().header()->viewport(), {divider - 100, y});
    QTest::mouseRelease(List().header()->viewport(), Qt::LeftButton, Qt::NoModifier,
                        {divider - 100, y});
  });
  const auto widths = ToldWidths();
  EXPECT_NEAR(widths[0], client * 5.0 / 6 - 100, 4);
  EXPECT_EQ(widths[0] + widths[1], client);
}

TEST_F(ListTest, DividerMovedByTheUserStaysInProportion) {
  ShowWindow();
  OnDisplay([&] { List().header()->resizeSection(0, List().viewport()->width() / 2); });
  OnDisplay([&] {
    Main().resize(1000, 500);
    QCoreApplication::processEvents();
    EXPECT_NEAR(List().columnWidth(0), List().viewport()->width() / 2.0, 2);
  });
}

TEST_F(ListTest, FontFollowsTheSizeIndex) {
  ShowWindow();
  const std::array<port::ListColumn, 2> columns{{{u"Newsgroup", 0, false}, {u"Unread", 0, true}}};
  qreal last = 0;
  for (int size = 1; size <= 8; ++size) {
    list().Create(columns, u"", size);
    qreal points = 0;
    OnDisplay([&] { points = List().font().pointSizeF(); });
    EXPECT_GT(points, last) << size;
    last = points;
  }
}

TEST_F(ListTest, SizesOutOfRangeAreBroughtIntoItForDisplay) {
  OnDisplay([&] {
    const QFont base = QApplication::font();
    EXPECT_EQ(FontFor(u"", 0, base), FontFor(u"", 1, base));
    EXPECT_EQ(FontFor(u"", -7, base), FontFor(u"", 1, base));
    EXPECT_EQ(FontFor(u"", 99, base), FontFor(u"", 8, base));
    EXPECT_DOUBLE_EQ(FontFor(u"", 4, base).pointSizeF(), QFontInfo(base).pointSizeF());
    EXPECT_DOUBLE_EQ(ArticleFontFor(u"", 2, base).pointSizeF(), QFontInfo(base).pointSizeF());
    EXPECT_DOUBLE_EQ(ArticleFontFor(u"", 3, base).pointSizeF(),
                     QFontInfo(base).pointSizeF() * 1.25);
    EXPECT_EQ(ArticleFontFor(u"", 0, base), ArticleFontFor(u"", 1, base));
    EXPECT_EQ(ArticleFontFor(u"", 99, base), ArticleFontFor(u"", 8, base));
    EXPECT_EQ(FontFor(u"DejaVu Serif", 4, base).family(), QStringLiteral("DejaVu Serif"));
    EXPECT_EQ(FontFor(u"No Such Face", 4, base).family(), base.family());
    EXPECT_EQ(FontFor(u"<default>", 4, base).family(), base.family());
  });
}

}  // namespace
}  // namespace quillet::qt
