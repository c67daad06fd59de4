// SPDX-License-Identifier: GPL-3.0-or-later
// Where the keyboard is can be seen: each control is drawn with and without the focus, in light,
// dark and contrasting colours.
#include <QImage>
#include <QToolButton>
#include <memory>

#include "qt/focus_mark.h"
#include "qt/form_list.h"
#include "qt/form_table.h"
#include "qt/forms.h"
#include "qt/sheet_dialog.h"
#include "tests/qt/article_fixture.h"
#include "tests/qt/tree_fixture.h"

namespace quillet::qt {
namespace {

// A line of a finger's breadth has more than this.
constexpr int kLeastPixels = 12;

QPalette ContrastPalette() {
  QPalette palette(Qt::black);
  for (const QPalette::ColorRole role :
       {QPalette::Window, QPalette::Base, QPalette::Button, QPalette::AlternateBase}) {
    palette.setColor(role, Qt::black);
  }
  for (const QPalette::ColorRole role :
       {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(role, Qt::yellow);
  }
  palette.setColor(QPalette::Highlight, Qt::green);
  palette.setColor(QPalette::HighlightedText, Qt::black);
  return palette;
}

QPalette PalettePage(int which) {
  if (which == 1) {
    QPalette dark(QColor(0x20, 0x20, 0x20));
    dark.setColor(QPalette::Base, QColor(0x18, 0x18, 0x18));
    return dark;
  }
  return which == 2 ? ContrastPalette() : QApplication::palette();
}

// Display thread.
class WithPalette {
 public:
  explicit WithPalette(int which) {
    QApplication::setPalette(PalettePage(which));
    QCoreApplication::processEvents();
  }
  WithPalette(const WithPalette&) = delete;
  WithPalette& operator=(const WithPalette&) = delete;
  ~WithPalette() { QApplication::setPalette(before_); }

 private:
  const QPalette before_ = QApplication::palette();
};

// Pixels that are clearly lighter or darker in the one than in the other.
int Differing(const QImage& one, const QImage& other) {
  if (one.size() != other.size()) return 0;
  constexpr int kSeen = 24;
  int count = 0;
  for (int y = 0; y < one.height(); ++y) {
    for (int x = 0; x < one.width(); ++x) {
      const QColor a = one.pixelColor(x, y);
      const QColor b = other.pixelColor(x, y);
      const int difference = std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()),
                                       std::abs(a.blue() - b.blue())});
      if (difference >= kSeen) ++count;
    }
  }
  return count;
}

class FocusTest : public ArticleTest, public ::testing::WithParamInterface<int> {
 protected:
  void ExpectSeen(QWidget& widget, const std::string& where) {
    widget.setFocus();  // by whatever, a click for example
    QCoreApplication::processEvents();
    ASSERT_TRUE(widget.hasFocus()) << where;
    const QImage with = widget.grab().toImage();
    widget.clearFocus();
    QCoreApplication::processEvents();
    const QImage without = widget.grab().toImage();
    EXPECT_GE(Differing(with, without), kLeastPixels)
        << where << " " << widget.metaObject()->className() << " "
        << widget.accessibleName().toStdString();
  }
  // What Tab comes to in the window.
  void ExpectAllSeen(QWidget& window, const std::string& where) {
    int looked_at = 0;
    for (QWidget* widget : window.findChildren<QWidget*>()) {
      const bool takes = (widget->focusPolicy() & Qt::TabFocus) != 0 && widget->isEnabled() &&
                         widget->isVisible() && widget->focusProxy() == nullptr;
      const bool part =
          widget->parentWidget() != nullptr && widget->parentWidget()->focusProxy() == widget;
      if (!takes || part) continue;
      ++looked_at;
      ExpectSeen(*widget, where);
    }
    EXPECT_GT(looked_at, 0) << where;
  }
};

TEST_P(FocusTest, IsSeenInEveryView) {
  ShowWindow();
  device->windows().SelectTab(port::kThreadTab);
  device->thread_tree().CreateTree(u"thread tree", u"", 4);
  device->windows().SelectTab(port::kArticleTab);
  article().CreatePanes(u"Tahoma", 10);
  article().CreateToolbar({{40018, 0, u"Previous Thread"}, {40048, 4, u"Find"}});
  port::Size inside;
  OnDisplay([&] { inside = {Main().centralWidget()->width(), Main().centralWidget()->height()}; });
  device->windows().LayOut(inside, {inside.width, inside.height - 26});
  OnDisplay([&] {
    const WithPalette palette(GetParam());
    for (const int view : {0, 1, 2}) {
      Main().SelectTab(view);
      QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
      QCoreApplication::processEvents();
      ExpectAllSeen(Main(), "empty view " + std::to_string(view));
    }
  });
}

TEST_P(FocusTest, IsSeenInListsWithASelectedRow) {
  ShowWindow();
  FillRows(3);
  device->windows().SelectTab(port::kThreadTab);
  device->thread_tree().CreateTree(u"thread tree", u"", 4);
  device->thread_tree().FillTree(SmallTree());
  device->thread_tree().SelectItem(200);
  OnDisplay([&] {
    const WithPalette palette(GetParam());
    ExpectSeen(*Main().Threads()->Tree(), "tree");
    Main().SelectTab(port::kGroupTab);
    List().setCurrentIndex(List().model()->index(1, 0));
    ExpectSeen(List(), "list");
  });
}

// Of the link itself, not only of the page around it.
TEST_P(FocusTest, IsSeenAtALink) {
  ShowArticleTab();
  ShowSource(Wrapped(u"first <a href=\"http://a/\">some link</a> text"));
  OnDisplay([&] {
    const WithPalette palette(GetParam());
    Text().setFocus();
    const QImage before = Text().viewport()->grab().toImage();
    QTest::keyClick(Main().windowHandle(), Qt::Key_Tab);
    ASSERT_NE(Text().FocusedLink(), nullptr);
    const QImage after = Text().viewport()->grab().toImage();
    EXPECT_GE(Differing(before, after), 100);
  });
}

TEST_P(FocusTest, IsSeenInEveryForm) {
  for (const FormEntry& form : ProductForms()) {
    const std::string where = "form " + std::to_string(form.id);
    port::WindowHandle handle = 0;
    if (!form.is_page) {
      handle = device->dialogs().Create(form.id, 0, port::DialogKind::kModal);
      device->dialogs().Show(handle);
    }
    OnDisplay([&] {
      const WithPalette palette(GetParam());
      std::unique_ptr<QWidget> page;
      if (form.is_page) page.reset(NewFormPage(form.id, [](const port::Message&) {}));
      QWidget* shown = form.is_page ? page.get() : device->display().WidgetOf(handle);
      shown->show();
      shown->activateWindow();
      ASSERT_TRUE(QTest::qWaitForWindowActive(shown));
      ExpectAllSeen(*shown, where);
    });
    if (handle != 0) device->dialogs().Destroy(handle);
  }
}

TEST_P(FocusTest, IsSeenInASheet) {
  const port::WindowHandle main = ShowWindow();
  const auto pages = std::to_array<port::SheetPage>({{140, u"Server"}, {143, u"Reply"}});
  const port::WindowHandle sheet = device->sheets().Create(u"Quillet CE Preferences", pages, main);
  device->dialogs().Show(sheet);
  OnDisplay([&] {
    const WithPalette palette(GetParam());
    QWidget* shown = device->display().WidgetOf(sheet);
    ASSERT_TRUE(QTest::qWaitForWindowActive(shown));
    ExpectAllSeen(*shown, "sheet");
  });
  device->dialogs().Destroy(sheet);
}

std::string PaletteName(const ::testing::TestParamInfo<int>& info) {
  return std::array{"Light", "Dark", "Contrast"}[static_cast<std::size_t>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Palettes, FocusTest, ::testing::Values(0, 1, 2), PaletteName);

TEST(FocusColour, StandsOutFromEveryBackground) {
  QPalette palette;
  palette.setColor(QPalette::Highlight, Qt::blue);
  palette.setColor(QPalette::WindowText, Qt::yellow);
  EXPECT_EQ(FocusColour(palette, Qt::white), QColor(Qt::blue));
  EXPECT_EQ(FocusColour(palette, Qt::black), QColor(Qt::yellow));
  EXPECT_EQ(FocusColour(palette, Qt::blue), QColor(Qt::yellow));
  palette.setColor(QPalette::Highlight, QColor(0xEE, 0xEE, 0xEE));
  EXPECT_EQ(FocusColour(palette, Qt::white), QColor(Qt::black)) << "neither does";
  palette.setColor(QPalette::Highlight, QColor(0x11, 0x11, 0x11));
  palette.setColor(QPalette::WindowText, QColor(0x11, 0x11, 0x11));
  EXPECT_EQ(FocusColour(palette, Qt::black), QColor(Qt::white));
}

}  // namespace
}  // namespace quillet::qt
