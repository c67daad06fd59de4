// SPDX-License-Identifier: GPL-3.0-or-later
// The forms of the reading cycle, and what only they use.
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

#include "qt/dialogs.h"
#include "qt/forms.h"
#include "tests/qt/display_fixture.h"
#include "tests/support/select_text.h"

namespace quillet::qt {
namespace {

using port::MessageKind;
using port::WindowHandle;

const std::vector<std::u16string> kAuthorRules{
    u"Kill if author contains:", u"Require author to contain:", u"Don't check author"};

class FormTest : public DisplayTest {
 protected:
  QtDialogs& dialogs() { return device->dialogs(); }
  QDialog& WidgetOf(WindowHandle dialog) {
    return *qobject_cast<QDialog*>(device->display().WidgetOf(dialog));
  }
  template <class Widget>
  Widget& Control(WindowHandle dialog, std::uint32_t id) {
    return *qobject_cast<Widget*>(ControlOf(WidgetOf(dialog), id));
  }
  WindowHandle Shown(std::uint32_t form, WindowHandle owner = 0) {
    const WindowHandle dialog = dialogs().Create(form, owner, port::DialogKind::kModal);
    ShowIt(dialog);
    return dialog;
  }
  void ShowIt(WindowHandle dialog) {
    dialogs().Show(dialog);
    OnDisplay([&] { EXPECT_TRUE(QTest::qWaitForWindowActive(&WidgetOf(dialog))); });
    TakeMessages(queues);
  }
  Details TakeCommands() { return OfKind(TakeMessages(queues), MessageKind::kCommand); }
};

TEST_F(FormTest, FindHasItsTexts) {
  const WindowHandle dialog = dialogs().Create(123, 0, port::DialogKind::kModal);
  OnDisplay([&] {
    EXPECT_EQ(WidgetOf(dialog).windowTitle(), QStringLiteral("Find"));
    auto* label = WidgetOf(dialog).findChild<QLabel*>();
    EXPECT_EQ(label->text(), QStringLiteral("Enter search text:"));
    EXPECT_EQ(label->buddy(), &Control<QLineEdit>(dialog, 1005));
    EXPECT_EQ(Control<QCheckBox>(dialog, 1006).text(), QStringLiteral("&Match case"));
    EXPECT_EQ(Control<QCheckBox>(dialog, 1007).text(), QStringLiteral("Match &whole word"));
    EXPECT_EQ(Control<QCheckBox>(dialog, 1008).text(), QStringLiteral("Search in &headers"));
    EXPECT_EQ(Control<QPushButton>(dialog, 1).text(), QStringLiteral("Search"));
    EXPECT_TRUE(Control<QPushButton>(dialog, 1).isDefault());
    EXPECT_EQ(Control<QPushButton>(dialog, 2).text(), QStringLiteral("Cancel"));
  });
}

TEST_F(FormTest, HeadersAreAReadOnlyText) {
  const WindowHandle dialog = dialogs().Create(124, 0, port::DialogKind::kModal);
  dialogs().Write(dialog, 1009, port::Text{u"Subject: <b>x</b>\r\nFrom: y\r\n"});
  EXPECT_EQ(dialogs().Read(dialog, 1009).text, u"Subject: <b>x</b>\r\nFrom: y\r\n");
  OnDisplay([&] {
    EXPECT_EQ(WidgetOf(dialog).windowTitle(), QStringLiteral("Message headers"));
    EXPECT_TRUE(Control<QPlainTextEdit>(dialog, 1009).isReadOnly());
    EXPECT_EQ(Control<QPushButton>(dialog, 1).text(), QStringLiteral("OK"));
    EXPECT_EQ(Control<QPushButton>(dialog, 2).text(), QStringLiteral("Cancel"));
  });
}

TEST_F(FormTest, HeadersCoverTheirOwner) {
  const WindowHandle main = ShowWindow();
  const WindowHandle dialog = Shown(124, main);
  OnDisplay([&] {
    EXPECT_EQ(WidgetOf(dialog).geometry(), Main().geometry());
    EXPECT_GT(Control<QPlainTextEdit>(dialog, 1009).height(), Main().height() * 3 / 4);
  });
}

TEST_F(FormTest, HeadersCoverAMaximizedOwner) {
  const WindowHandle main = ShowWindow();
  OnDisplay([&] { Main().showMaximized(); });
  const WindowHandle dialog = Shown(124, main);
  OnDisplay([&] {
    EXPECT_TRUE(WidgetOf(dialog).isMaximized());
    // Where nothing maximizes windows it lies over its owner all the same.
    EXPECT_EQ(WidgetOf(dialog).normalGeometry(), Main().geometry());
  });
}

TEST_F(FormTest, HeadersWithoutAnOwnerFillTheScreen) {
  const WindowHandle dialog = Shown(124);
  OnDisplay([&] {
    EXPECT_TRUE(WidgetOf(dialog).isMaximized());
    EXPECT_GE(WidgetOf(dialog).width(), WidgetOf(dialog).screen()->availableSize().width() - 8);
  });
}

TEST_F(FormTest, EnterAndEscapeAnswerTheHeaders) {
  Shown(124);
  Key(Qt::Key_Return);
  Key(Qt::Key_Escape);
  EXPECT_EQ(TakeCommands(), (Details{{1, 0}, {2, 0}}));
}

TEST_F(FormTest, KillfileEntryHasItsTexts) {
  const WindowHandle dialog = dialogs().Create(125, 0, port::DialogKind::kModal);
  OnDisplay([&] {
    EXPECT_EQ(WidgetOf(dialog).windowTitle(), QStringLiteral("Add to killfile"));
    EXPECT_EQ(Control<QCheckBox>(dialog, 1015).text(),
              QStringLiteral("A&dd to all group killfiles"));
    EXPECT_EQ(Control<QPushButton>(dialog, 1).text(), QStringLiteral("OK"));
    EXPECT_EQ(Control<QPushButton>(dialog, 2).text(), QStringLiteral("Cancel"));
  });
}

TEST_F(FormTest, EveryControlIsNamedForReaders) {
  for (const std::uint32_t form : {123u, 124u, 125u}) {
    const WindowHandle dialog = dialogs().Create(form, 0, port::DialogKind::kModal);
    OnDisplay([&] {
      EXPECT_FALSE(WidgetOf(dialog).accessibleName().isEmpty());
      for (const QWidget* widget : WidgetOf(dialog).findChildren<QWidget*>()) {
        if (!widget->property("controlId").isValid()) continue;
        EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->objectName().toStdString();
      }
    });
  }
}

TEST_F(FormTest, TabGoesThroughTheControlsInTheirOrder) {
  const WindowHandle dialog = Shown(125);
  for (const std::uint32_t id : {1010u, 1011u, 1012u, 1013u, 1015u, 1u, 2u}) {
    OnDisplay([&] { EXPECT_TRUE(Control<QWidget>(dialog, id).hasFocus()) << id; });
    Key(Qt::Key_Tab);
  }
}

TEST_F(FormTest, FormsFitASmallScreen) {
  for (const std::uint32_t form : {121u, 123u, 125u, 126u}) {
    const WindowHandle dialog = Shown(form);
    OnDisplay([&] {
      QDialog& widget = WidgetOf(dialog);
      EXPECT_LE(widget.minimumSizeHint().width(), 240) << form;
      EXPECT_LE(widget.sizeHint().height(), 320) << form;
    });
    dialogs().Destroy(dialog);
  }
}

TEST_F(FormTest, ChoicesAreReplacedAndTheFirstIsChosen) {
  const WindowHandle dialog = dialogs().Create(125, 0, port::DialogKind::kModal);
  EXPECT_EQ(dialogs().Read(dialog, 1010).choice, -1);
  dialogs().Write(dialog, 1010, port::Choices{kAuthorRules});
  EXPECT_EQ(dialogs().Read(dialog, 1010).choice, 0);
  dialogs().Write(dialog, 1010, port::Choice{2});
  EXPECT_EQ(dialogs().Read(dialog, 1010).choice, 2);
  dialogs().Write(dialog, 1010, port::Choice{3});
  dialogs().Write(dialog, 1010, port::Choice{-1});
  EXPECT_EQ(dialogs().Read(dialog, 1010).choice, 2);
  OnDisplay([&] {
    auto& list = Control<QComboBox>(dialog, 1010);
    ASSERT_EQ(list.count(), 3);
    EXPECT_EQ(list.itemText(1), QStringLiteral("Require author to contain:"));
    EXPECT_EQ(list.currentText(), QStringLiteral("Don't check author"));
  });
  dialogs().Write(dialog, 1010, port::Choices{{u"one"}});
  EXPECT_EQ(dialogs().Read(dialog, 1010).choice, 0);
  dialogs().Write(dialog, 1010, port::Choices{{}});
  EXPECT_EQ(dialogs().Read(dialog, 1010).choice, -1);
}

TEST_F(FormTest, OnlyTheUsersChoicesAreTold) {
  const WindowHandle dialog = Shown(125);
  dialogs().Write(dialog, 1010, port::Choices{kAuthorRules});
  dialogs().Write(dialog, 1010, port::Choice{1});
  EXPECT_EQ(dialogs().Read(dialog, 1010).choice, 1);  // shown by now: the key goes on from there
  EXPECT_TRUE(TakeCommands().empty());
  OnDisplay([&] { Control<QComboBox>(dialog, 1010).setFocus(); });
  Key(Qt::Key_Down);
  EXPECT_EQ(TakeCommands(), (Details{{1010, 0}}));
  EXPECT_EQ(dialogs().Read(dialog, 1010).choice, 2);
}

TEST_F(FormTest, ChoicesOfWhatIsNoListAreNone) {
  const WindowHandle dialog = dialogs().Create(125, 0, port::DialogKind::kModal);
  dialogs().Write(dialog, 1011, port::Choices{kAuthorRules});
  dialogs().Write(dialog, 1011, port::Choice{1});
  EXPECT_EQ(dialogs().Read(dialog, 1011).choice, -1);
  EXPECT_EQ(dialogs().Read(0, 1010).choice, -1);
  dialogs().Write(4711, 1010, port::Choices{kAuthorRules});
}

TEST_F(FormTest, HiddenTextLeavesItsPlaceEmpty) {
  const WindowHandle dialog = Shown(125);
  QRect below;
  OnDisplay([&] { below = Control<QWidget>(dialog, 1012).geometry(); });
  dialogs().Write(dialog, 1011, port::Visible{false});
  dialogs().Read(dialog, 1013).text;
  OnDisplay([&] {
    QCoreApplication::processEvents();
    EXPECT_FALSE(Control<QWidget>(dialog, 1011).isVisible());
    EXPECT_EQ(Control<QWidget>(dialog, 1012).geometry(), below);
  });
}

TEST_F(FormTest, SelectedTextIsTypedOver) {
  const WindowHandle dialog = dialogs().Create(125, 0, port::DialogKind::kModal);
  dialogs().Write(dialog, 1013, port::Text{u"old text"});
  SelectText(dialogs(), dialog, 1013);  // before it is shown
  ShowIt(dialog);
  OnDisplay([&] {
    EXPECT_TRUE(Control<QLineEdit>(dialog, 1013).hasFocus());
    EXPECT_EQ(Control<QLineEdit>(dialog, 1013).selectedText(), QStringLiteral("old text"));
  });
  dialogs().Write(dialog, 1011, port::Text{u"author"});
  SelectText(dialogs(), dialog, 1011);  // while it is shown
  EXPECT_TRUE(dialogs().Read(dialog, 1011).focused);
  Key(Qt::Key_X);
  EXPECT_EQ(dialogs().Read(dialog, 1011).text, u"x");
  EXPECT_EQ(dialogs().Read(dialog, 1013).text, u"old text");
}

TEST_F(FormTest, SelectingWhatIsNoTextDoesNothing) {
  const WindowHandle dialog = Shown(125);
  dialogs().Write(dialog, 1015, port::TextState{0, port::kWholeText});
  SelectText(dialogs(), dialog, 4711);
  SelectText(dialogs(), 0, 1011);
  OnDisplay([&] { EXPECT_TRUE(Control<QWidget>(dialog, 1010).hasFocus()); });
}

TEST_F(FormTest, BoxesKeepTheirState) {
  const WindowHandle dialog = Shown(123);
  dialogs().Write(dialog, 1007, port::Checked{true});
  EXPECT_TRUE(dialogs().Read(dialog, 1007).checked);
  OnDisplay([&] { Control<QCheckBox>(dialog, 1006).click(); });
  EXPECT_TRUE(dialogs().Read(dialog, 1006).checked);
  EXPECT_FALSE(dialogs().Read(dialog, 1008).checked);
}

}  // namespace
}  // namespace quillet::qt
