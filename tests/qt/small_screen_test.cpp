// SPDX-License-Identifier: GPL-3.0-or-later
// The views and menus on a phone's screen of 240 x 320, with letters of the usual size and larger
// ones; skipped on another screen.
#include <QMenuBar>
#include <QToolButton>

#include "tests/qt/article_fixture.h"

namespace quillet::qt {
namespace {

class SmallScreenViews : public ArticleTest {
 protected:
  void SetUp() override {
    bool small = false;
    OnDisplay([&] { small = FillsScreen(nullptr); });
    if (!small) GTEST_SKIP() << "the screen is a desktop's";
    OnDisplay([&] { before_ = QApplication::font(); });
    ShowArticleTab({240, 320});
  }
  void TearDown() override {
    if (IsSkipped()) return;
    OnDisplay([&] { QApplication::setFont(before_); });
  }
  void EnlargeLetters(double factor) {
    OnDisplay([&] {
      QFont font = before_;
      font.setPointSizeF(before_.pointSizeF() * factor);
      QApplication::setFont(font);
    });
  }
  // The menus of the bar and those below them.
  std::vector<QMenu*> Menus() {
    const QList<QMenu*> menus = Main().menuBar()->findChildren<QMenu*>();
    return {menus.begin(), menus.end()};
  }
  void ExpectBarWhole() {
    QMenuBar& bar = *Main().menuBar();
    const QWidget* corner = bar.cornerWidget();
    const int end = corner != nullptr ? corner->x() : bar.width();
    EXPECT_LE(bar.width(), 240);
    for (const QAction* action : bar.actions()) {
      const QRect place = bar.actionGeometry(const_cast<QAction*>(action));
      EXPECT_FALSE(place.isEmpty()) << action->text().toStdString();
      EXPECT_LT(place.right(), end) << action->text().toStdString();
    }
    if (corner == nullptr) return;
    EXPECT_LE(corner->geometry().right(), bar.width());
    EXPECT_GE(corner->width(), corner->minimumSizeHint().width());
  }
  void ExpectMenusWhole() {
    for (QMenu* menu : Menus()) {
      menu->popup({0, 0});
      QCoreApplication::processEvents();
      const std::string name = menu->title().toStdString();
      EXPECT_LE(menu->sizeHint().width(), 240) << name;
      EXPECT_TRUE(QRect(0, 0, 240, 320).contains(menu->geometry())) << name;
      menu->close();
    }
  }

  QFont before_;
};

TEST_F(SmallScreenViews, MenuBarsAndMenusAreWhole) {
  for (const double factor : {1.0, 1.2}) {
    EnlargeLetters(factor);
    for (int tab = 0; tab < port::kTabCount; ++tab) {
      device->windows().SelectTab(tab);
      OnDisplay([&] {
        QCoreApplication::processEvents();
        ExpectBarWhole();
        ExpectMenusWhole();
      });
    }
  }
}

TEST_F(SmallScreenViews, AMenuThatIsTooWideLosesItsShortcutsBeforeItsTexts) {
  OnDisplay([&] {
    for (QMenu* menu : Menus()) {
      if (menu->accessibleName() != "Article") continue;
      menu->popup({0, 0});
      QStringList texts;
      for (const QAction* action : menu->actions()) texts << action->text();
      menu->close();
      EXPECT_TRUE(texts.contains("&Toggle Auto-Remove CRs"));
      EXPECT_TRUE(texts.contains("&Find"));
    }
  });
}

TEST_F(SmallScreenViews, TheNoticeAndTheHeaderAreWhole) {
  ShowSource(Lines(50));
  article().SetHeader(
      {port::HeaderLine{u"Subject: a subject that is much too long for a phone", u"Thread 100/100"},
       port::HeaderLine{u"From: somebody with a long name", u"Article 99/100",
                        u"Sat 21 Nov 2026 10:05"}});
  article().SetNotice(u"All other articles are read.");
  OnDisplay([&] {
    QCoreApplication::processEvents();
    const QLabel& notice = *Main().Article()->Notice();
    EXPECT_GE(notice.width() - notice.contentsMargins().left() - notice.contentsMargins().right(),
              notice.fontMetrics().horizontalAdvance(notice.text()));
    EXPECT_GE(notice.height(), notice.fontMetrics().height());
    EXPECT_TRUE(Main().Article()->rect().contains(notice.geometry()));
    EXPECT_TRUE(Header().AsideRect(1).isEmpty()) << "there is no room for a date";
    EXPECT_GE(Header().RightRect(0).width(),
              Header().fontMetrics().horizontalAdvance("Thread 100/100"));
    EXPECT_GT(Text().height(), 100);
  });
}

}  // namespace
}  // namespace quillet::qt
