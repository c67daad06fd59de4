// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/message_boxes.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTextEdit>

#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::BoxButtons;
using port::BoxIcon;

class MessageBoxTest : public DisplayTest {
 protected:
  // Shows a box from a thread of its own.
  std::future<int> ShowLater(port::BoxStyle style, const std::u16string& text = u"Text",
                             port::WindowHandle owner = 0) {
    return std::async(std::launch::async, [this, style, text, owner] {
      return device->boxes().Show(owner, u"Quillet", text, style);
    });
  }
  bool WaitForBoxes(std::size_t count) {
    return WaitOnDisplay([&] { return device->boxes().OpenBoxes().size() == count; });
  }
  QMessageBox& Box() { return *device->boxes().OpenBoxes().back(); }
  void PressEscape() {
    OnDisplay([&] {
      ASSERT_TRUE(QTest::qWaitForWindowActive(&Box()));
      QTest::keyClick(Box().windowHandle(), Qt::Key_Escape);
    });
  }
  void PressEnter() {
    OnDisplay([&] {
      ASSERT_TRUE(QTest::qWaitForWindowActive(&Box()));
      QTest::keyClick(Box().windowHandle(), Qt::Key_Return);
    });
  }
};

TEST_F(MessageBoxTest, ReturnsTheIdOfTheButtonPressed) {
  struct Case {
    BoxButtons buttons;
    QMessageBox::StandardButton press;
    int answer;
  };
  for (const Case& c :
       {Case{BoxButtons::kOk, QMessageBox::Ok, 1}, Case{BoxButtons::kOkCancel, QMessageBox::Ok, 1},
        Case{BoxButtons::kOkCancel, QMessageBox::Cancel, 2},
        Case{BoxButtons::kYesNo, QMessageBox::Yes, 6}, Case{BoxButtons::kYesNo, QMessageBox::No, 7},
        Case{BoxButtons::kYesNoCancel, QMessageBox::Yes, 6},
        Case{BoxButtons::kYesNoCancel, QMessageBox::No, 7},
        Case{BoxButtons::kYesNoCancel, QMessageBox::Cancel, 2}}) {
    auto answer = ShowLater({c.buttons, BoxIcon::kNone, false});
    ASSERT_TRUE(WaitForBoxes(1));
    OnDisplay([&] { Box().button(c.press)->click(); });
    EXPECT_EQ(answer.get(), c.answer);
  }
}

TEST_F(MessageBoxTest, EscapeIsCancelOrNoOrOk) {
  const std::vector<std::pair<BoxButtons, int>> cases{{BoxButtons::kOk, 1},
                                                      {BoxButtons::kOkCancel, 2},
                                                      {BoxButtons::kYesNo, 7},
                                                      {BoxButtons::kYesNoCancel, 2}};
  for (const auto& [buttons, expected] : cases) {
    auto answer = ShowLater({buttons, BoxIcon::kNone, false});
    ASSERT_TRUE(WaitForBoxes(1));
    PressEscape();
    EXPECT_EQ(answer.get(), expected);
  }
}

TEST_F(MessageBoxTest, ClosingTheFrameIsLikeEscape) {
  auto answer = ShowLater({BoxButtons::kYesNo, BoxIcon::kNone, false});
  ASSERT_TRUE(WaitForBoxes(1));
  OnDisplay([&] { Box().close(); });
  EXPECT_EQ(answer.get(), 7);
}

TEST_F(MessageBoxTest, EnterTakesTheFirstButton) {
  auto answer = ShowLater({BoxButtons::kYesNo, BoxIcon::kExclamation, false});
  ASSERT_TRUE(WaitForBoxes(1));
  PressEnter();
  EXPECT_EQ(answer.get(), 6);
}

TEST_F(MessageBoxTest, TextIsNeverMarkUp) {
  const std::u16string text = u"<b>bold</b> & <img src='http://192.0.2.1/x.png'>\nnext";
  auto answer = ShowLater({BoxButtons::kOk, BoxIcon::kNone, false}, text);
  ASSERT_TRUE(WaitForBoxes(1));
  OnDisplay([&] {
    EXPECT_EQ(Box().textFormat(), Qt::PlainText);
    auto* label = Box().findChild<QLabel*>(QStringLiteral("qt_msgbox_label"));
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->textFormat(), Qt::PlainText);
    EXPECT_EQ(label->text().toStdU16String(), text);
    EXPECT_EQ(Box().windowTitle(), QStringLiteral("Quillet"));
    Box().button(QMessageBox::Ok)->click();
  });
  EXPECT_EQ(answer.get(), 1);
}

// What a box looks like whose text is too long for the screen.
std::u16string Lines(int count, const std::u16string& line = u"500 line of an error log") {
  std::u16string text;
  for (int i = 0; i < count; ++i) text += line + u"\r\n";
  return text;
}

void ExpectLongText(QMessageBox& box) {
  const QRect work = box.screen()->availableGeometry();
  EXPECT_LE(box.frameGeometry().height(), work.height());
  EXPECT_LE(box.frameGeometry().width(), work.width());
  auto* view = box.findChild<QTextEdit*>();
  ASSERT_NE(view, nullptr);
  EXPECT_TRUE(view->isVisible());
  EXPECT_TRUE(view->isReadOnly());
  EXPECT_EQ(view->toPlainText(), box.text());
  EXPECT_EQ(view->horizontalScrollBar()->maximum(), 0);
  for (const QAbstractButton* button : box.buttons()) {
    const QRect place(button->mapTo(&box, QPoint(0, 0)), button->size());
    EXPECT_TRUE(box.rect().contains(place));
  }
}

TEST_F(MessageBoxTest, LongTextScrollsInABoxNoHigherThanTheScreen) {
  ShowWindow();
  for (const BoxIcon icon : {BoxIcon::kNone, BoxIcon::kExclamation}) {
    auto answer = ShowLater({BoxButtons::kOk, icon, true}, Lines(60));
    ASSERT_TRUE(WaitForBoxes(1));
    OnDisplay([&] {
      ASSERT_TRUE(QTest::qWaitForWindowExposed(&Box()));
      ExpectLongText(Box());
      auto* view = Box().findChild<QTextEdit*>();
      EXPECT_GT(view->verticalScrollBar()->maximum(), 0);
      view->setFocus();
      QTest::keyClick(view, Qt::Key_End, Qt::ControlModifier);
      EXPECT_EQ(view->verticalScrollBar()->value(), view->verticalScrollBar()->maximum());
      QTest::keyClick(view, Qt::Key_Tab);
      EXPECT_FALSE(view->hasFocus());
    });
    PressEnter();
    EXPECT_EQ(answer.get(), 1);
  }
}

TEST_F(MessageBoxTest, WordWiderThanTheScreenIsBroken) {
  auto answer = ShowLater({BoxButtons::kOk, BoxIcon::kNone, true}, std::u16string(2000, u'w'));
  ASSERT_TRUE(WaitForBoxes(1));
  OnDisplay([&] {
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&Box()));
    ExpectLongText(Box());
  });
  PressEnter();
  answer.get();
}

TEST_F(MessageBoxTest, LineEndsOfServersAreNotShown) {
  auto answer = ShowLater({BoxButtons::kOk, BoxIcon::kNone, true},
                          u"a.one: server reports error ('411 no such group\r\n')");
  ASSERT_TRUE(WaitForBoxes(1));
  OnDisplay([&] {
    EXPECT_EQ(Box().text(), QStringLiteral("a.one: server reports error ('411 no such group')"));
    Box().button(QMessageBox::Ok)->click();
  });
  answer.get();
}

TEST_F(MessageBoxTest, TextUsesTheWidthThatThereIs) {
  std::u16string text;
  while (text.size() < 300) text += u"word ";
  auto answer = ShowLater({BoxButtons::kOk, BoxIcon::kNone, true}, text);
  ASSERT_TRUE(WaitForBoxes(1));
  OnDisplay([&] {
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&Box()));
    auto* label = Box().findChild<QLabel*>(QStringLiteral("qt_msgbox_label"));
    ASSERT_NE(label, nullptr);
    const QRect work = Box().screen()->availableGeometry();
    const int columns = 80 * label->fontMetrics().averageCharWidth();
    EXPECT_GE(label->width(), std::min(columns, work.width() * 3 / 4));
    EXPECT_LE(label->width(), columns + 40);
    EXPECT_TRUE(work.contains(Box().frameGeometry()));
    Box().button(QMessageBox::Ok)->click();
  });
  answer.get();
}

TEST_F(MessageBoxTest, ShortTextStandsInItsLabel) {
  auto answer = ShowLater({BoxButtons::kOk, BoxIcon::kNone, true}, Lines(3));
  ASSERT_TRUE(WaitForBoxes(1));
  OnDisplay([&] {
    EXPECT_EQ(Box().findChild<QTextEdit*>(), nullptr);
    EXPECT_TRUE(Box().findChild<QLabel*>(QStringLiteral("qt_msgbox_label"))->isVisible());
  });
  PressEnter();
  answer.get();
}

TEST_F(MessageBoxTest, StyleShowsIconAndStaysOnTop) {
  auto answer = ShowLater({BoxButtons::kOk, BoxIcon::kExclamation, true});
  ASSERT_TRUE(WaitForBoxes(1));
  OnDisplay([&] {
    EXPECT_EQ(Box().icon(), QMessageBox::Warning);
    EXPECT_TRUE(Box().windowFlags().testFlag(Qt::WindowStaysOnTopHint));
  });
  PressEnter();
  answer.get();
  answer = ShowLater({BoxButtons::kYesNo, BoxIcon::kNone, false});
  ASSERT_TRUE(WaitForBoxes(1));
  OnDisplay([&] {
    EXPECT_EQ(Box().icon(), QMessageBox::NoIcon);
    EXPECT_FALSE(Box().windowFlags().testFlag(Qt::WindowStaysOnTopHint));
  });
  PressEnter();
  answer.get();
}

TEST_F(MessageBoxTest, OwnerIsBlockedWhileTheBoxIsUp) {
  const port::WindowHandle main = ShowWindow();
  auto answer = ShowLater({BoxButtons::kOk, BoxIcon::kNone, false}, u"Text", main);
  ASSERT_TRUE(WaitForBoxes(1));
  OnDisplay([&] {
    EXPECT_EQ(Box().parentWidget(), &Main());
    EXPECT_EQ(Box().windowModality(), Qt::WindowModal);
    EXPECT_EQ(QApplication::activeModalWidget(), &Box());
  });
  PressEnter();
  EXPECT_EQ(answer.get(), 1);
}

TEST_F(MessageBoxTest, WithoutAnOwnerItStandsOverTheWholeProgram) {
  ShowWindow();
  auto answer = ShowLater({BoxButtons::kYesNo, BoxIcon::kExclamation, false}, u"Text", 0);
  ASSERT_TRUE(WaitForBoxes(1));
  OnDisplay([&] {
    EXPECT_EQ(Box().parentWidget(), nullptr);
    EXPECT_EQ(Box().windowModality(), Qt::ApplicationModal);
  });
  PressEscape();
  EXPECT_EQ(answer.get(), 7);
}

TEST_F(MessageBoxTest, BoxesOfSeveralThreadsAnswerTheirOwnCaller) {
  auto first = ShowLater({BoxButtons::kYesNo, BoxIcon::kNone, false}, u"first");
  ASSERT_TRUE(WaitForBoxes(1));
  auto second = ShowLater({BoxButtons::kYesNo, BoxIcon::kNone, false}, u"second");
  ASSERT_TRUE(WaitForBoxes(2));
  OnDisplay([&] {
    for (QMessageBox* box : device->boxes().OpenBoxes()) {
      const bool is_first = box->text() == QStringLiteral("first");
      box->button(is_first ? QMessageBox::Yes : QMessageBox::No)->click();
    }
  });
  EXPECT_EQ(first.get(), 6);
  EXPECT_EQ(second.get(), 7);
}

TEST_F(MessageBoxTest, MainWindowThatIsDestroyedAnswersLikeEscape) {
  const port::WindowHandle main = ShowWindow();
  auto answer = ShowLater({BoxButtons::kYesNo, BoxIcon::kNone, false}, u"Text", main);
  ASSERT_TRUE(WaitForBoxes(1));
  device->windows().DestroyMainWindow();
  EXPECT_EQ(answer.get(), 7);
}

TEST_F(MessageBoxTest, DialogThatIsDestroyedLeavesItsBoxToItsOwner) {
  const port::WindowHandle main = ShowWindow();
  for (const port::WindowHandle owner : {main, port::WindowHandle{0}}) {
    const port::WindowHandle dialog =
        device->dialogs().Create(121, owner, port::DialogKind::kModal);
    device->dialogs().Show(dialog);
    auto answer = ShowLater({BoxButtons::kYesNo, BoxIcon::kNone, true}, u"Text", dialog);
    ASSERT_TRUE(WaitForBoxes(1));
    device->dialogs().Destroy(dialog);
    OnDisplay([&] {
      EXPECT_EQ(device->boxes().OpenBoxes().size(), 1U);
      EXPECT_EQ(Box().parentWidget(), device->display().WidgetOf(owner));
      EXPECT_EQ(Box().windowModality(), owner != 0 ? Qt::WindowModal : Qt::ApplicationModal);
      EXPECT_TRUE(Box().windowFlags().testFlag(Qt::WindowStaysOnTopHint));
      Box().button(QMessageBox::Yes)->click();
    });
    EXPECT_EQ(answer.get(), 6);
  }
}

TEST_F(MessageBoxTest, EndOfSessionAnswersOpenAndLaterBoxes) {
  auto answer = ShowLater({BoxButtons::kOkCancel, BoxIcon::kNone, false});
  ASSERT_TRUE(WaitForBoxes(1));
  device->boxes().AnswerAll();
  EXPECT_EQ(answer.get(), 2);
  EXPECT_EQ(device->boxes().Show(0, u"Quillet", u"later", {BoxButtons::kYesNo}), 7);
}

TEST_F(MessageBoxTest, WithoutADisplayTheAnswerComesAtOnce) {
  OnDisplay([&] { device->jobs().Close(); });
  EXPECT_EQ(device->boxes().Show(0, u"Quillet", u"Text", {BoxButtons::kOk}), 1);
  EXPECT_EQ(device->boxes().Show(0, u"Quillet", u"Text", {BoxButtons::kOkCancel}), 2);
  EXPECT_EQ(device->boxes().Show(0, u"Quillet", u"Text", {BoxButtons::kYesNo}), 7);
  EXPECT_EQ(device->boxes().Show(0, u"Quillet", u"Text", {BoxButtons::kYesNoCancel}), 2);
}

TEST_F(MessageBoxTest, DisplayThatGoesWhileABoxIsUpLetsTheCallerGo) {
  auto answer = ShowLater({BoxButtons::kYesNo, BoxIcon::kNone, false});
  ASSERT_TRUE(WaitForBoxes(1));
  OnDisplay([&] { device->jobs().Close(); });
  EXPECT_EQ(answer.get(), 7);
}

TEST_F(MessageBoxTest, WaitCursorNests) {
  const auto shape = [&] {
    Qt::CursorShape found = Qt::ArrowCursor;
    device->jobs().Call([&] {
      if (QApplication::overrideCursor() != nullptr) {
        found = QApplication::overrideCursor()->shape();
      }
    });
    return found;
  };
  device->boxes().SetWaitCursor(true);
  device->boxes().SetWaitCursor(true);
  device->boxes().SetWaitCursor(false);
  EXPECT_EQ(shape(), Qt::WaitCursor);
  device->boxes().SetWaitCursor(false);
  EXPECT_EQ(shape(), Qt::ArrowCursor);
}

}  // namespace
}  // namespace quillet::qt
