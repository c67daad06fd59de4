// SPDX-License-Identifier: GPL-3.0-or-later
// Property sheets and windows with forms as widgets; the cases named SmallScreen run on a screen of
// 240x320 only, the others on a desktop's.
#include <QComboBox>
#include <QListWidget>
#include <QScrollArea>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTextEdit>

#include "qt/form_list.h"
#include "qt/forms.h"
#include "qt/main_window.h"
#include "qt/sheet_dialog.h"
#include "tests/forms/ids.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::DialogKind;
using port::MessageKind;
using port::WindowHandle;

class SheetTest : public DisplayTest {
 protected:
  WindowHandle NewSheet() {
    const std::array<port::SheetPage, 2> pages{
        {{kDialogFirstPage, u"Reply information"}, {kDialogSecondPage, u"Debugging"}}};
    sheet = device->sheets().Create(u"Preferences", pages, 0);
    device->dialogs().Show(sheet);
    OnDisplay([&] { EXPECT_TRUE(QTest::qWaitForWindowActive(&Sheet())); });
    return sheet;
  }
  SheetDialog& Sheet() { return dynamic_cast<SheetDialog&>(*device->display().WidgetOf(sheet)); }
  QWidget& Page(int page) {
    return *device->display().WidgetOf(device->sheets().Page(sheet, page));
  }
  int ShownPage() {
    int page = -1;
    device->jobs().Call([&] { page = Sheet().ShownPage(); });
    return page;
  }
  bool FillsTheScreen(QWidget& widget) {
    constexpr int kFrame = 8;  // at most
    return widget.isMaximized() && widget.width() >= WorkAreaOf(&widget).width() - kFrame;
  }
  WindowHandle NewWindow() {
    const WindowHandle window = device->dialogs().Create(kDialogEveryKind, 0, DialogKind::kWindow);
    device->dialogs().Show(window);
    OnDisplay(
        [&] { EXPECT_TRUE(QTest::qWaitForWindowActive(device->display().WidgetOf(window))); });
    return window;
  }
  QSize SizeOf(WindowHandle window) {
    QSize size;
    device->jobs().Call([&] { size = device->display().WidgetOf(window)->size(); });
    return size;
  }

  WindowHandle sheet = 0;
};

TEST_F(SheetTest, NamesOfThePagesStandBesideThePage) {
  NewSheet();
  OnDisplay([&] {
    const auto* names = Sheet().findChild<QListWidget*>();
    ASSERT_NE(names, nullptr);
    EXPECT_EQ(names->count(), 2);
    EXPECT_EQ(names->item(1)->text(), QStringLiteral("Debugging"));
    EXPECT_EQ(names->accessibleName(), QStringLiteral("Pages"));
    EXPECT_LT(names->geometry().right(), Page(0).mapTo(&Sheet(), QPoint()).x());
    EXPECT_EQ(Sheet().windowTitle(), QStringLiteral("Preferences"));
    EXPECT_EQ(Page(0).accessibleName(), QStringLiteral("Reply information"));
    EXPECT_EQ(Sheet().windowModality(), Qt::ApplicationModal);
  });
}

TEST_F(SheetTest, KeysGoThroughThePages) {
  NewSheet();
  Key(Qt::Key_Tab, Qt::ControlModifier);
  EXPECT_EQ(ShownPage(), 1);
  Key(Qt::Key_Tab, Qt::ControlModifier);
  EXPECT_EQ(ShownPage(), 0) << "behind the last page comes the first";
  Key(Qt::Key_PageDown, Qt::ControlModifier);
  EXPECT_EQ(ShownPage(), 1);
  Key(Qt::Key_PageUp, Qt::ControlModifier);
  EXPECT_EQ(ShownPage(), 0);
  Key(Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_EQ(ShownPage(), 1);
  OnDisplay([&] { EXPECT_EQ(Sheet().findChild<QListWidget*>()->currentRow(), 1); });
}

TEST_F(SheetTest, FocusInAPageGoesToThePageThatComes) {
  NewSheet();
  OnDisplay([&] { ControlOf(Page(0), kControlPageEdit)->setFocus(); });
  Key(Qt::Key_PageDown, Qt::ControlModifier);
  OnDisplay([&] { EXPECT_TRUE(ControlOf(Page(1), kControlPageBox)->hasFocus()); });
}

TEST_F(SheetTest, TabGoesFromTheNamesThroughThePageToTheButtons) {
  NewSheet();
  OnDisplay([&] { EXPECT_TRUE(Sheet().findChild<QListWidget*>()->hasFocus()); });
  Key(Qt::Key_Tab);
  OnDisplay([&] { EXPECT_TRUE(ControlOf(Page(0), kControlPageEdit)->hasFocus()); });
  Key(Qt::Key_Tab);
  OnDisplay([&] {
    const auto* button = qobject_cast<QPushButton*>(Sheet().focusWidget());
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->text(), QStringLiteral("OK"));
  });
}

TEST_F(SheetTest, APageThatDoesNotFitIsScrolledDownOnly) {
  NewSheet();
  device->sheets().ShowPage(sheet, 1);
  OnDisplay([&] {
    Sheet().resize(400, 200);
    QCoreApplication::processEvents();
    const auto* area = qobject_cast<QScrollArea*>(Page(1).parentWidget()->parentWidget());
    ASSERT_NE(area, nullptr);
    EXPECT_GT(area->verticalScrollBar()->maximum(), 0);
    EXPECT_EQ(area->horizontalScrollBar()->maximum(), 0);
  });
}

TEST_F(SheetTest, ADestroyedDisplayTakesSheetsAlong) {
  NewSheet();
  OnDisplay([&] { EXPECT_TRUE(Sheet().isVisible()); });
}

TEST_F(SheetTest, WindowIsResizableAndNotModal) {
  const WindowHandle window = NewWindow();
  OnDisplay([&] {
    const QWidget& widget = *device->display().WidgetOf(window);
    EXPECT_EQ(widget.windowModality(), Qt::NonModal);
    EXPECT_EQ(widget.windowType(), Qt::Window);
    EXPECT_EQ(widget.parentWidget(), nullptr);
    EXPECT_GT(widget.maximumWidth(), widget.width());
  });
}

TEST_F(SheetTest, WindowHasTheSizeThatTheLastOneHad) {
  const WindowHandle window = NewWindow();
  OnDisplay([&] { device->display().WidgetOf(window)->resize(421, 733); });
  device->dialogs().Destroy(window);
  EXPECT_EQ(SizeOf(NewWindow()), QSize(421, 733));
}

TEST_F(SheetTest, SizesOfWindowsSurviveTheRun) {
  const QTemporaryDir folder;
  const QString file = folder.filePath(QStringLiteral("display.ini"));
  const auto restart = [&] {
    gDisplayThread->Call([&] {
      device.reset();
      device = std::make_unique<QtDevice>(queues, file);
    });
  };
  restart();
  const WindowHandle window = NewWindow();
  OnDisplay([&] { device->display().WidgetOf(window)->resize(432, 744); });
  device->dialogs().Destroy(window);
  restart();
  EXPECT_EQ(SizeOf(NewWindow()), QSize(432, 744));
}

TEST_F(SheetTest, SizesThatCannotBeKeptAreLostOnly) {
  WindowSizes sizes(QStringLiteral("/no/such/folder/display.ini"));
  sizes.Remember(130, {300, 200});
  EXPECT_EQ(sizes.Of(130), QSize(300, 200));
  EXPECT_FALSE(sizes.Of(131).isValid());
}

TEST_F(SheetTest, ClickOnTheBoxOfARowChangesItAndADoubleClickActivates) {
  const WindowHandle window = NewWindow();
  device->dialogs().Write(window, kControlCheckList,
                          port::Rows{{{{u"a.b", u"1"}, false}, {{u"c.d", u"2"}, false}}});
  EXPECT_EQ(device->dialogs().Read(window, kControlCheckList).row_checks,
            (std::vector<bool>{false, false}));
  OnDisplay([&] {
    auto& list =
        dynamic_cast<FormList&>(*ControlOf(*device->display().WidgetOf(window), kControlCheckList));
    const QRect row = list.visualItemRect(list.topLevelItem(1));
    QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier,
                      {row.left() + 8, row.center().y()});
  });
  EXPECT_EQ(device->dialogs().Read(window, kControlCheckList).row_checks,
            (std::vector<bool>{false, true}));
}

TEST_F(SheetTest, EnterOnARowActivatesItAndPressesNoButton) {
  const WindowHandle window = NewWindow();
  device->dialogs().WriteMany(window, {{kControlList, port::Rows{{{{u"x", u"y", u"z"}}}}},
                                       {kControlList, port::Choice{0}},
                                       {kControlList, port::Focus{}}});
  EXPECT_TRUE(device->dialogs().Read(window, kControlList).focused);
  TakeMessages(queues);
  Key(Qt::Key_Return);
  const std::vector<port::Message> messages = TakeMessages(queues);
  EXPECT_EQ(OfKind(messages, MessageKind::kItemActivated), (Details{{0, 0}}));
  EXPECT_TRUE(OfKind(messages, MessageKind::kCommand).empty());
}

TEST_F(SheetTest, AMessageASecondTellsOfMuchTyping) {
  const WindowHandle window = NewWindow();
  OnDisplay([&] { ControlOf(*device->display().WidgetOf(window), kControlLines)->setFocus(); });
  TakeMessages(queues);
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(2300);
  while (std::chrono::steady_clock::now() < end) {
    Key(Qt::Key_X);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(1300));
  const auto told = OfKind(TakeMessages(queues), MessageKind::kTextEdited);
  EXPECT_GE(told.size(), 2u);
  EXPECT_LE(told.size(), 4u);
}

// Skips what was made for the other screen.
class SmallScreenTest : public SheetTest {
 protected:
  void SetUp() override {
    bool small = false;
    OnDisplay([&] { small = FillsScreen(nullptr); });
    if (!small) GTEST_SKIP() << "the screen is a desktop's";
  }
};

TEST_F(SmallScreenTest, NamesOfThePagesAreAListToChooseFrom) {
  NewSheet();
  OnDisplay([&] {
    EXPECT_EQ(Sheet().findChild<QListWidget*>(), nullptr);
    auto* names = Sheet().findChild<QComboBox*>();
    ASSERT_NE(names, nullptr);
    EXPECT_EQ(names->count(), 2);
    EXPECT_EQ(names->accessibleName(), QStringLiteral("Page"));
    EXPECT_LE(names->geometry().bottom(), Page(0).mapTo(&Sheet(), QPoint()).y());
    names->setFocus();
    QTest::keyClick(names, Qt::Key_Down);
    EXPECT_EQ(Sheet().ShownPage(), 1);
    EXPECT_TRUE(FillsTheScreen(Sheet()));
  });
}

TEST_F(SmallScreenTest, NothingOfASheetIsClipped) {
  NewSheet();
  device->sheets().ShowPage(sheet, 1);
  OnDisplay([&] {
    QCoreApplication::processEvents();
    EXPECT_LE(Sheet().minimumSizeHint().width(), 240);
    EXPECT_LE(Sheet().minimumSizeHint().height(), 320);
    const auto* area = qobject_cast<QScrollArea*>(Page(1).parentWidget()->parentWidget());
    EXPECT_GT(area->verticalScrollBar()->maximum(), 0);
  });
}

TEST_F(SmallScreenTest, AFormWithEveryKindIsNoWiderThanTheScreen) {
  const WindowHandle window = NewWindow();
  OnDisplay([&] { EXPECT_LE(device->display().WidgetOf(window)->minimumSizeHint().width(), 240); });
}

// A form of every kind of control does not fit a phone's height.
TEST_F(SmallScreenTest, DialogHigherThanTheScreenScrolls) {
  const WindowHandle main = ShowWindow();
  const WindowHandle dialog = device->dialogs().Create(kDialogEveryKind, main, DialogKind::kModal);
  device->dialogs().Show(dialog);
  OnDisplay([&] {
    QWidget& widget = *device->display().WidgetOf(dialog);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&widget));
    EXPECT_LE(widget.frameGeometry().height(), 320);
    EXPECT_LE(widget.frameGeometry().width(), 240);
    auto* area = widget.findChild<QScrollArea*>();
    ASSERT_NE(area, nullptr);
    EXPECT_GT(area->verticalScrollBar()->maximum(), 0);
    for (QWidget* control :
         area->widget()->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
      if ((control->focusPolicy() & Qt::TabFocus) == 0) continue;
      EXPECT_GE(control->height(), control->minimumSizeHint().height());
    }
  });
}

TEST_F(SmallScreenTest, LongTextOfABoxScrolls) {
  const WindowHandle main = ShowWindow();
  const std::u16string text(1500, u'w');
  auto answer = std::async(std::launch::async, [&] {
    return device->boxes().Show(main, u"Quillet", text, {port::BoxButtons::kYesNo});
  });
  ASSERT_TRUE(WaitOnDisplay([&] { return device->boxes().OpenBoxes().size() == 1; }));
  OnDisplay([&] {
    QMessageBox& box = *device->boxes().OpenBoxes()[0];
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&box));
    EXPECT_LE(box.frameGeometry().height(), 320);
    EXPECT_LE(box.frameGeometry().width(), 240);
    EXPECT_GT(box.findChild<QTextEdit*>()->verticalScrollBar()->maximum(), 0);
    for (QAbstractButton* button : box.buttons()) {
      EXPECT_TRUE(box.rect().contains(QRect(button->mapTo(&box, QPoint(0, 0)), button->size())));
    }
    box.button(QMessageBox::Yes)->click();
  });
  EXPECT_EQ(answer.get(), 6);
}

TEST_F(SmallScreenTest, WindowsFillTheScreen) {
  const WindowHandle window = NewWindow();
  OnDisplay([&] { EXPECT_TRUE(FillsTheScreen(*device->display().WidgetOf(window))); });
}

}  // namespace
}  // namespace quillet::qt
