// SPDX-License-Identifier: GPL-3.0-or-later
// The thread tree and its caption: rows, selection, looks, many of them.
#include <QAccessible>
#include <QApplication>
#include <QHelpEvent>
#include <QLabel>
#include <QScrollBar>
#include <QToolTip>
#include <algorithm>

#include "qt/fonts.h"
#include "qt/one_line.h"
#include "tests/qt/tree_fixture.h"

namespace quillet::qt {
namespace {

using port::TreeItem;
using port::TreeRow;

// --- rows ----------------------------------------------------------------------------------------

TEST_F(TreeTest, BeforeTheTreeAndAfterTheWindowAllIsEmpty) {
  const auto use_all = [&] {
    tree().FillTree(SmallTree());
    tree().ReplaceSubtree(1, SmallTree());
    tree().SetLabels({{1, true, u"x"}});
    tree().SelectItem(1);
    tree().FocusTree();
    tree().SetCaption(u"caption");
    EXPECT_FALSE(tree().TreeCreated());
    EXPECT_EQ(tree().SelectedItem(), 0u);
  };
  use_all();
  tree().CreateTree(u"thread tree", u"", 4);  // there is no window yet
  use_all();
  ShowWindow();
  use_all();
  tree().CreateTree(u"thread tree", u"", 4);
  EXPECT_TRUE(tree().TreeCreated());
  device->windows().DestroyMainWindow();
  use_all();
}

TEST_F(TreeTest, NewRowsAreCollapsedAndNothingIsSelected) {
  ShowTree(SmallTree());
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 200, 300}));
  EXPECT_EQ(tree().SelectedItem(), 0u);
}

TEST_F(TreeTest, RowsStandBelowTheirParents) {
  ShowTree(SmallTree());
  OnDisplay([&] {
    Tree().expandAll();
    EXPECT_EQ(At(2).parent(), At(1));
    EXPECT_EQ(At(3).parent(), At(2));
    EXPECT_EQ(At(4).parent(), At(100));
    EXPECT_EQ(At(4).row(), 1);
    EXPECT_EQ(At(100).parent(), QModelIndex());
    EXPECT_EQ(At(300).row(), 2);
    EXPECT_EQ(At(1).data().toString(), QStringLiteral("Ada"));
    EXPECT_TRUE(At(1).data(Qt::FontRole).value<QFont>().bold());
    EXPECT_FALSE(At(2).data(Qt::FontRole).isValid());
    EXPECT_FALSE(At(77).isValid());
  });
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 1, 2, 3, 4, 200, 5, 300, 6}));
}

TEST_F(TreeTest, RefillKeepsWhatIsExpandedAndSelected) {
  ShowTree(SmallTree());
  tree().SelectItem(3);
  Expand(200);
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 1, 2, 3, 4, 200, 5, 300}));
  std::vector<TreeRow> rows = SmallTree();
  std::rotate(rows.begin(), rows.begin() + 5, rows.end());  // the first thread is the last now
  rows.insert(rows.begin(), {400, 0, true, u"0/1 new"});
  rows.insert(rows.begin() + 1, {7, 1, true, u"Gus"});
  tree().FillTree(rows);
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{400, 200, 5, 300, 100, 1, 2, 3, 4}));
  EXPECT_EQ(tree().SelectedItem(), 3u);
}

TEST_F(TreeTest, RefillKeepsWhatIsExpandedInsideACollapsedRow) {
  ShowTree(SmallTree());
  Expand(100);
  Expand(1);
  Expand(100, false);
  tree().FillTree(SmallTree());
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 200, 300}));
  Expand(100);
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 1, 2, 4, 200, 300}));
}

TEST_F(TreeTest, SelectionGoesWithItsItem) {
  ShowTree(SmallTree());
  tree().SelectItem(5);
  tree().FillTree({{100, 0, false, u"Hello"}});
  EXPECT_EQ(tree().SelectedItem(), 0u);
  tree().FillTree(SmallTree());
  EXPECT_EQ(tree().SelectedItem(), 0u);
}

TEST_F(TreeTest, ReplacedSubtreeKeepsItsPlaceExpansionAndSelection) {
  ShowTree(SmallTree());
  tree().SelectItem(3);
  Expand(200);
  // Ada is gone, Bob took her place, Gus came.
  tree().ReplaceSubtree(100, {{100, 0, false, u"0/3 Hello"},
                              {2, 1, false, u"Bob"},
                              {3, 2, false, u"Cyd"},
                              {7, 1, true, u"Gus"},
                              {4, 1, false, u"Dan"}});
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 2, 3, 7, 4, 200, 5, 300}));
  EXPECT_EQ(tree().SelectedItem(), 3u);
  OnDisplay([&] {
    EXPECT_FALSE(At(1).isValid());
    EXPECT_EQ(At(100).data().toString(), QStringLiteral("0/3 Hello"));
    EXPECT_EQ(Rows().DepthOf(At(3)), 2u);
  });
}

TEST_F(TreeTest, SelectionOutsideAReplacedSubtreeStays) {
  ShowTree(SmallTree());
  tree().SelectItem(5);
  tree().ReplaceSubtree(100, {{100, 0, false, u"Hello"}});
  EXPECT_EQ(tree().SelectedItem(), 5u);
  tree().ReplaceSubtree(100, {});
  EXPECT_EQ(tree().SelectedItem(), 5u);
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{200, 5, 300}));
}

TEST_F(TreeTest, SelectionInsideATakenSubtreeGoes) {
  ShowTree(SmallTree());
  tree().SelectItem(2);
  tree().ReplaceSubtree(1, {});
  EXPECT_EQ(tree().SelectedItem(), 0u);
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 4, 200, 300}));
}

TEST_F(TreeTest, InnerSubtreeIsCountedFromItsOwnLevel) {
  ShowTree(SmallTree());
  OnDisplay([&] { Tree().expandAll(); });
  tree().ReplaceSubtree(2, {{8, 0, false, u"Hal"}, {9, 1, false, u"Ida"}});
  OnDisplay([&] {
    EXPECT_EQ(At(8).parent(), At(1));
    EXPECT_EQ(At(9).parent(), At(8));
    EXPECT_EQ(Rows().DepthOf(At(9)), 3u);
  });
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 1, 8, 4, 200, 5, 300, 6}));  // new: collapsed
}

TEST_F(TreeTest, UnknownItemIsNotReplaced) {
  ShowTree(SmallTree());
  tree().ReplaceSubtree(4711, {{8, 0, false, u"Hal"}});
  tree().ReplaceSubtree(0, {{8, 0, false, u"Hal"}});
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 200, 300}));
}

TEST_F(TreeTest, EverythingCanBeTakenAway) {
  ShowTree(SmallTree());
  for (const TreeItem item : {100u, 200u, 300u}) tree().ReplaceSubtree(item, {});
  EXPECT_TRUE(Shown().empty());
  tree().FillTree({});
  EXPECT_TRUE(Shown().empty());
  tree().FillTree(SmallTree());
  EXPECT_EQ(Shown().size(), 3u);
}

TEST_F(TreeTest, LabelsChangeTextAndBoldOnly) {
  ShowTree(SmallTree());
  tree().SelectItem(2);
  tree().SetLabels(
      {{1, false, u"Ada L."}, {4711, true, u"nobody"}, {0, true, u"none"}, {2, true, u"Bob B."}});
  OnDisplay([&] {
    EXPECT_EQ(At(1).data().toString(), QStringLiteral("Ada L."));
    EXPECT_FALSE(At(1).data(Qt::FontRole).isValid());
    EXPECT_TRUE(At(2).data(Qt::FontRole).value<QFont>().bold());
    EXPECT_EQ(At(3).data().toString(), QStringLiteral("Cyd"));
  });
  EXPECT_EQ(tree().SelectedItem(), 2u);
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{100, 1, 2, 4, 200, 300}));
}

TEST_F(TreeTest, SelectedItemIsShown) {
  std::vector<TreeRow> rows = SmallTree();
  for (TreeItem i = 0; i < 300; ++i) rows.insert(rows.begin(), {1000 + i, 0, false, u"x"});
  ShowTree(rows);
  tree().SelectItem(3);
  EXPECT_EQ(tree().SelectedItem(), 3u);
  OnDisplay([&] {
    EXPECT_TRUE(Tree().isExpanded(At(100)));
    EXPECT_TRUE(Tree().isExpanded(At(2)));
    EXPECT_FALSE(Tree().isExpanded(At(200)));
    EXPECT_TRUE(OnScreen(Tree().visualRect(At(3))));
    EXPECT_EQ(Tree().currentIndex(), At(3));
  });
  tree().SelectItem(4711);
  EXPECT_EQ(tree().SelectedItem(), 3u);
  tree().SelectItem(0);
  EXPECT_EQ(tree().SelectedItem(), 0u);
}

TEST_F(TreeTest, NewTreeTakesThePlaceOfTheOld) {
  ShowTree(SmallTree());
  tree().SetCaption(u"a.b: 12 on server");
  tree().CreateTree(u"thread tree", u"DejaVu Serif", 6);
  EXPECT_TRUE(Shown().empty());
  OnDisplay([&] {
    EXPECT_EQ(Main().Threads()->findChildren<QTreeView*>().size(), 1);
    EXPECT_EQ(Tree().font(), FontFor(u"DejaVu Serif", 6, QApplication::font()));
    EXPECT_TRUE(Tree().hasFocus());
    EXPECT_TRUE(Tree().isVisible());
  });
  device->windows().CreateTabs(port::TabPlacement::kLeft);
  EXPECT_FALSE(tree().TreeCreated());
}

TEST_F(TreeTest, AnotherFontKeepsWhatIsShown) {
  ShowTree(SmallTree());
  OnDisplay([&] { Tree().expandAll(); });
  tree().SelectItem(3);
  const auto before = Shown();
  int height = 0;
  OnDisplay([&] { height = Tree().visualRect(Tree().Rows().index(0, 0)).height(); });
  tree().SetTreeFont(u"DejaVu Serif", 8);
  EXPECT_EQ(Shown(), before);
  EXPECT_EQ(tree().SelectedItem(), 3u);
  OnDisplay([&] {
    EXPECT_EQ(Tree().font(), FontFor(u"DejaVu Serif", 8, QApplication::font()));
    EXPECT_GT(Tree().visualRect(Tree().Rows().index(0, 0)).height(), height);
  });
}

// --- bad input -----------------------------------------------------------------------------------

TEST_F(TreeTest, DepthsWithoutAParentAreBroughtToTheNearestLevel) {
  ShowTree({{1, 7, false, u"a"},
            {2, 4000000000u, false, u"b"},
            {3, 9, false, u"c"},
            {4, 1, false, u"d"},
            {5, 0, false, u"e"}});
  OnDisplay([&] {
    EXPECT_EQ(At(1).parent(), QModelIndex());
    EXPECT_EQ(At(2).parent(), At(1));
    EXPECT_EQ(At(3).parent(), At(2));
    EXPECT_EQ(At(4).parent(), At(1));
    EXPECT_EQ(At(5).row(), 1);
  });
}

TEST_F(TreeTest, ItemsThatComeTwiceAreFoundOnce) {
  ShowTree({{1, 0, false, u"a"},
            {1, 1, false, u"b"},
            {1, 1, false, u"c"},
            {0, 0, false, u"none"},
            {0, 1, false, u"none"}});
  OnDisplay([&] { Tree().expandAll(); });
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{1, 1, 1, 0, 0}));
  tree().SelectItem(1);
  tree().SetLabels({{1, true, u"d"}});
  OnDisplay([&] { EXPECT_EQ(At(1).data().toString(), QStringLiteral("d")); });
  tree().ReplaceSubtree(1, {{1, 0, false, u"x"}, {1, 0, false, u"y"}, {2, 5, false, u"z"}});
  EXPECT_EQ(Shown().front(), 1u);
  tree().ReplaceSubtree(1, {});
  OnDisplay([&] { Tree().expandAll(); });
  EXPECT_EQ(Shown(), (std::vector<TreeItem>{1, 2, 0, 0}));
  tree().FillTree(SmallTree());
  EXPECT_EQ(Shown().size(), 3u);
}

TEST_F(TreeTest, RandomReplacementsLeaveTheTreeOfTheRows) {
  ShowTree({});
  std::uint32_t seed = 1;
  const auto random = [&seed](std::uint32_t below) {
    seed = seed * 1664525u + 1013904223u;
    return (seed >> 8) % below;
  };
  TreeItem last = 0;
  const auto some_rows = [&](std::size_t count) {
    std::vector<TreeRow> rows;
    std::uint32_t depth = 0;
    for (std::size_t i = 0; i < count; ++i) {
      rows.push_back({++last, depth, random(2) == 0, Text("row " + std::to_string(last))});
      depth = random(depth + 2);
    }
    return rows;
  };
  std::vector<TreeRow> expected = some_rows(200);
  tree().FillTree(expected);
  for (int round = 0; round < 300; ++round) {
    if (expected.empty()) expected = some_rows(50), tree().FillTree(expected);
    const auto first = expected.begin() + static_cast<std::ptrdiff_t>(
                                              random(static_cast<std::uint32_t>(expected.size())));
    const std::uint32_t depth = first->depth;
    const TreeItem item = first->item;
    const auto end = std::find_if(first + 1, expected.end(),
                                  [&](const TreeRow& row) { return row.depth <= depth; });
    std::vector<TreeRow> rows = some_rows(random(8));
    tree().ReplaceSubtree(item, rows);
    for (TreeRow& row : rows) row.depth += depth;
    expected.insert(expected.erase(first, end), rows.begin(), rows.end());
    OnDisplay([&] {
      QModelIndex index = Rows().index(0, 0);
      for (const TreeRow& row : expected) {
        ASSERT_EQ(Rows().ItemOf(index), row.item) << round;
        ASSERT_EQ(Rows().DepthOf(index), row.depth);
        ASSERT_EQ(Rows().TextOf(index), row.text);
        ASSERT_EQ(Rows().index(index.row(), 0, index.parent()), index);
        ASSERT_EQ(Rows().Find(row.item), index);
        index = Rows().Next(index);
      }
      ASSERT_FALSE(index.isValid());
    });
    if (HasFatalFailure()) return;
  }
}

TEST_F(TreeTest, ControlAndDirectionCharactersStayInTheirRow) {
  using namespace std::string_literals;
  ShowTree({{1, 0, true, u"3/4 a\0b\r\nc\td\u2028e\u202Ef\u2066g\x7f\u0085h"s},
            {2, 0, false, u"\u202E\u202E12/34 \u05E9\u05DC\u05D5\u05DD"},
            {3, 0, false, u"\xD800 lone \xDC00"s}});
  OnDisplay([&] {
    EXPECT_EQ(At(1).data().toString(), QStringLiteral("3/4 a b  c d e\uFFFDf\uFFFDg  h"));
    EXPECT_EQ(At(2).data().toString().left(8), QStringLiteral("\uFFFD\uFFFD12/34 "));
    const int height = Tree().visualRect(At(2)).height();
    EXPECT_EQ(Tree().visualRect(At(1)).height(), height);
    EXPECT_LT(height, 3 * Tree().fontMetrics().height());
    EXPECT_FALSE(Tree().viewport()->grab().isNull());
  });
}

TEST_F(TreeTest, HugeTextsAreCutBeforeTheyAreLaidOut) {
  std::vector<TreeRow> rows;
  for (TreeItem i = 1; i <= 40; ++i) rows.push_back({i, 0, true, std::u16string(100000, u'W')});
  ShowTree(rows);
  OnDisplay([&] {
    EXPECT_EQ(At(1).data().toString(), QString(1000, QLatin1Char('W')) + QChar(0x2026));
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(Tree().viewport()->grab().isNull());
    EXPECT_LT(timer.elapsed(), 5000);  // all 4 million characters take much longer
    EXPECT_FALSE(Tree().horizontalScrollBar()->isVisible());
  });
  std::u16string faces;  // the cut falls between the halves of a character
  for (int i = 0; i < 600; ++i) faces += u"\U0001F600";
  faces.insert(faces.begin(), u'x');
  OnDisplay([&] {
    const QString line = OneLine(QString::fromStdU16String(faces));
    EXPECT_EQ(line.size(), 1000);
    EXPECT_TRUE(line.isValidUtf16());
  });
}

// --- depth ---------------------------------------------------------------------------------------

std::vector<TreeRow> Chain(TreeItem count) {
  std::vector<TreeRow> rows;
  for (TreeItem i = 1; i <= count; ++i) {
    rows.push_back({i, i - 1, false, Text("From number " + std::to_string(i))});
  }
  return rows;
}

TEST_F(TreeTest, DeepThreadsLeaveHalfTheWidthToTheText) {
  ShowTree(Chain(1800), {240, 320});
  tree().SelectItem(1800);
  EXPECT_EQ(tree().SelectedItem(), 1800u);
  OnDisplay([&] {
    const int width = Tree().viewport()->width();
    EXPECT_EQ(Tree().IndentOf(At(1)), 0);
    for (const TreeItem item : {1u, 2u, 3u, 4u, 5u}) {
      EXPECT_GE(Tree().IndentOf(At(item + 1)), Tree().IndentOf(At(item)) + 6) << item;
    }
    for (TreeItem item = 1; item < 1800; ++item) {
      ASSERT_LE(Tree().IndentOf(At(item)), Tree().IndentOf(At(item + 1)));
    }
    EXPECT_LE(Tree().IndentOf(At(1800)), width / 2);
    EXPECT_GE(Tree().TextRect(At(1800)).width(), width / 2 - Tree().fontMetrics().height() - 1);
    EXPECT_TRUE(OnScreen(Tree().TextRect(At(1800))));
    EXPECT_FALSE(Tree().horizontalScrollBar()->isVisible());
    EXPECT_EQ(Rows().DepthOf(At(1800)), 1799u);
  });
  EXPECT_EQ(Shown().size(), 1800u);
}

TEST_F(TreeTest, ChainOfAHundredThousandIsShown) {
  ShowTree(Chain(100000));
  tree().SelectItem(100000);
  EXPECT_EQ(tree().SelectedItem(), 100000u);
  EXPECT_EQ(Shown().size(), 100000u);
  OnDisplay([&] { EXPECT_EQ(Rows().DepthOf(At(100000)), 99999u); });
  tree().ReplaceSubtree(99000, {{500000, 0, false, u"end"}});
  EXPECT_EQ(Shown().size(), 99000u);
  OnDisplay([&] { EXPECT_EQ(Rows().DepthOf(At(500000)), 98999u); });
  tree().ReplaceSubtree(500, {});
  EXPECT_EQ(Shown().size(), 499u);
}

// --- looks ---------------------------------------------------------------------------------------

TEST_F(TreeTest, CaptionStandsAboveTheTreeAndIsThereBeforeIt) {
  ShowWindow();
  device->windows().SelectTab(port::kThreadTab);
  const std::u16string text = u"No threads, or no current group selected";
  tree().SetCaption(text);
  const auto caption = [&]() -> QLabel& { return *Main().Threads()->findChild<QLabel*>(); };
  OnDisplay([&] {
    QCoreApplication::processEvents();
    EXPECT_EQ(caption().text().toStdU16String(), text);
    EXPECT_EQ(caption().accessibleName().toStdU16String(), text);
    EXPECT_TRUE(caption().isVisible());
  });
  tree().CreateTree(u"thread tree", u"", 4);
  tree().SetCaption(u"<b>a.b</b>\n: 12 on server");
  OnDisplay([&] {
    QCoreApplication::processEvents();
    EXPECT_EQ(caption().text(), QStringLiteral("<b>a.b</b> : 12 on server"));
    EXPECT_EQ(caption().textFormat(), Qt::PlainText);
    EXPECT_TRUE(caption().toolTip().contains(QLatin1String("&lt;b&gt;a.b")));
    EXPECT_EQ(caption().geometry().bottom() + 1, Tree().geometry().top());
    EXPECT_GT(Tree().height(), Main().Threads()->height() * 3 / 4);
  });
  tree().SetCaption(std::u16string(5000, u'W'));
  OnDisplay([&] {
    QCoreApplication::processEvents();
    EXPECT_LE(Main().width(), 640);
    EXPECT_LE(caption().width(), 640);
  });
}

TEST_F(TreeTest, TreeAndRowsAreReadOut) {
  ShowTree(SmallTree());
  Expand(100);
  OnDisplay([&] {
    QAccessibleInterface* found = QAccessible::queryAccessibleInterface(&Tree());
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->text(QAccessible::Name), QStringLiteral("thread tree"));
    EXPECT_EQ(found->role(), QAccessible::Tree);
    QStringList names;
    for (int i = 0; i < found->childCount(); ++i) {
      QAccessibleInterface* row = found->child(i);
      ASSERT_NE(row, nullptr);
      names << row->text(QAccessible::Name);
      EXPECT_EQ(row->role(), QAccessible::TreeItem);
      EXPECT_EQ(found->indexOfChild(row), i);
      if (i == 0) {
        EXPECT_TRUE(row->state().expandable);
        EXPECT_TRUE(row->state().expanded);
        EXPECT_FALSE(row->state().collapsed);
      }
      if (i == 3) {
        EXPECT_TRUE(row->state().expandable);
        EXPECT_FALSE(row->state().expanded);
        EXPECT_TRUE(row->state().collapsed);
      }
    }
    EXPECT_EQ(names, (QStringList{QStringLiteral("Hello, 2 unread of 4 articles, level 1"),
                                  QStringLiteral("Ada, unread, 2 answers, level 2"),
                                  QStringLiteral("Dan, no answers, level 2"),
                                  QStringLiteral("World, 1 article, level 1"),
                                  QStringLiteral("Apple, 1 unread of 1 article, level 1")}));
  });
}

TEST_F(TreeTest, ToolTipShowsACutTextAsItStands) {
  ShowTree({{1, 0, false, u"<b>short</b>"},
            {2, 0, false, u"<img src='http://192.0.2.1/x.png'>" + std::u16string(300, u'x')}});
  const auto tip = [&](TreeItem item) {
    QHelpEvent event(QEvent::ToolTip, TextOf(item), Tree().viewport()->mapToGlobal(TextOf(item)));
    QApplication::sendEvent(Tree().viewport(), &event);
    return QToolTip::text();
  };
  OnDisplay([&] {
    EXPECT_EQ(tip(1), QString());
    EXPECT_TRUE(tip(2).contains(QLatin1String("&lt;img src=")));
    QToolTip::hideText();
  });
}

TEST_F(TreeTest, RefillLeavesTheRowsWhereTheyWere) {
  std::vector<TreeRow> rows;
  for (TreeItem i = 1; i <= 500; ++i) rows.push_back({i, 0, false, u"x"});
  ShowTree(rows);
  OnDisplay([&] { Tree().verticalScrollBar()->setValue(1000); });
  TreeItem top = 0;
  int y = 0;
  OnDisplay([&] {
    top = Rows().ItemOf(Tree().indexAt({100, 0}));
    y = Tree().visualRect(At(top)).y();
  });
  rows.erase(rows.begin(), rows.begin() + 7);
  tree().FillTree(rows);
  OnDisplay([&] { EXPECT_EQ(Tree().visualRect(At(top)).y(), y); });
  tree().ReplaceSubtree(20, {});
  OnDisplay([&] { EXPECT_EQ(Tree().visualRect(At(top)).y(), y); });
}

// Light pixels of a text that is there, dark ones of a background that is there.
TEST_F(TreeTest, RowsAreDrawnOnADarkPalette) {
  ShowTree(SmallTree());
  OnDisplay([&] {
    const DarkPalette dark;
    const QImage image = Tree().viewport()->grab().toImage();
    const auto lightest = [&](const QRect& place) {
      int light = 0;
      for (int y = place.top(); y <= place.bottom(); ++y) {
        for (int x = place.left(); x <= place.right(); ++x) {
          light = std::max(light, qGray(image.pixel(x, y)));
        }
      }
      return light;
    };
    EXPECT_GT(lightest(Tree().TextRect(At(100))), 150);
    EXPECT_GT(lightest(Tree().MarkRect(At(100))), 90);
    EXPECT_LT(lightest(QRect(0, 200, 300, 100)), 60);  // below the rows
  });
}

// --- a hundred thousand --------------------------------------------------------------------------

std::vector<TreeRow> ManyRows(TreeItem threads, TreeItem replies) {
  std::vector<TreeRow> rows;
  for (TreeItem i = 0; i < threads; ++i) {
    rows.push_back({(i + 1) | 0x80000000u, 0, true, Text("3/4 Subject " + std::to_string(i))});
    for (TreeItem reply = 0; reply < replies; ++reply) {
      rows.push_back({i * replies + reply + 1, reply + 1, true, u"Somebody <a@b.invalid>"});
    }
  }
  return rows;
}

TEST_F(TreeTest, AHundredThousandRowsAreFilledExpandedSelectedAndReplaced) {
  const std::vector<TreeRow> rows = ManyRows(25000, 3);
  ShowTree(rows);
  EXPECT_EQ(Shown().size(), 25000u);
  OnDisplay([&] { Tree().expandAll(); });
  EXPECT_EQ(Shown().size(), 100000u);
  tree().SelectItem(75000);
  EXPECT_EQ(tree().SelectedItem(), 75000u);
  tree().ReplaceSubtree(12000u | 0x80000000u, {{1, 0, false, u"twice"}, {99000, 1, true, u"x"}});
  EXPECT_EQ(tree().SelectedItem(), 75000u);
  EXPECT_EQ(Shown().size(), 99997u);
  std::vector<port::TreeLabel> labels;
  labels.reserve(rows.size());
  for (const TreeRow& row : rows) labels.push_back({row.item, false, u"read"});
  tree().SetLabels(std::move(labels));
  OnDisplay([&] {
    EXPECT_EQ(At(75000).data().toString(), QStringLiteral("read"));
    EXPECT_FALSE(At(75000).data(Qt::FontRole).isValid());
  });
  tree().FillTree(rows);
  EXPECT_EQ(tree().SelectedItem(), 75000u);
  EXPECT_GT(Shown().size(), 99990u);
}

}  // namespace
}  // namespace quillet::qt
