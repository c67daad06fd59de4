// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>

#include "qt/forms.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::MessageKind;

class PopUpTest : public DisplayTest {
 protected:
  // The window with a tree whose row is selected.
  void SetUp() override {
    main = ShowWindow();
    device->windows().SelectTab(port::kThreadTab);
    device->thread_tree().CreateTree(u"thread tree", u"", 4);
    device->thread_tree().FillTree({{1, 0, true, u"Ada"}, {2, 0, true, u"Bob"}});
    device->thread_tree().SelectItem(2);
    device->thread_tree().FocusTree();
    OnDisplay([] { QCoreApplication::processEvents(); });
  }
  void AskByMouse(QPoint place) {
    OnDisplay([&] {
      QWidget* rows = Main().Threads()->Tree()->viewport();
      QContextMenuEvent event(QContextMenuEvent::Mouse, place, rows->mapToGlobal(place));
      QApplication::sendEvent(rows, &event);
    });
  }
  // Shows the menu from a thread of its own and waits until it is there.
  std::future<std::uint32_t> ShowLater(port::WindowHandle owner = 0) {
    auto answer = std::async(std::launch::async, [this, owner] {
      return device->pop_ups().ShowPopUp(
          owner == 0 ? main : owner,
          {{40053, u"Delete Article"}, {40028, u"Delete Thread"}, {40024, u"Mark Read"}});
    });
    EXPECT_TRUE(WaitOnDisplay([&] { return device->pop_ups().OpenMenu() != nullptr; }));
    return answer;
  }
  QMenu& Menu() { return *device->pop_ups().OpenMenu(); }
  bool Gone() {
    return WaitOnDisplay([&] { return QApplication::activePopupWidget() == nullptr; });
  }
  // A key goes through the main window's, as the desktop sends it.
  void PressKey(Qt::Key key) {
    OnDisplay([&] { QTest::keyClick(Main().windowHandle(), key); });
  }

  port::WindowHandle main = 0;
};

TEST_F(PopUpTest, ClickedEntryIsItsCommand) {
  auto answer = ShowLater();
  OnDisplay([&] {
    ASSERT_EQ(Menu().actions().size(), 3);
    EXPECT_EQ(Menu().actions()[1]->text(), QStringLiteral("Delete Thread"));
    QTest::mouseClick(&Menu(), Qt::LeftButton, Qt::NoModifier,
                      Menu().actionGeometry(Menu().actions()[1]).center());
  });
  EXPECT_EQ(answer.get(), 40028u);
  EXPECT_TRUE(Gone());
}

TEST_F(PopUpTest, MenuShowsCheckMarksAndSeparatorsAndTakesMnemonics) {
  auto answer = std::async(std::launch::async, [this] {
    return device->pop_ups().ShowPopUp(
        main, {{40034, u"Reply via &post", true}, {0, u""}, {40038, u"&Forward via email"}});
  });
  ASSERT_TRUE(WaitOnDisplay([&] { return device->pop_ups().OpenMenu() != nullptr; }));
  OnDisplay([&] {
    const QList<QAction*> actions = Menu().actions();
    ASSERT_EQ(actions.size(), 3);
    EXPECT_TRUE(actions[0]->isCheckable() && actions[0]->isChecked());
    EXPECT_TRUE(actions[1]->isSeparator());
    EXPECT_FALSE(actions[2]->isCheckable());
  });
  PressKey(Qt::Key_F);
  EXPECT_EQ(answer.get(), 40038u);
}

TEST_F(PopUpTest, EntryIsChosenByKeys) {
  Key(Qt::Key_F10, Qt::ShiftModifier);
  auto answer = ShowLater();
  OnDisplay([&] { EXPECT_EQ(Menu().activeAction(), Menu().actions().front()); });
  PressKey(Qt::Key_Down);
  PressKey(Qt::Key_Down);
  PressKey(Qt::Key_Return);
  EXPECT_EQ(answer.get(), 40024u);
}

TEST_F(PopUpTest, EscapeDismissesTheMenuOnly) {
  auto answer = ShowLater();
  TakeMessages(queues);
  PressKey(Qt::Key_Escape);
  EXPECT_EQ(answer.get(), 0u);
  EXPECT_TRUE(Gone());
  const auto messages = TakeMessages(queues);
  EXPECT_TRUE(OfKind(messages, MessageKind::kKeyUp).empty());
  EXPECT_TRUE(OfKind(messages, MessageKind::kKeyDown).empty());
  OnDisplay([&] { EXPECT_TRUE(Main().Threads()->Tree()->hasFocus()); });
}

TEST_F(PopUpTest, ClickElsewhereDismisses) {
  auto answer = ShowLater();
  OnDisplay([&] { QTest::mouseClick(&Menu(), Qt::LeftButton, Qt::NoModifier, QPoint(-20, -20)); });
  EXPECT_EQ(answer.get(), 0u);
}

TEST_F(PopUpTest, MenuStandsWhereItWasAskedFor) {
  AskByMouse({60, 40});
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kContextMenu).size(), 1u);
  auto answer = ShowLater();
  OnDisplay([&] {
    EXPECT_EQ(Menu().pos(), Main().Threads()->Tree()->viewport()->mapToGlobal(QPoint(60, 40)));
    EXPECT_EQ(Menu().activeAction(), nullptr);
    EXPECT_EQ(Menu().parentWidget(), &Main());
    EXPECT_FALSE(Menu().accessibleName().isEmpty());
  });
  PressKey(Qt::Key_Escape);
  EXPECT_EQ(answer.get(), 0u);
}

TEST_F(PopUpTest, MenuAtTheEdgeStaysOnTheScreen) {
  OnDisplay([&] {
    const QRect screen = Main().screen()->availableGeometry();
    QWidget* rows = Main().Threads()->Tree()->viewport();
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), screen.bottomRight());
    QApplication::sendEvent(rows, &event);
  });
  auto answer = ShowLater();
  OnDisplay([&] { EXPECT_TRUE(Main().screen()->availableGeometry().contains(Menu().geometry())); });
  PressKey(Qt::Key_Escape);
  EXPECT_EQ(answer.get(), 0u);
}

TEST_F(PopUpTest, MenuOfADialogOpensAtTheButtonPressedLast) {
  const port::WindowHandle dialog = device->dialogs().Create(122, main, port::DialogKind::kModal);
  device->dialogs().Show(dialog);
  QPoint below;
  OnDisplay([&] {
    QWidget& widget = *device->display().WidgetOf(dialog);
    EXPECT_TRUE(QTest::qWaitForWindowActive(&widget));
    QWidget* button = ControlOf(widget, 1);
    QTest::mouseClick(button, Qt::LeftButton);
    below = button->mapToGlobal(button->rect().bottomLeft());
  });
  auto answer = ShowLater(dialog);
  OnDisplay([&] {
    EXPECT_EQ(Menu().pos(), below);
    Menu().close();
  });
  EXPECT_EQ(answer.get(), 0u);
  device->dialogs().Destroy(dialog);
}

TEST_F(PopUpTest, OtherThreadsAreServedMeanwhile) {
  auto answer = ShowLater();
  const port::WindowHandle dialog = device->dialogs().Create(120, 0, port::DialogKind::kModal);
  device->dialogs().Write(dialog, 1020, port::Text{u"Downloading"});
  EXPECT_EQ(device->dialogs().Read(dialog, 1020).text, u"Downloading");
  device->dialogs().Destroy(dialog);
  PressKey(Qt::Key_Escape);
  EXPECT_EQ(answer.get(), 0u);
}

TEST_F(PopUpTest, MenuAfterMenuAnswersForItself) {
  constexpr std::array<std::uint32_t, 5> kCommands{40053, 40028, 40024, 40028, 40053};
  for (const std::uint32_t command : kCommands) {
    auto answer = ShowLater();
    OnDisplay([&] {
      for (QAction* action : Menu().actions()) {
        if (action->data().toUInt() == command) action->trigger();
      }
      Menu().close();
    });
    EXPECT_EQ(answer.get(), command);
    EXPECT_TRUE(Gone());
  }
  OnDisplay([&] {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(Main().findChildren<QMenu*>(QString(), Qt::FindDirectChildrenOnly).isEmpty());
  });
}

TEST_F(PopUpTest, WithoutEntriesWindowOrDisplayItIsDismissedAtOnce) {
  EXPECT_EQ(device->pop_ups().ShowPopUp(main, {}), 0u);
  device->windows().DestroyMainWindow();
  EXPECT_EQ(device->pop_ups().ShowPopUp(main, {{1, u"One"}}), 0u);
  OnDisplay([&] { device->jobs().Close(); });
  EXPECT_EQ(device->pop_ups().ShowPopUp(main, {{1, u"One"}}), 0u);
}

TEST_F(PopUpTest, OwnerThatIsDestroyedDismisses) {
  auto answer = ShowLater();
  device->windows().DestroyMainWindow();
  EXPECT_EQ(answer.get(), 0u);
}

TEST_F(PopUpTest, EndOfSessionDismissesOpenAndLaterMenus) {
  auto answer = ShowLater();
  device->AnswerAll();
  EXPECT_EQ(answer.get(), 0u);
  EXPECT_EQ(device->pop_ups().ShowPopUp(main, {{1, u"One"}}), 0u);
}

TEST_F(PopUpTest, DisplayThatGoesWhileAMenuIsUpLetsTheCallerGo) {
  auto answer = ShowLater();
  OnDisplay([&] { device->jobs().Close(); });
  EXPECT_EQ(answer.get(), 0u);
}

}  // namespace
}  // namespace quillet::qt
