// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/dialogs.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>

#include "qt/forms.h"
#include "res/dialog_templates.h"
#include "res/resource.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::MessageKind;
using port::WindowHandle;

class DialogTest : public DisplayTest {
 protected:
  QtDialogs& dialogs() { return device->dialogs(); }
  QWidget& WidgetOf(WindowHandle dialog) { return *device->display().WidgetOf(dialog); }
  template <class Widget>
  Widget& Control(WindowHandle dialog, std::uint32_t id) {
    return *qobject_cast<Widget*>(ControlOf(WidgetOf(dialog), id));
  }
  WindowHandle Shown(std::uint32_t form, WindowHandle owner = 0) {
    const WindowHandle dialog = dialogs().Create(form, owner, port::DialogKind::kModal);
    dialogs().Show(dialog);
    OnDisplay([&] { EXPECT_TRUE(QTest::qWaitForWindowActive(&WidgetOf(dialog))); });
    return dialog;
  }
};

TEST_F(DialogTest, EveryFormHasTheControlsOfItsTemplate) {
  for (const DialogTemplate& form : ProductTemplates()) {
    const std::array<port::SheetPage, 1> page{{{form.id, u"Page"}}};
    const WindowHandle sheet = form.is_page ? device->sheets().Create(u"Sheet", page, 0) : 0;
    const WindowHandle dialog = form.is_page
                                    ? device->sheets().Page(sheet, 0)
                                    : dialogs().Create(form.id, 0, port::DialogKind::kModal);
    ASSERT_NE(dialog, 0u) << form.id;
    OnDisplay([&] {
      for (const ControlTemplate& control : form.controls) {
        if (control.id == 0) continue;
        const QWidget* widget = ControlOf(*device->display().WidgetOf(dialog), control.id);
        ASSERT_NE(widget, nullptr) << form.id << ": " << control.id;
        EXPECT_EQ(widget->accessibleName().toStdU16String(), control.accessible_name);
      }
    });
    dialogs().Destroy(form.is_page ? sheet : dialog);
  }
}

TEST_F(DialogTest, ProgressFormHasItsTextsAndDefaultButton) {
  const WindowHandle dialog = dialogs().Create(120, 0, port::DialogKind::kModal);
  OnDisplay([&] {
    auto& cancel = Control<QPushButton>(dialog, 2);
    EXPECT_EQ(cancel.text(), QStringLiteral("&Cancel"));
    EXPECT_TRUE(cancel.isDefault());
    EXPECT_EQ(Control<QProgressBar>(dialog, 1004).value(), 0);
    EXPECT_EQ(Control<QLabel>(dialog, 1020).text(), QString());
    EXPECT_EQ(Control<QLabel>(dialog, 1022).text(), QString());
    // No caption: the desktop draws no frame around it.
    EXPECT_TRUE(WidgetOf(dialog).windowFlags().testFlag(Qt::FramelessWindowHint));
  });
}

TEST_F(DialogTest, NewGroupFormHasItsTexts) {
  const WindowHandle dialog = dialogs().Create(122, 0, port::DialogKind::kModal);
  OnDisplay([&] {
    EXPECT_EQ(WidgetOf(dialog).windowTitle(), QStringLiteral("Subscribe to newsgroup"));
    EXPECT_NE(qobject_cast<QLineEdit*>(ControlOf(WidgetOf(dialog), 1001)), nullptr);
    EXPECT_EQ(Control<QPushButton>(dialog, 1).text(), QStringLiteral("OK"));
    EXPECT_EQ(Control<QPushButton>(dialog, 2).text(), QStringLiteral("Cancel"));
    QStringList labels;
    for (const QLabel* label : WidgetOf(dialog).findChildren<QLabel*>()) labels << label->text();
    EXPECT_EQ(labels, QStringList{QStringLiteral("Group name to add:")});
  });
}

TEST_F(DialogTest, AboutBoxShowsIconAndProgramName) {
  const WindowHandle dialog = dialogs().Create(121, 0, port::DialogKind::kModal);
  OnDisplay([&] {
    EXPECT_EQ(WidgetOf(dialog).windowTitle(), QStringLiteral("About Quillet CE"));
    bool icon = false;
    bool name = false;
    for (const QLabel* label : WidgetOf(dialog).findChildren<QLabel*>()) {
      icon = icon || !label->pixmap().isNull();
      name = name || label->property("controlId").toUInt() == kControlAboutProgram;
    }
    EXPECT_TRUE(icon);
    EXPECT_TRUE(name);
    QFont bold = WidgetOf(dialog).font();
    bold.setBold(true);
    // The caption with its cut-off mark would begin where no button of the frame fits any more.
    EXPECT_GE(WidgetOf(dialog).minimumWidth(),
              QFontMetrics(bold).horizontalAdvance(WidgetOf(dialog).windowTitle()) + 100);
    EXPECT_EQ(Control<QPushButton>(dialog, 1).text(), QStringLiteral("OK"));
  });
}

TEST_F(DialogTest, UnknownFormIsRefused) {
  EXPECT_EQ(dialogs().Create(9999, 0, port::DialogKind::kModal), 0u);
}

TEST_F(DialogTest, ReadsSeeEveryEarlierWrite) {
  const WindowHandle dialog = Shown(122);
  for (int i = 0; i < 200; ++i) {
    std::u16string text = u"group.";
    for (const char digit : std::to_string(i)) text += static_cast<char16_t>(digit);
    dialogs().Write(dialog, 1001, port::Text{text});
    ASSERT_EQ(dialogs().Read(dialog, 1001).text, text);
  }
}

TEST_F(DialogTest, WritesAreShownWithoutARead) {
  const WindowHandle dialog = Shown(120);
  for (int i = 0; i <= 1000; ++i) {
    dialogs().Write(dialog, 1004, port::Position{i});
    if (i == 0) dialogs().Write(dialog, 1004, port::Range{1000});
    if (i == 1000) dialogs().Write(dialog, 1022, port::Text{u"last"});
  }
  EXPECT_TRUE(WaitOnDisplay([&] {
    return Control<QProgressBar>(dialog, 1004).value() == 1000 &&
           Control<QProgressBar>(dialog, 1004).maximum() == 1000 &&
           Control<QLabel>(dialog, 1022).text() == QStringLiteral("last");
  }));
}

TEST_F(DialogTest, AStreamOfWritesIsShownSeldom) {
  const WindowHandle dialog = Shown(120);
  int changes = 0;  // display thread
  dialogs().Write(dialog, 1004, port::Range{65535});
  OnDisplay([&] {
    QObject::connect(&Control<QProgressBar>(dialog, 1004), &QProgressBar::valueChanged,
                     &WidgetOf(dialog), [&changes] { ++changes; });
  });
  const auto start = std::chrono::steady_clock::now();
  int writes = 0;
  while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(400)) {
    dialogs().Write(dialog, 1004, port::Position{++writes % 65535});
  }
  int seen = 0;
  OnDisplay([&] { seen = changes; });
  EXPECT_GE(seen, 3);
  EXPECT_LE(seen, 24);  // 60 a second
  EXPECT_GT(writes, 1000);
}

TEST_F(DialogTest, WritesAreShownBeforeTheDialogIs) {
  const WindowHandle dialog = dialogs().Create(120, 0, port::DialogKind::kModal);
  dialogs().Write(dialog, 1020, port::Text{u"Preparing to download..."});
  dialogs().Show(dialog);
  OnDisplay([&] {
    EXPECT_TRUE(WidgetOf(dialog).isVisible());
    EXPECT_EQ(Control<QLabel>(dialog, 1020).text(), QStringLiteral("Preparing to download..."));
  });
}

TEST_F(DialogTest, PositionBeyondTheRangeIsItsEnd) {
  const WindowHandle dialog = Shown(120);
  dialogs().Write(dialog, 1004, port::Range{10});
  dialogs().Write(dialog, 1004, port::Position{11});
  EXPECT_EQ(dialogs().Read(dialog, 1020).text, u"");  // a read, so that all is shown
  OnDisplay([&] { EXPECT_EQ(Control<QProgressBar>(dialog, 1004).value(), 10); });
  dialogs().Write(dialog, 1004, port::Range{0});  // at least 1
  dialogs().Write(dialog, 1004, port::Position{-5});
  dialogs().Read(dialog, 1020).text;
  OnDisplay([&] {
    EXPECT_EQ(Control<QProgressBar>(dialog, 1004).maximum(), 1);
    EXPECT_EQ(Control<QProgressBar>(dialog, 1004).value(), 0);
  });
}

TEST_F(DialogTest, PressesComeToTheThreadThatCreatedIt) {
  WindowHandle dialog = 0;
  std::promise<void> created;
  port::Message got;
  std::thread owner([&] {
    dialog = dialogs().Create(120, 0, port::DialogKind::kModal);
    dialogs().Show(dialog);
    created.set_value();
    queues.Get(got);
  });
  created.get_future().wait();
  OnDisplay([&] { Control<QPushButton>(dialog, 2).click(); });
  owner.join();
  EXPECT_EQ(got.window, dialog);
  EXPECT_EQ(got.kind, MessageKind::kCommand);
  EXPECT_EQ(got.id, 2u);
  EXPECT_TRUE(TakeMessages(queues).empty());
}

TEST_F(DialogTest, EscapeAndFrameAreCancelAndLeaveItOpen) {
  const WindowHandle dialog = Shown(122);
  Key(Qt::Key_Escape);
  OnDisplay([&] { WidgetOf(dialog).close(); });
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kCommand), (Details{{2, 0}, {2, 0}}));
  OnDisplay([&] { EXPECT_TRUE(WidgetOf(dialog).isVisible()); });
}

TEST_F(DialogTest, EnterPressesTheDefaultButton) {
  const WindowHandle dialog = Shown(122);
  Key(Qt::Key_Return);
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kCommand), (Details{{1, 0}}));
  OnDisplay([&] { EXPECT_TRUE(WidgetOf(dialog).isVisible()); });
}

TEST_F(DialogTest, TypedTextIsRead) {
  const WindowHandle dialog = Shown(122);
  OnDisplay([&] { QTest::keyClicks(&Control<QLineEdit>(dialog, 1001), QStringLiteral("comp.x")); });
  EXPECT_EQ(dialogs().Read(dialog, 1001).text, u"comp.x");
}

TEST_F(DialogTest, FirstEditHasTheFocus) {
  const WindowHandle dialog = Shown(122);
  OnDisplay([&] { EXPECT_TRUE(Control<QLineEdit>(dialog, 1001).hasFocus()); });
}

TEST_F(DialogTest, HiddenButtonCannotBePressedAgain) {
  const WindowHandle dialog = Shown(120);
  dialogs().Write(dialog, 2, port::Visible{false});
  dialogs().Read(dialog, 1020).text;
  OnDisplay([&] { EXPECT_FALSE(Control<QPushButton>(dialog, 2).isVisible()); });
  dialogs().Write(dialog, 2, port::Visible{true});
  dialogs().Read(dialog, 1020).text;
  OnDisplay([&] { EXPECT_TRUE(Control<QPushButton>(dialog, 2).isVisible()); });
}

TEST_F(DialogTest, DestroyIsIdempotentAndFromAnyThread) {
  const WindowHandle dialog = Shown(120);
  std::thread([&] { dialogs().Destroy(dialog); }).join();
  OnDisplay([&] { EXPECT_EQ(device->display().WidgetOf(dialog), nullptr); });
  EXPECT_FALSE(queues.Exists(dialog));
  dialogs().Destroy(dialog);
  dialogs().Destroy(0);
  dialogs().Destroy(12345);
}

TEST_F(DialogTest, DestroyLeavesTheMainWindowAlone) {
  const WindowHandle main = ShowWindow();
  dialogs().Destroy(main);
  OnDisplay([&] { EXPECT_NE(device->display().WidgetOf(main), nullptr); });
}

TEST_F(DialogTest, WhatDoesNotExistIsEmptyAndTakesNothing) {
  const WindowHandle dialog = Shown(120);
  dialogs().Write(dialog, 4711, port::Text{u"x"});
  dialogs().Write(dialog, 1020, port::Checked{true});
  dialogs().Write(dialog, 1020, port::Range{5});
  dialogs().Write(dialog, 1020, port::Position{3});
  dialogs().Write(dialog, 1004, port::Rows{{{{u"x"}}}});
  dialogs().Write(dialog, 1004, port::Text{u"x"});
  EXPECT_EQ(dialogs().Read(dialog, 4711).text, u"");
  EXPECT_FALSE(dialogs().Read(dialog, 1020).checked);
  dialogs().Destroy(dialog);
  dialogs().Write(dialog, 1020, port::Text{u"x"});
  dialogs().Show(dialog);
  EXPECT_EQ(dialogs().Read(dialog, 1020).text, u"");
  EXPECT_EQ(dialogs().Read(0, 0).text, u"");
}

TEST_F(DialogTest, ShownDialogTakesTheInputOfItsOwnerOnly) {
  const WindowHandle main = ShowWindow();
  const WindowHandle dialog = Shown(120, main);
  OnDisplay([&] {
    EXPECT_EQ(WidgetOf(dialog).windowModality(), Qt::WindowModal);
    EXPECT_EQ(WidgetOf(dialog).parentWidget(), &Main());
    EXPECT_EQ(QApplication::activeModalWidget(), &WidgetOf(dialog));
    QTest::mouseClick(Main().windowHandle(), Qt::LeftButton, Qt::NoModifier, {5, 5});
    QTest::keyClick(Main().windowHandle(), Qt::Key_A, Qt::ControlModifier);
  });
  for (const port::Message& message : TakeMessages(queues)) {
    EXPECT_NE(message.window, main) << static_cast<int>(message.kind);
  }
  device->windows().SetStatusText(u"still painting");
  OnDisplay([&] { EXPECT_FALSE(Main().grab().isNull()); });
}

TEST_F(DialogTest, WithoutAnOwnerItTakesTheInputOfAll) {
  const WindowHandle dialog = Shown(121);
  OnDisplay([&] { EXPECT_EQ(WidgetOf(dialog).windowModality(), Qt::ApplicationModal); });
}

TEST_F(DialogTest, LongTextsDoNotMakeTheProgressDialogGrow) {
  const WindowHandle dialog = Shown(120);
  QSize before;
  OnDisplay([&] { before = WidgetOf(dialog).size(); });
  const std::u16string long_text(500, u'w');
  dialogs().Write(dialog, 1022, port::Text{long_text});
  dialogs().Write(dialog, 1020, port::Text{u"<b>not bold</b>"});
  EXPECT_EQ(dialogs().Read(dialog, 1020).text, u"<b>not bold</b>");
  OnDisplay([&] {
    QCoreApplication::processEvents();
    EXPECT_EQ(WidgetOf(dialog).size(), before);
    EXPECT_EQ(Control<QLabel>(dialog, 1020).textFormat(), Qt::PlainText);
  });
}

TEST_F(DialogTest, InjectedKeyGoesToTheDialogThatIsUp) {
  const WindowHandle main = ShowWindow();
  device->windows().InjectKeyUp(0x87);
  std::vector<port::Message> messages = TakeMessages(queues);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].window, main);
  EXPECT_EQ(messages[0].kind, MessageKind::kKeyUp);
  EXPECT_EQ(messages[0].id, 0x87u);

  const WindowHandle dialog = Shown(120, main);
  TakeMessages(queues);
  device->windows().InjectKeyUp(0x87);
  messages = TakeMessages(queues);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].window, dialog);
  EXPECT_EQ(messages[0].id, 0x87u);
}

TEST_F(DialogTest, EscapeThatClosedADialogDoesNotReachTheWindowBelow) {
  const WindowHandle main = ShowWindow();
  const WindowHandle dialog = Shown(122, main);
  OnDisplay([&] { QTest::keyPress(WidgetOf(dialog).windowHandle(), Qt::Key_Escape); });
  dialogs().Destroy(dialog);
  OnDisplay([&] {
    Main().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&Main()));
    QTest::keyRelease(Main().windowHandle(), Qt::Key_Escape);
  });
  for (const port::Message& message : TakeMessages(queues)) {
    EXPECT_NE(message.kind, MessageKind::kKeyUp);
  }
}

TEST_F(DialogTest, AfterTheDisplayHasGoneNothingIsCreated) {
  OnDisplay([&] { device->jobs().Close(); });
  EXPECT_EQ(dialogs().Create(120, 0, port::DialogKind::kModal), 0u);
}

}  // namespace
}  // namespace quillet::qt
