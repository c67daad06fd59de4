// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/main_window.h"

#include <QAbstractScrollArea>
#include <QAccessible>
#include <QApplication>
#include <QFontDatabase>
#include <QHeaderView>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QScreen>
#include <QScrollBar>
#include <QStackedWidget>
#include <QToolButton>
#include <algorithm>

#include "qt/icons.h"
#include "qt/text.h"
#include "res/commands.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::MessageKind;
using port::TabPlacement;
using port::WindowHandle;

constexpr std::uint32_t kControl = 1;
constexpr std::uint32_t kAlt = 2;
constexpr std::uint32_t kShift = 4;

class WindowTest : public DisplayTest {
 protected:
  port::Windows& windows() { return device->windows(); }
  std::vector<port::Message> Messages() { return TakeMessages(queues); }
};

// --- the frame -----------------------------------------------------------------------------------

TEST_F(WindowTest, WorkAreaIsTheUsableScreen) {
  QSize screen;
  OnDisplay([&] { screen = QGuiApplication::primaryScreen()->availableGeometry().size(); });
  EXPECT_EQ(windows().WorkArea(), (port::Size{screen.width(), screen.height()}));
}

TEST_F(WindowTest, FontsAreSortedAndNoneIsThereTwice) {
  const std::vector<std::u16string> fonts = windows().Fonts();
  ASSERT_FALSE(fonts.empty());
  const auto folded = [](const std::u16string& family) { return ToQt(family).toCaseFolded(); };
  for (std::size_t i = 1; i < fonts.size(); ++i) {
    EXPECT_LT(folded(fonts[i - 1]), folded(fonts[i]));
  }
  OnDisplay([&] {
    for (const std::u16string& family : fonts) {
      EXPECT_TRUE(QFontDatabase::hasFamily(ToQt(family))) << ToQt(family).toStdString();
      EXPECT_FALSE(QFontDatabase::isPrivateFamily(ToQt(family)));
    }
  });
}

TEST_F(WindowTest, ADisplayThatHasGoneHasNoFonts) {
  OnDisplay([&] { device->jobs().Close(); });
  EXPECT_TRUE(windows().Fonts().empty());
}

TEST_F(WindowTest, WindowIsHiddenUntilItIsShown) {
  const WindowHandle handle =
      windows().CreateMainWindow({u"Quillet CE", u"Quillet CE 1.14r3", 103, {600, 400}});
  ASSERT_NE(handle, 0u);
  OnDisplay([&] {
    EXPECT_FALSE(Main().isVisible());
    EXPECT_EQ(Main().windowTitle(), QStringLiteral("Quillet CE 1.14r3"));
    EXPECT_FALSE(Main().windowIcon().isNull());
  });
  windows().ShowMainWindow();
  OnDisplay([&] { EXPECT_TRUE(Main().isVisible()); });
}

TEST_F(WindowTest, ResizingTellsTheInside) {
  const WindowHandle handle = ShowWindow();
  QSize inside;
  OnDisplay([&] {
    Main().resize(700, 500);
    QCoreApplication::processEvents();
    inside = Main().centralWidget()->size();
  });
  const auto sizes = OfKind(Messages(), MessageKind::kSize);
  ASSERT_FALSE(sizes.empty());
  EXPECT_EQ(sizes.back(), std::make_pair(static_cast<std::uint32_t>(inside.width()),
                                         static_cast<std::uint32_t>(inside.height())));
  EXPECT_EQ(inside.width(), 700);
  EXPECT_NE(handle, 0u);
}

TEST_F(WindowTest, LayOutPlacesTheTabControlFromTheTopLeft) {
  ShowWindow();
  QSize inside;
  OnDisplay([&] { inside = Main().centralWidget()->size(); });
  windows().LayOut({inside.width(), inside.height()}, {inside.width(), inside.height() - 26});
  OnDisplay([&] {
    EXPECT_EQ(Tabs().geometry(), QRect(QPoint(0, 0), inside - QSize(0, 26)));
    Main().resize(500, 400);  // until the program answers, what was left free stays free
    QCoreApplication::processEvents();
    EXPECT_EQ(Tabs().size(), Main().centralWidget()->size() - QSize(0, 26));
  });
}

TEST_F(WindowTest, CloseButtonOnlyAsks) {
  const WindowHandle handle = ShowWindow();
  OnDisplay([&] { Main().close(); });
  const auto messages = Messages();
  ASSERT_EQ(OfKind(messages, MessageKind::kClose).size(), 1u);
  EXPECT_EQ(messages.back().window, handle);
  OnDisplay([&] { EXPECT_TRUE(Main().isVisible()); });
}

TEST_F(WindowTest, DestroyIsIdempotentAndTakesTheDialogsAlong) {
  const WindowHandle handle = ShowWindow();
  const WindowHandle dialog = device->dialogs().Create(120, handle, port::DialogKind::kModal);
  windows().DestroyMainWindow();
  windows().DestroyMainWindow();
  OnDisplay([&] {
    EXPECT_EQ(device->display().main, nullptr);
    EXPECT_EQ(device->display().WidgetOf(dialog), nullptr);
  });
  EXPECT_FALSE(queues.Exists(handle));
  device->dialogs().Destroy(dialog);
  EXPECT_FALSE(queues.Exists(dialog));
  EXPECT_EQ(windows().SelectedTab(), 0);
  windows().SetStatusText(u"x");
  windows().InjectKeyUp(0x87);
  windows().Raise("");
}

TEST_F(WindowTest, RaisedWindowIsNoLongerMinimized) {
  ShowWindow();
  OnDisplay([&] {
    Main().showMinimized();
    ASSERT_TRUE(Main().isMinimized());
  });
  windows().Raise("");
  EXPECT_TRUE(WaitOnDisplay([&] { return !Main().isMinimized() && Main().isVisible(); }));
}

TEST_F(WindowTest, StatusTextStandsBelowTheList) {
  ShowWindow();
  windows().SetStatusText(u"2 articles queued for posting");
  OnDisplay([&] {
    QCoreApplication::processEvents();
    for (const QLabel* label : Main().findChildren<QLabel*>()) {
      if (label->text() != QStringLiteral("2 articles queued for posting")) continue;
      EXPECT_TRUE(label->isVisible());
      EXPECT_GE(label->mapTo(&Main(), QPoint()).y(),
                List().mapTo(&Main(), QPoint(0, List().height())).y());
      EXPECT_EQ(label->textFormat(), Qt::PlainText);
      return;
    }
    ADD_FAILURE() << "no such label";
  });
}

// --- tabs ----------------------------------------------------------------------------------------

struct PlacementCase {
  TabPlacement placement;
  QTabBar::Shape shape;
  std::array<std::uint32_t, 3> bitmaps;
  QSize size;
};

class TabPlacementTest : public WindowTest, public ::testing::WithParamInterface<PlacementCase> {};

TEST_P(TabPlacementTest, TabsStandAtTheirEdgeWithTheirBitmaps) {
  const PlacementCase& c = GetParam();
  ShowWindow(c.placement);
  OnDisplay([&] {
    QCoreApplication::processEvents();
    ImageTabBar& bar = Tabs().Bar();
    ASSERT_EQ(bar.count(), 3);
    EXPECT_EQ(bar.shape(), c.shape);
    const QRect pane = Tabs().Pane(0)->parentWidget()->geometry();
    if (c.placement == TabPlacement::kBottom) {
      EXPECT_GE(bar.y(), pane.bottom());
    }
    if (c.placement == TabPlacement::kLeft) {
      EXPECT_LE(bar.geometry().right(), pane.left());
    }
    if (c.placement == TabPlacement::kRight) {
      EXPECT_GE(bar.x(), pane.right());
    }
    const std::array<QString, 3> names{QStringLiteral("Newsgroups"), QStringLiteral("Threads"),
                                       QStringLiteral("Article")};
    for (int tab = 0; tab < 3; ++tab) {
      const auto i = static_cast<std::size_t>(tab);
      EXPECT_EQ(bar.Bitmap(tab), c.bitmaps[i]);
      EXPECT_EQ(ImageSize(bar.Bitmap(tab)), c.size);
      EXPECT_EQ(bar.tabText(tab), QString());
      EXPECT_EQ(bar.accessibleTabName(tab), names[i]);
      EXPECT_EQ(bar.tabToolTip(tab), names[i]);
      EXPECT_TRUE(bar.tabRect(tab).width() > c.size.width());
      EXPECT_TRUE(bar.tabRect(tab).height() > c.size.height());
    }
  });
}

INSTANTIATE_TEST_SUITE_P(
    Placements, TabPlacementTest,
    ::testing::Values(
        PlacementCase{TabPlacement::kBottom, QTabBar::RoundedSouth, {117, 110, 176}, QSize(43, 11)},
        PlacementCase{TabPlacement::kLeft, QTabBar::RoundedWest, {179, 180, 181}, QSize(11, 43)},
        PlacementCase{TabPlacement::kRight, QTabBar::RoundedEast, {179, 180, 181}, QSize(11, 43)}));

TEST_F(WindowTest, ChosenTabIsAnnouncedOnce) {
  ShowWindow();
  OnDisplay([&] {
    ImageTabBar& bar = Tabs().Bar();
    QTest::mouseClick(&bar, Qt::LeftButton, Qt::NoModifier, bar.tabRect(1).center());
    EXPECT_TRUE(Tabs().Pane(1)->isVisible());
    EXPECT_FALSE(Tabs().Pane(0)->isVisible());
  });
  EXPECT_EQ(OfKind(Messages(), MessageKind::kTabChanged), (Details{{1, 0}}));
  EXPECT_EQ(windows().SelectedTab(), 1);
}

TEST_F(WindowTest, TabsAreReachedByKeyboard) {
  ShowWindow();
  OnDisplay([&] { Tabs().Bar().setFocus(Qt::TabFocusReason); });
  Key(Qt::Key_Right);
  EXPECT_EQ(windows().SelectedTab(), 1);
  Key(Qt::Key_Right);
  EXPECT_EQ(windows().SelectedTab(), 2);
  EXPECT_EQ(OfKind(Messages(), MessageKind::kTabChanged), (Details{{1, 0}, {2, 1}}));
  OnDisplay([&] { EXPECT_TRUE(Tabs().Bar().hasFocus()); });
}

TEST_F(WindowTest, TabSelectedByTheProgramIsNotAnnounced) {
  ShowWindow();
  windows().SelectTab(2);
  EXPECT_EQ(windows().SelectedTab(), 2);
  OnDisplay([&] {
    EXPECT_EQ(Tabs().Bar().currentIndex(), 2);
    EXPECT_TRUE(Tabs().Pane(2)->isVisible());
  });
  windows().SelectTab(7);
  windows().SelectTab(-1);
  EXPECT_EQ(windows().SelectedTab(), 2);
  EXPECT_TRUE(OfKind(Messages(), MessageKind::kTabChanged).empty());
}

TEST_F(WindowTest, NewTabsReplaceTheViewsAndSelectTheGroups) {
  ShowWindow();
  FillRows(3);
  windows().SelectTab(2);
  Messages();
  windows().CreateTabs(TabPlacement::kRight);
  EXPECT_EQ(windows().SelectedTab(), 0);
  OnDisplay([&] { EXPECT_EQ(Main().GroupList(), nullptr); });  // the list went with its view
  EXPECT_TRUE(OfKind(Messages(), MessageKind::kTabChanged).empty());
  OnDisplay([&] { EXPECT_EQ(Main().findChildren<ImageTabBar*>().size(), 1); });
}

TEST_F(WindowTest, TabSelectedBeforeThereAreTabsIsTheGroups) {
  EXPECT_EQ(windows().SelectedTab(), 0);
  windows().CreateMainWindow({u"Quillet CE", u"t", 103, {600, 400}});
  windows().SelectTab(1);
  EXPECT_EQ(windows().SelectedTab(), 0);
}

// --- menus and buttons ---------------------------------------------------------------------------

// The keys of titles are the display's own.
QString TextOf(const QAction& action) {
  if (action.isSeparator()) return {};
  return action.menu() != nullptr ? action.text().remove(QLatin1Char('&')) : action.text();
}

struct Line {
  int depth;
  QString text;
  std::uint32_t command;
  bool operator==(const Line&) const = default;
};

void ReadMenu(const QList<QAction*>& actions, int depth, std::vector<Line>& lines) {
  for (const QAction* action : actions) {
    EXPECT_TRUE(action->shortcut().isEmpty());
    lines.push_back({depth, TextOf(*action), action->data().toUInt()});
    if (action->menu() != nullptr) ReadMenu(action->menu()->actions(), depth + 1, lines);
  }
}

std::vector<Line> LinesOfTable(int view) {
  std::vector<Line> lines;
  for (const MenuEntry& entry : MenuOfView(view)) {
    QString text = QString::fromUtf16(entry.text.data(), qsizetype(entry.text.size()));
    if (!entry.shortcut.empty()) {
      text += u'\t' + QString::fromUtf16(entry.shortcut.data(), qsizetype(entry.shortcut.size()));
    }
    lines.push_back({entry.depth, text, entry.command});
  }
  return lines;
}

TEST_F(WindowTest, MenusOfEveryViewAreTheTables) {
  ShowWindow();
  for (int view = 0; view < 3; ++view) {
    windows().SelectTab(view);
    OnDisplay([&] {
      QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
      std::vector<Line> lines;
      ReadMenu(Main().menuBar()->actions(), 0, lines);
      EXPECT_TRUE(lines == LinesOfTable(view)) << "view " << view;
    });
  }
}

TEST_F(WindowTest, GroupMenuShowsItsTexts) {
  ShowWindow();
  OnDisplay([&] {
    const QList<QAction*> bar = Main().menuBar()->actions();
    ASSERT_EQ(bar.size(), 3);
    EXPECT_EQ(bar[0]->text(), QStringLiteral("&File"));
    EXPECT_EQ(bar[1]->text(), QStringLiteral("&Group"));
    EXPECT_EQ(bar[2]->text(), QStringLiteral("&Help"));
    const QList<QAction*> file = bar[0]->menu()->actions();
    ASSERT_EQ(file.size(), 6);
    EXPECT_EQ(file[0]->text(), QStringLiteral("C&onnect\tCtrl+1"));
    EXPECT_TRUE(file[2]->isSeparator());
    EXPECT_EQ(file[5]->text(), QStringLiteral("&Close\tCtrl+W"));
    // Meant to differ from the key that is bound.
    EXPECT_EQ(bar[1]->menu()->actions()[1]->menu()->actions()[3]->text(),
              QStringLiteral("&Server read\tCtrl+Shift+M"));
  });
}

TEST_F(WindowTest, ChosenItemIsItsCommand) {
  const WindowHandle handle = ShowWindow();
  OnDisplay([&] { Main().menuBar()->actions()[0]->menu()->actions()[0]->trigger(); });
  const auto messages = Messages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].window, handle);
  EXPECT_EQ(messages[0].kind, MessageKind::kCommand);
  EXPECT_EQ(messages[0].id, 40008u);
}

TEST_F(WindowTest, ButtonsFollowTheViewAndAreNamed) {
  ShowWindow();
  const std::array<std::vector<std::pair<std::uint32_t, QString>>, 3> expected{
      {{{40008, QStringLiteral("Connect")}, {40050, QStringLiteral("Check/uncheck all")}},
       {{40048, QStringLiteral("Find")}},
       {}}};
  for (int view = 0; view < 3; ++view) {
    windows().SelectTab(view);
    OnDisplay([&] {
      std::vector<std::pair<std::uint32_t, QString>> found;
      if (Main().ViewButtons() != nullptr) {
        for (QToolButton* button : Main().ViewButtons()->findChildren<QToolButton*>()) {
          found.emplace_back(button->property("commandId").toUInt(), button->toolTip());
          EXPECT_EQ(button->accessibleName(), button->toolTip());
          EXPECT_FALSE(button->icon().isNull());
          EXPECT_TRUE(button->isVisible());
          button->click();
        }
      }
      EXPECT_EQ(found, expected[static_cast<std::size_t>(view)]);
    });
  }
  EXPECT_EQ(OfKind(Messages(), MessageKind::kCommand),
            (Details{{40008, 0}, {40050, 0}, {40048, 0}}));
}

// --- keys ----------------------------------------------------------------------------------------

int QtKey(std::uint32_t virtual_key) {
  switch (virtual_key) {
    case 0x25:
      return Qt::Key_Left;
    case 0x26:
      return Qt::Key_Up;
    case 0x27:
      return Qt::Key_Right;
    case 0x28:
      return Qt::Key_Down;
    case 0x70:
      return Qt::Key_F1;
    default:
      return static_cast<int>(virtual_key);
  }
}

Qt::KeyboardModifiers QtModifiers(std::uint32_t modifiers) {
  Qt::KeyboardModifiers result;
  if (modifiers & kControl) result |= Qt::ControlModifier;
  if (modifiers & kAlt) result |= Qt::AltModifier;
  if (modifiers & kShift) result |= Qt::ShiftModifier;
  return result;
}

TEST_F(WindowTest, EveryAcceleratorReachesTheProgramAsAKey) {
  ShowWindow();
  for (int view = 0; view < 3; ++view) {
    windows().SelectTab(view);
    Messages();
    for (const Accelerator& entry : AcceleratorsOfView(view)) {
      Key(static_cast<Qt::Key>(QtKey(entry.virtual_key)), QtModifiers(entry.modifiers));
      const auto messages = Messages();
      EXPECT_EQ(OfKind(messages, MessageKind::kKeyDown),
                (Details{{entry.virtual_key, entry.modifiers}}))
          << view << ": " << entry.command;
      EXPECT_EQ(OfKind(messages, MessageKind::kKeyUp).size(), 1u);
      EXPECT_TRUE(OfKind(messages, MessageKind::kCommand).empty());  // the program translates
    }
  }
}

TEST_F(WindowTest, AcceleratorDoesNothingInTheList) {
  ShowWindow();
  FillRows(3);
  Key(Qt::Key_A, Qt::ControlModifier);  // lists select all with it
  EXPECT_EQ(device->group_list().SelectedRow(), -1);
  EXPECT_EQ(OfKind(Messages(), MessageKind::kKeyDown), (Details{{'A', kControl}}));
}

TEST_F(WindowTest, OtherKeysReachProgramAndList) {
  ShowWindow();
  FillRows(3);
  Key(Qt::Key_Down);
  EXPECT_EQ(device->group_list().SelectedRow(), 0);
  const auto messages = Messages();
  EXPECT_EQ(OfKind(messages, MessageKind::kKeyDown), (Details{{0x28, 0}}));
  EXPECT_EQ(OfKind(messages, MessageKind::kKeyUp), (Details{{0x28, 0}}));
}

TEST_F(WindowTest, EscapeIsAKeyUp) {
  const WindowHandle handle = ShowWindow();
  windows().SelectTab(1);
  Messages();
  Key(Qt::Key_Escape);
  const auto messages = Messages();
  EXPECT_EQ(OfKind(messages, MessageKind::kKeyUp), (Details{{0x1B, 0}}));
  EXPECT_EQ(messages.back().window, handle);
}

TEST_F(WindowTest, ReleaseWithoutAPressIsNobodys) {
  ShowWindow();
  OnDisplay([&] { QTest::keyRelease(Main().windowHandle(), Qt::Key_Escape); });
  EXPECT_TRUE(Messages().empty());
}

TEST_F(WindowTest, EscapeThatClosesAMenuGoesNoFurther) {
  ShowWindow();
  OnDisplay([&] {
    QMenu* menu = Main().menuBar()->actions()[0]->menu();
    menu->popup(Main().mapToGlobal(QPoint(5, 25)));
    QCoreApplication::processEvents();
    ASSERT_EQ(QApplication::activePopupWidget(), menu);
    QTest::keyPress(Main().windowHandle(), Qt::Key_Escape);
    menu->close();
    QCoreApplication::processEvents();
    QTest::keyRelease(Main().windowHandle(), Qt::Key_Escape);
  });
  EXPECT_TRUE(OfKind(Messages(), MessageKind::kKeyUp).empty());
}

// --- looks ---------------------------------------------------------------------------------------

TEST_F(WindowTest, StatusTextThatIsTooLongForItsLineTakesMoreOfThem) {
  ShowWindow();
  FillRows(40);
  const auto status = [&]() -> QLabel& {
    for (QLabel* label : Main().findChildren<QLabel*>()) {
      if (label->text().contains(QStringLiteral("posted"))) return *label;
    }
    throw std::runtime_error("no status line");
  };
  const auto lines = [&] {
    QCoreApplication::processEvents();
    return status().contentsRect().height() / status().fontMetrics().lineSpacing();
  };
  windows().SetStatusText(u"412 new articles in 5 groups, 3 posted, 0:31.");
  OnDisplay([&] {
    EXPECT_EQ(lines(), 1);
    Main().resize(240, 320);
    EXPECT_EQ(lines(), 2);
    EXPECT_EQ(Main().size(), QSize(240, 320));
    const QRect text = status().fontMetrics().boundingRect(
        QRect(0, 0, status().contentsRect().width(), 1000), Qt::TextWordWrap, status().text());
    EXPECT_LE(text.height(), status().contentsRect().height());
    EXPECT_LT(List().geometry().bottom(), status().geometry().top()) << "the list ends above it";
  });
  windows().SetStatusText(u"3 posted");
  OnDisplay([&] { EXPECT_EQ(lines(), 1); });
}

TEST_F(WindowTest, AllIsVisibleOnTheSmallestScreen) {
  ShowWindow();
  FillRows(40);
  windows().SetStatusText(u"4294967295 articles queued for posting");
  OnDisplay([&] {
    Main().resize(240, 320);
    QCoreApplication::processEvents();
    EXPECT_EQ(Main().size(), QSize(240, 320));  // nothing forces it wider
    const QRect window(0, 0, 240, 320);
    std::vector<QWidget*> shown{Main().menuBar(), &List(), &Tabs().Bar(), Main().ViewButtons()};
    for (QWidget* widget : shown) {
      const QRect place(widget->mapTo(&Main(), QPoint(0, 0)), widget->size());
      EXPECT_TRUE(window.contains(place))
          << qPrintable(widget->accessibleName()) << " " << place.x() << "," << place.y() << " "
          << place.width() << "x" << place.height();
    }
    for (QAction* action : Main().menuBar()->actions()) {
      const QRect place = Main().menuBar()->actionGeometry(action);
      EXPECT_FALSE(place.isEmpty());
      EXPECT_FALSE(place.intersects(Main().ViewButtons()->geometry()));
    }
    EXPECT_FALSE(List().horizontalScrollBar()->isVisible());
    EXPECT_GT(List().viewport()->height(), 160);
  });
}

// Parts that the toolkit's own compound widgets are made of: read out with the widget.
bool IsPart(const QWidget& widget) {
  const QWidget* parent = widget.parentWidget();
  return widget.objectName().startsWith(QLatin1String("qt_")) || widget.inherits("QScrollBar") ||
         widget.inherits("QMenuBarExtension") ||
         (parent != nullptr && (parent->inherits("QTabBar") || parent->inherits("QHeaderView")));
}

TEST_F(WindowTest, EveryControlHasAnAccessibleName) {
  const WindowHandle main = ShowWindow();
  FillRows(2);
  std::vector<WindowHandle> dialogs;
  for (const std::uint32_t form : {120u, 121u, 122u}) {
    dialogs.push_back(device->dialogs().Create(form, main, port::DialogKind::kModal));
  }
  OnDisplay([&] {
    int looked_at = 0;
    for (const QWidget* widget : Main().findChildren<QWidget*>()) {
      if (IsPart(*widget)) continue;
      ++looked_at;
      EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->metaObject()->className();
    }
    EXPECT_GT(looked_at, 30);
  });
}

TEST_F(WindowTest, RowsAreReadOutWithTheirBoxes) {
  ShowWindow();
  device->group_list().Fill({{u"comp.test", u"3/9", port::CheckState::kChecked}}, 0);
  OnDisplay([&] {
    QAccessibleInterface* list = QAccessible::queryAccessibleInterface(&List());
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->text(QAccessible::Name), QStringLiteral("Newsgroups"));
    bool found = false;
    for (int i = 0; i < list->childCount(); ++i) {
      QAccessibleInterface* child = list->child(i);
      ASSERT_NE(child, nullptr);
      EXPECT_EQ(child->text(QAccessible::Name),
                QStringLiteral("comp.test, 3 unread of 9 articles"));
      found = true;
      EXPECT_EQ(child->role(), QAccessible::ListItem);
      EXPECT_TRUE(child->state().checkable);
      EXPECT_TRUE(child->state().checked);
      EXPECT_TRUE(child->state().selected);
    }
    EXPECT_TRUE(found);
  });
}

TEST_F(WindowTest, ImagesTakeTheirInkFromThePalette) {
  OnDisplay([&] {
    for (const std::uint32_t id : {117u, 110u, 176u, 179u, 180u, 181u}) {
      for (const qreal ratio : {1.0, 2.0}) {
        const QPixmap pixmap = Image(id, Qt::red, ratio);
        EXPECT_EQ(pixmap.size(), ImageSize(id) * ratio) << id;
        const QImage image = pixmap.toImage();
        int drawn = 0;
        for (int y = 0; y < image.height(); ++y) {
          for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y);
            if (colour.alpha() == 0) continue;
            ++drawn;
            EXPECT_EQ(colour.green(), 0);
          }
        }
        EXPECT_GT(drawn, 40) << id;
      }
    }
    EXPECT_TRUE(Image(4711, Qt::red, 1.0).isNull());
    EXPECT_FALSE(ImageSize(4711).isValid());
  });
}

TEST_F(WindowTest, NothingIsDrawnLightOnADarkPalette) {
  ShowWindow();
  FillRows(5);
  OnDisplay([&] {
    const DarkPalette dark;
    for (int tab = 0; tab < 3; ++tab) {
      Main().SelectTab(tab);
      QCoreApplication::processEvents();
      const QImage image = Main().grab().toImage();
      qint64 sum = 0;
      for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) sum += qGray(image.pixel(x, y));
      }
      EXPECT_LT(sum / (image.width() * image.height()), 70) << "tab " << tab;
    }
  });
}

}  // namespace
}  // namespace quillet::qt
