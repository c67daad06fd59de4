// SPDX-License-Identifier: GPL-3.0-or-later
// What reading on asks of the toolkit's display: whether a page was turned, the line that says the
// end, keys that the focus uses itself, the place of text and window; and the columns and the date
// where there is room.
#include <QScrollBar>
#include <QTimeZone>
#include <limits>

#include "qt/relative_date.h"
#include "tests/qt/article_fixture.h"
#include "tests/qt/tree_fixture.h"

namespace quillet::qt {
namespace {

using port::MessageKind;
using port::ScrollStep;

// --- the article view ----------------------------------------------------------------------------

TEST_F(ArticleTest, AStepTellsWhetherItHasMovedThePage) {
  ShowArticleTab();
  ShowSource(Lines(200));
  EXPECT_FALSE(article().ScrollViewer(ScrollStep::kPageUp));
  EXPECT_TRUE(article().ScrollViewer(ScrollStep::kPageDown));
  EXPECT_TRUE(article().ScrollViewer(ScrollStep::kPageUp));
  int pages = 0;
  while (article().ScrollViewer(ScrollStep::kPageDown) && pages < 1000) ++pages;
  EXPECT_GT(pages, 3);
  EXPECT_FALSE(article().ScrollViewer(ScrollStep::kBottom)) << "the end was the end";
  ShowSource(Lines(2));
  EXPECT_FALSE(article().ScrollViewer(ScrollStep::kPageDown));
}

TEST_F(ArticleTest, TheEndOfALongTextIsNotTakenForReachedBeforeItIsLaidOut) {
  ShowArticleTab();
  ShowSource(Lines(20000));
  int last = 0;
  OnDisplay([&] { Text().verticalScrollBar()->setValue(Text().verticalScrollBar()->maximum()); });
  while (article().ScrollViewer(ScrollStep::kPageDown)) {
  }
  OnDisplay([&] { last = Text().verticalScrollBar()->value(); });
  article().ScrollViewer(ScrollStep::kBottom);
  EXPECT_EQ(Scrolled(), last);
}

TEST_F(ArticleTest, TheNoticeIsALineBelowTheTextThatGoesWithTheNextArticle) {
  ShowArticleTab({240, 320});
  ShowSource(Lines(100));
  article().ScrollViewer(ScrollStep::kBottom);
  article().SetNotice(u"All articles are read.");
  OnDisplay([&] {
    QLabel& notice = *Main().Article()->Notice();
    EXPECT_TRUE(notice.isVisible());
    EXPECT_EQ(notice.text(), "All articles are read.");
    EXPECT_EQ(notice.accessibleName(), "All articles are read.");
    EXPECT_GE(notice.width(), notice.fontMetrics().horizontalAdvance(notice.text()));
    EXPECT_GE(notice.y(), Text().geometry().bottom());
    EXPECT_EQ(Text().verticalScrollBar()->value(), Text().verticalScrollBar()->maximum())
        << "the last line stays in sight";
  });
  EXPECT_FALSE(article().ScrollViewer(ScrollStep::kPageDown));
  ShowSource(Lines(1));
  OnDisplay([&] { EXPECT_TRUE(Main().Article()->Notice()->isHidden()); });
}

TEST_F(ArticleTest, APlaceInTheTextIsFoundAgain) {
  ShowArticleTab();
  ShowSource(Lines(300));
  EXPECT_EQ(article().ViewerPlace(), 0U);
  article().ScrollViewer(ScrollStep::kPageDown);
  article().ScrollViewer(ScrollStep::kPageDown);
  const std::uint32_t place = article().ViewerPlace();
  const int scrolled = Scrolled();
  EXPECT_GT(place, 0U);
  ShowSource(Lines(300));
  EXPECT_EQ(Scrolled(), 0);
  article().GoToViewerPlace(place);
  EXPECT_NEAR(Scrolled(), scrolled, 30) << "to the line";
  EXPECT_EQ(article().ViewerPlace(), place);
  article().GoToViewerPlace(0xFFFFFFFF);
  EXPECT_FALSE(article().ScrollViewer(ScrollStep::kPageDown)) << "as near as there is";
  article().GoToViewerPlace(0);
  EXPECT_EQ(Scrolled(), 0);
}

class SpaceBar : public ArticleTest {
 protected:
  std::vector<std::uint32_t> KeysToldAfter(Qt::Key key, Qt::KeyboardModifiers held = {}) {
    TakeMessages(queues);
    OnDisplay([&] {
      Main().activateWindow();
      ASSERT_TRUE(QTest::qWaitForWindowActive(&Main()));
      QTest::keyClick(Main().windowHandle(), key, held);
    });
    std::vector<std::uint32_t> keys;
    for (const port::Message& message : TakeMessages(queues)) {
      if (message.kind == MessageKind::kKeyUp) keys.push_back(message.id);
    }
    return keys;
  }
};

TEST_F(SpaceBar, IsToldFromTheTextAndNotFromAButton) {
  ShowArticleTab();
  EXPECT_EQ(KeysToldAfter(Qt::Key_Space), std::vector<std::uint32_t>{port::kKeySpace});
  EXPECT_EQ(KeysToldAfter(Qt::Key_Space, Qt::ShiftModifier),
            std::vector<std::uint32_t>{port::kKeySpace});
  OnDisplay([&] { Header().setFocus(); });
  EXPECT_TRUE(KeysToldAfter(Qt::Key_Space).empty());
  EXPECT_EQ(KeysToldAfter(Qt::Key_N), std::vector<std::uint32_t>{'N'});
}

class TreeLetters : public TreeTest {
 protected:
  std::vector<std::uint32_t> Press(const std::vector<Qt::Key>& keys) {
    TakeMessages(queues);
    OnDisplay([&] {
      Main().activateWindow();
      ASSERT_TRUE(QTest::qWaitForWindowActive(&Main()));
      for (const Qt::Key key : keys) QTest::keyClick(Main().windowHandle(), key);
    });
    std::vector<std::uint32_t> told;
    for (const port::Message& message : TakeMessages(queues)) {
      if (message.kind == MessageKind::kKeyUp) told.push_back(message.id);
    }
    return told;
  }
  void ShowNames() {
    ShowTree({{1, 0, false, u"Apple"}, {2, 0, false, u"Anna"}, {3, 0, false, u"Nora"}});
    tree().SelectItem(1);
  }
};

TEST_F(TreeLetters, ALetterOfTheProgramBeginsNoSearchAndIsTold) {
  ShowNames();
  tree().SetTreeTraits({false, u"N"});
  EXPECT_EQ(Press({Qt::Key_N}), std::vector<std::uint32_t>{'N'});
  EXPECT_EQ(tree().SelectedItem(), 1U);
}

TEST_F(TreeLetters, WithinASearchItIsTheSearchs) {
  ShowNames();
  tree().SetTreeTraits({false, u"N"});
  EXPECT_EQ(Press({Qt::Key_A, Qt::Key_N}), std::vector<std::uint32_t>{'A'});
  EXPECT_EQ(tree().SelectedItem(), 2U);
}

TEST_F(TreeLetters, WithoutLettersOfTheProgramEachSearches) {
  ShowNames();
  Press({Qt::Key_N});
  EXPECT_EQ(tree().SelectedItem(), 3U);
}

// --- dates and columns ---------------------------------------------------------------------------

const QTimeZone kZone(3600);  // an hour ahead of UTC
// Saturday 21 November 2026, 11:00 there.
const QDateTime kNow(QDate(2026, 11, 21), QTime(11, 0), kZone);
constexpr port::Seconds kThen = 1795255200;

TEST(RelativeDate, IsSaidAsNearAsItIs) {
  constexpr port::Seconds kDay = 86400;
  EXPECT_EQ(RelativeDate(kThen, kNow), "today 11:00");
  EXPECT_EQ(RelativeDate(kThen - 11 * 3600, kNow), "today 00:00");
  EXPECT_EQ(RelativeDate(kThen - 11 * 3600 - 1, kNow), "yesterday 23:59");
  EXPECT_EQ(RelativeDate(kThen - kDay, kNow), "yesterday 11:00");
  EXPECT_EQ(RelativeDate(kThen - 2 * kDay, kNow), "19 Nov");
  EXPECT_EQ(RelativeDate(kThen - 18 * kDay, kNow), "3 Nov");
  EXPECT_EQ(RelativeDate(kThen - 365 * kDay, kNow), "21 Nov 2025");
  EXPECT_EQ(RelativeDate(0, kNow), "1 Jan 1970");
}

TEST(RelativeDate, DaysToComeAreNamedToo) {
  EXPECT_EQ(RelativeDate(kThen + 12 * 3600, kNow), "today 23:00");
  EXPECT_EQ(RelativeDate(kThen + 13 * 3600, kNow), "22 Nov");
  EXPECT_EQ(RelativeDate(kThen + port::Seconds{50} * 86400, kNow), "10 Jan 2027");
}

TEST(RelativeDate, WhatIsNoDateIsEmpty) {
  EXPECT_EQ(RelativeDate(port::kNoDate, kNow), "");
  EXPECT_EQ(RelativeDate(INT64_MAX, kNow), "");
}

TEST(RelativeDate, AtMidnightTodayIsAnotherDay) {
  EXPECT_EQ(MillisecondsToMidnight(kNow), 13 * 3600 * 1000);
  EXPECT_EQ(MillisecondsToMidnight(QDateTime(QDate(2026, 11, 21), QTime(23, 59, 59, 999), kZone)),
            1000);
}

std::vector<port::TreeRow> DatedTree() {
  return {{100, 0, true, u"1/2 Hello", 86400 * 365},
          {1, 1, false, u"Ada", 0},
          {2, 2, true, u"Bob", 86400 * 365},
          {200, 0, false, u"Other", 0},
          {4, 1, false, u"Gil", 0},
          {300, 0, false, u"Lone", port::kNoDate},
          {3, 1, false, u"Fay <fay@example.invalid> with a name that is much longer than a column",
           port::kNoDate}};
}

TEST_F(TreeTest, AWideWindowHasColumnsForAuthorAndDate) {
  ShowTree(DatedTree());
  OnDisplay([&] {
    Main().resize(900, 600);
    QCoreApplication::processEvents();
  });
  tree().SetTreeTraits({true, u""});
  Expand(100);
  OnDisplay([&] {
    EXPECT_EQ(Tree().AuthorText(At(100)), "Ada");
    EXPECT_EQ(Tree().AuthorText(At(1)), "") << "its label is the author";
    EXPECT_EQ(Tree().DateText(At(100)), "1 Jan 1971");
    EXPECT_EQ(Tree().DateText(At(1)), "1 Jan 1970");
    EXPECT_EQ(Tree().DateText(At(300)), "");
    const QRect text = Tree().TextRect(At(100));
    const QRect author = Tree().AuthorRect(At(100));
    const QRect date = Tree().DateRect(At(100));
    EXPECT_FALSE(text.intersects(author));
    EXPECT_FALSE(author.intersects(date));
    EXPECT_LT(text.right(), author.left());
    EXPECT_LT(author.right(), date.left());
    EXPECT_EQ(date.right(), Tree().viewport()->rect().right());
    EXPECT_GT(text.width(), Tree().width() / 3);
    EXPECT_GE(date.width(), Tree().fontMetrics().horizontalAdvance("yesterday 00:00"));
  });
}

TEST_F(TreeTest, TheColumnsAreDrawnAndGoInANarrowWindow) {
  ShowTree(DatedTree());
  OnDisplay([&] {
    Main().resize(900, 600);
    QCoreApplication::processEvents();
  });
  const auto ink = [&](const QRect& place) {
    const QImage image =
        Tree().viewport()->grab(place).toImage().convertToFormat(QImage::Format_RGB32);
    const QRgb ground = image.pixel(0, 0);
    int pixels = 0;
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) pixels += image.pixel(x, y) != ground ? 1 : 0;
    }
    return pixels;
  };
  QRect date;
  tree().SetTreeTraits({true, u""});
  OnDisplay([&] {
    date = Tree().DateRect(At(200));
    EXPECT_GT(ink(date), 20);
    EXPECT_GT(ink(Tree().AuthorRect(At(200))), 5);
  });
  tree().SetTreeTraits({});
  OnDisplay([&] {
    EXPECT_EQ(ink(date), 0);
    EXPECT_TRUE(Tree().DateRect(At(100)).isEmpty());
  });
  tree().SetTreeTraits({true, u""});
  OnDisplay([&] {
    Main().resize(799, 600);
    QCoreApplication::processEvents();
    EXPECT_TRUE(Tree().DateRect(At(100)).isEmpty());
    EXPECT_EQ(Tree().DateText(At(100)), "");
    EXPECT_EQ(Tree().TextRect(At(100)).right(), Tree().viewport()->rect().right());
    Main().resize(800, 600);
    QCoreApplication::processEvents();
    EXPECT_FALSE(Tree().DateRect(At(100)).isEmpty());
  });
}

TEST_F(ArticleTest, TheDateStandsBeforeThePlaceWhereThereIsRoom) {
  ShowArticleTab({640, 480});
  article().SetHeader({port::HeaderLine{u"Subject: a", u"Thread 1/1"},
                       port::HeaderLine{u"From: b", u"Article 0/1", u"Sat 21 Nov 2026 10:05"}});
  OnDisplay([&] {
    const QRect aside = Header().AsideRect(1);
    EXPECT_GE(aside.width(), Header().fontMetrics().horizontalAdvance("Sat 21 Nov 2026 10:05"));
    EXPECT_LT(aside.right(), Header().RightRect(1).left());
    EXPECT_LT(Header().LeftRect(1).right(), aside.left());
    EXPECT_TRUE(Header().AsideRect(0).isEmpty());
    EXPECT_EQ(Header().LeftRect(0).right(), Header().RightRect(0).left() - 5 - 1);
    EXPECT_TRUE(Header().accessibleName().contains("Sat 21 Nov 2026 10:05"));
    Main().resize(479, 400);
    QCoreApplication::processEvents();
    EXPECT_TRUE(Header().AsideRect(1).isEmpty());
    EXPECT_EQ(Header().LeftRect(1).right(), Header().RightRect(1).left() - 5 - 1);
    Main().resize(480, 400);
    QCoreApplication::processEvents();
    EXPECT_FALSE(Header().AsideRect(1).isEmpty());
  });
}

// --- the place of the window ---------------------------------------------------------------------

class PlaceOfWindow : public DisplayTest {
 protected:
  // Shown, and where it then says it is.
  std::optional<port::WindowPlace> Shown(std::optional<port::WindowPlace> wanted) {
    device->windows().CreateMainWindow({u"w", u"w", 101, {640, 480}, wanted});
    EXPECT_EQ(device->windows().MainWindowPlace(), std::nullopt) << "not shown yet";
    device->windows().ShowMainWindow();
    OnDisplay([] { QCoreApplication::processEvents(); });
    return device->windows().MainWindowPlace();
  }
};

TEST_F(PlaceOfWindow, IsGivenBackAsItIsTold) {
  const port::WindowPlace place{40, 50, {500, 400}, false};
  EXPECT_EQ(Shown(place), place);
}

TEST_F(PlaceOfWindow, WithoutOneItIsTheUpperLeftCorner) {
  EXPECT_EQ(Shown(std::nullopt), (port::WindowPlace{0, 0, {640, 480}, false}));
}

TEST_F(PlaceOfWindow, MaximisedItTellsWhatItGoesBackTo) {
  const auto told = Shown(port::WindowPlace{40, 50, {500, 400}, true});
  ASSERT_TRUE(told);
  EXPECT_EQ(told, (port::WindowPlace{40, 50, {500, 400}, true}));
  OnDisplay([&] {
    EXPECT_TRUE(Main().isMaximized());
    Main().showNormal();
    QCoreApplication::processEvents();
  });
  const auto normal = device->windows().MainWindowPlace();
  ASSERT_TRUE(normal);
  EXPECT_FALSE(normal->maximised);
}

TEST_F(PlaceOfWindow, BeyondEveryScreenItIsBroughtBack) {
  const auto told = Shown(port::WindowPlace{100000, 100000, {500, 400}, false});
  ASSERT_TRUE(told);
  OnDisplay([&] { EXPECT_TRUE(WorkAreaOf(&Main()).contains(Main().frameGeometry())); });
}

TEST_F(PlaceOfWindow, NumbersThatNoScreenHasAreBroughtBackToo) {
  constexpr int kMost = std::numeric_limits<int>::max();
  constexpr int kLeast = std::numeric_limits<int>::min();
  const auto told = Shown(port::WindowPlace{kMost - 10, kLeast, {kMost, kMost}, false});
  ASSERT_TRUE(told);
  OnDisplay([&] { EXPECT_TRUE(WorkAreaOf(&Main()).contains(Main().frameGeometry())); });
}

}  // namespace
}  // namespace quillet::qt
