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
    const WindowHandle dialog = dialogs().Create(form, owner);
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
  const WindowHandle dialog = dialogs().Create(123, 0);
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
  const WindowHandle dialog = dialogs().Create(124, 0);
  dialogs().SetText(dialog, 1009, u"Subject: <b>x</b>\r\nFrom: y\r\n");
  EXPECT_EQ(dialogs().GetText(dialog, 1009), u"Subject: <b>x</b>\nFrom: y\n");
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
  const WindowHandle dialog = dialogs().Create(125, 0);
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
    const WindowHandle dialog = dialogs().Create(form, 0);
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
  for (const std::uint32_t form : {123u, 125u}) {
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
  const WindowHandle dialog = dialogs().Create(125, 0);
  EXPECT_EQ(dialogs().Choice(dialog, 1010), -1);
  dialogs().SetChoices(dialog, 1010, kAuthorRules);
  EXPECT_EQ(dialogs().Choice(dialog, 1010), 0);
  dialogs().SetChoice(dialog, 1010, 2);
  EXPECT_EQ(dialogs().Choice(dialog, 1010), 2);
  dialogs().SetChoice(dialog, 1010, 3);
  dialogs().SetChoice(dialog, 1010, -1);
  EXPECT_EQ(dialogs().Choice(dialog, 1010), 2);
  OnDisplay([&] {
    auto& list = Control<QComboBox>(dialog, 1010);
    ASSERT_EQ(list.count(), 3);
    EXPECT_EQ(list.itemText(1), QStringLiteral("Require author to contain:"));
    EXPECT_EQ(list.currentText(), QStringLiteral("Don't check author"));
  });
  dialogs().SetChoices(dialog, 1010, {u"one"});
  EXPECT_EQ(dialogs().Choice(dialog, 1010), 0);
  dialogs().SetChoices(dialog, 1010, {});
  EXPECT_EQ(dialogs().Choice(dialog, 1010), -1);
}

TEST_F(FormTest, OnlyTheUsersChoicesAreTold) {
  const WindowHandle dialog = Shown(125);
  dialogs().SetChoices(dialog, 1010, kAuthorRules);
  dialogs().SetChoice(dialog, 1010, 1);
  EXPECT_TRUE(TakeCommands().empty());
  OnDisplay([&] { Control<QComboBox>(dialog, 1010).setFocus(); });
  Key(Qt::Key_Down);
  EXPECT_EQ(TakeCommands(), (Details{{1010, 0}}));
  EXPECT_EQ(dialogs().Choice(dialog, 1010), 2);
}

TEST_F(FormTest, ChoicesOfWhatIsNoListAreNone) {
  const WindowHandle dialog = dialogs().Create(125, 0);
  dialogs().SetChoices(dialog, 1011, kAuthorRules);
  dialogs().SetChoice(dialog, 1011, 1);
  EXPECT_EQ(dialogs().Choice(dialog, 1011), -1);
  EXPECT_EQ(dialogs().Choice(0, 1010), -1);
  dialogs().SetChoices(4711, 1010, kAuthorRules);
}

TEST_F(FormTest, HiddenTextLeavesItsPlaceEmpty) {
  const WindowHandle dialog = Shown(125);
  QRect below;
  OnDisplay([&] { below = Control<QWidget>(dialog, 1012).geometry(); });
  dialogs().ShowControl(dialog, 1011, false);
  dialogs().GetText(dialog, 1013);
  OnDisplay([&] {
    QCoreApplication::processEvents();
    EXPECT_FALSE(Control<QWidget>(dialog, 1011).isVisible());
    EXPECT_EQ(Control<QWidget>(dialog, 1012).geometry(), below);
  });
}

TEST_F(FormTest, SelectedTextIsTypedOver) {
  const WindowHandle dialog = dialogs().Create(125, 0);
  dialogs().SetText(dialog, 1013, u"old text");
  dialogs().SelectText(dialog, 1013);  // before it is shown
  ShowIt(dialog);
  OnDisplay([&] {
    EXPECT_TRUE(Control<QLineEdit>(dialog, 1013).hasFocus());
    EXPECT_EQ(Control<QLineEdit>(dialog, 1013).selectedText(), QStringLiteral("old text"));
  });
  dialogs().SetText(dialog, 1011, u"author");
  dialogs().SelectText(dialog, 1011);  // while it is shown
  Key(Qt::Key_X);
  EXPECT_EQ(dialogs().GetText(dialog, 1011), u"x");
  EXPECT_EQ(dialogs().GetText(dialog, 1013), u"old text");
}

TEST_F(FormTest, SelectingWhatIsNoTextDoesNothing) {
  const WindowHandle dialog = Shown(125);
  dialogs().SelectText(dialog, 1015);
  dialogs().SelectText(dialog, 4711);
  dialogs().SelectText(0, 1011);
  OnDisplay([&] { EXPECT_TRUE(Control<QWidget>(dialog, 1010).hasFocus()); });
}

TEST_F(FormTest, BoxesKeepTheirState) {
  const WindowHandle dialog = Shown(123);
  dialogs().SetChecked(dialog, 1007, true);
  EXPECT_TRUE(dialogs().IsChecked(dialog, 1007));
  OnDisplay([&] { Control<QCheckBox>(dialog, 1006).click(); });
  EXPECT_TRUE(dialogs().IsChecked(dialog, 1006));
  EXPECT_FALSE(dialogs().IsChecked(dialog, 1008));
}

}  // namespace
}  // namespace quillet::qt
