// SPDX-License-Identifier: GPL-3.0-or-later
// The editors' windows and the box in which an article is written, by real keys.
#include "qt/article_edit.h"

#include <QAbstractButton>
#include <QClipboard>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QInputMethodEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyleHints>
#include <QTextBlock>
#include <QTreeWidget>

#include "qt/edit_lines.h"
#include "qt/fit_screen.h"
#include "qt/forms.h"
#include "res/resource.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::MessageKind;

class EditorTest : public DisplayTest {
 protected:
  void Show(std::uint32_t form, std::u16string text = {}) {
    window = device->dialogs().Create(form, 0, port::DialogKind::kWindow);
    device->dialogs().WriteMany(window, {{kControlArticleText, port::Text{std::move(text)}},
                                         {kControlArticleText, port::FontChoice{u"Monospace", 2}},
                                         {kControlArticleText, port::Focus{}}});
    device->dialogs().Show(window);
    OnDisplay([&] {
      Widget().activateWindow();
      EXPECT_TRUE(QTest::qWaitForWindowActive(&Widget()));
    });
    TakeMessages(queues);
  }
  void TearDown() override { device->dialogs().Destroy(window); }

  QWidget& Widget() { return *device->display().WidgetOf(window); }
  ArticleEdit& Edit() { return dynamic_cast<ArticleEdit&>(*Of(kControlArticleText)); }
  QWidget* Of(std::uint32_t control) { return ControlOf(Widget(), control); }
  QRect PlaceOf(std::uint32_t control) {
    return {Of(control)->mapTo(&Widget(), QPoint()), Of(control)->size()};
  }
  std::u16string Text() { return device->dialogs().Read(window, kControlArticleText).text; }
  port::TextState State() { return device->dialogs().Read(window, kControlArticleText).text_state; }
  void Type(const QString& text) {
    OnDisplay([&] {
      for (const QChar unit : text) QTest::keyClick(Widget().windowHandle(), unit.toLatin1());
    });
  }
  void Paste(QMimeData* data) {
    OnDisplay([&] { QApplication::clipboard()->setMimeData(data); });
    Key(Qt::Key_V, Qt::ControlModifier);
  }
  void PasteText(const QString& text) {
    auto* data = new QMimeData;
    data->setText(text);
    Paste(data);
  }
  bool HasFocus(std::uint32_t control) { return device->dialogs().Read(window, control).focused; }
  void Focus(std::uint32_t control) {
    device->dialogs().Write(window, control, port::Focus{});
    EXPECT_TRUE(HasFocus(control));
  }
  Details Commands() { return OfKind(TakeMessages(queues), MessageKind::kCommand); }

  port::WindowHandle window = 0;
};

// --- keys ----------------------------------------------------------------------------------------

TEST_F(EditorTest, KeysUndoAndRedo) {
  Show(kDialogPostMessage, u"one");
  Key(Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(Text(), u"one") << "what the program wrote is not undone";
  Type(QStringLiteral("two"));
  EXPECT_EQ(Text(), u"twoone");
  EXPECT_TRUE(State().changed);
  Key(Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(Text(), u"one");
  Key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_EQ(Text(), u"twoone");
}

TEST_F(EditorTest, KeysCutCopyPasteAndSelectAll) {
  Show(kDialogPostMessage, u"one\r\ntwo");
  Key(Qt::Key_A, Qt::ControlModifier);
  EXPECT_EQ(State(), (port::TextState{0, 8, false}));
  Key(Qt::Key_C, Qt::ControlModifier);
  Key(Qt::Key_X, Qt::ControlModifier);
  EXPECT_EQ(Text(), u"");
  Key(Qt::Key_V, Qt::ControlModifier);
  Key(Qt::Key_V, Qt::ControlModifier);
  EXPECT_EQ(Text(), u"one\r\ntwoone\r\ntwo");
}

TEST_F(EditorTest, TabIsACharacterAndOtherKeysLeaveTheBox) {
  Show(kDialogPostMessage);
  Key(Qt::Key_Tab);
  EXPECT_EQ(Text(), u"\t");
  Key(Qt::Key_Tab, Qt::ControlModifier);
  EXPECT_TRUE(HasFocus(kControlOk));
  Focus(kControlArticleText);
  Key(Qt::Key_Backtab, Qt::ShiftModifier);
  EXPECT_TRUE(HasFocus(kControlRoute));
  Focus(kControlArticleText);
  Key(Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_TRUE(HasFocus(kControlRoute));
  EXPECT_EQ(Text(), u"\t");
}

TEST_F(EditorTest, EnterEndsALineAndWithControlItIsOk) {
  for (const std::uint32_t form : {kDialogPostMessage, kDialogSimplePost}) {
    Show(form);
    Key(Qt::Key_Return);
    Key(Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_EQ(Text(), u"\r\n\r\n");
    OnDisplay([&] { EXPECT_EQ(Edit().document()->blockCount(), 3) << "lines of their own"; });
    EXPECT_TRUE(Commands().empty());
    Key(Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(Commands(), (Details{{kControlOk, 0}}));
    Key(Qt::Key_Enter, Qt::ControlModifier | Qt::KeypadModifier);
    EXPECT_EQ(Commands(), (Details{{kControlOk, 0}}));
    EXPECT_EQ(Text(), u"\r\n\r\n");
    device->dialogs().Destroy(window);
  }
  Show(kDialogSimplePost);
  Focus(kControlPostValue);
  Key(Qt::Key_Return, Qt::ControlModifier);
  EXPECT_EQ(Commands(), (Details{{kControlOk, 0}})) << "wherever the focus is";
}

TEST_F(EditorTest, EscapeIsCancelAndLeavesTheWindow) {
  Show(kDialogPostMessage, u"x");
  Key(Qt::Key_Escape);
  EXPECT_EQ(Commands(), (Details{{kControlCancel, 0}}));
  EXPECT_EQ(Text(), u"x");
}

// --- input methods -------------------------------------------------------------------------------

TEST_F(EditorTest, ComposedCharactersBecomeTextWhenTheyAreCommitted) {
  Show(kDialogPostMessage, u"x");
  OnDisplay([&] {
    QInputMethodEvent composing(QStringLiteral("´"), {});
    QApplication::sendEvent(&Edit(), &composing);
  });
  EXPECT_EQ(Text(), u"x") << "still being composed";
  EXPECT_FALSE(State().changed);
  OnDisplay([&] {
    QInputMethodEvent done(QString(), {});
    done.setCommitString(QStringLiteral("é漢"));
    QApplication::sendEvent(&Edit(), &done);
  });
  EXPECT_EQ(Text(), u"\u00E9\u6F22x");
  EXPECT_TRUE(State().changed);
  OnDisplay([&] { EXPECT_TRUE(Edit().inputMethodQuery(Qt::ImEnabled).toBool()); });
}

// --- pasting -------------------------------------------------------------------------------------

TEST_F(EditorTest, PastedMarkUpBecomesPlainText) {
  Show(kDialogPostMessage);
  auto* both = new QMimeData;
  both->setHtml(QStringLiteral("<b>bold</b> text"));
  both->setText(QStringLiteral("bold text\n"));
  Paste(both);
  auto* only = new QMimeData;
  only->setHtml(QStringLiteral("<p>one</p><p><a href=\"http://x\">two</a></p>"));
  Paste(only);
  EXPECT_EQ(Text(), u"bold text\r\none\r\ntwo");
  PasteText(QStringLiteral("<b>"));
  EXPECT_EQ(Text(), u"bold text\r\none\r\ntwo<b>") << "what looks like mark-up stays";
}

TEST_F(EditorTest, EveryKindOfLineEndIsOneAndOtherCharactersStay) {
  const std::u16string odd = std::u16string(u"a\rb\nc\r\nd\u2028e\u2029f") + u'\0' + u"g" +
                             char16_t(0xD800) + u"h" + char16_t(0xDC00) +
                             u"i\u00A0\uFEFF\u00AD\t\u0007\uFFFC";
  const std::u16string read = std::u16string(u"a\r\nb\r\nc\r\nd\r\ne\r\nf") + u'\0' + u"g" +
                              char16_t(0xD800) + u"h" + char16_t(0xDC00) +
                              u"i\u00A0\uFEFF\u00AD\t\u0007\uFFFC";
  Show(kDialogPostMessage, odd);
  EXPECT_EQ(Text(), read) << "written";
  device->dialogs().Write(window, kControlArticleText, port::Text{});
  device->dialogs().Read(window, kControlArticleText);
  PasteText(QString::fromStdU16String(odd));
  EXPECT_EQ(Text(), read) << "pasted";
}

// They would be taken for the begin and end of a frame.
TEST_F(EditorTest, UnitsThatTheToolkitKeepsForItselfAreReplaced) {
  Show(kDialogPostMessage, u"a\uFDD0b\uFDD1c");
  EXPECT_EQ(Text(), u"a\uFFFDb\uFFFDc");
}

TEST_F(EditorTest, LargeTextIsPastedWhole) {
  Show(kDialogPostMessage);
  QString large;
  for (int i = 0; i < 14000; ++i) {
    large +=
        QStringLiteral("> A line of seventy-two characters as articles of today have them %1\n")
            .arg(i, 5);
  }
  PasteText(large);
  std::u16string text = Text();
  EXPECT_EQ(text.size(), static_cast<std::size_t>(large.size()) + 14000);
  EXPECT_EQ(State().caret, text.size());
  Type(QStringLiteral("x"));
  Key(Qt::Key_Home, Qt::ControlModifier);
  Type(QStringLiteral("y"));
  text = Text();
  EXPECT_EQ(text.front(), u'y');
  EXPECT_EQ(text.back(), u'x');
}

// --- caret ---------------------------------------------------------------------------------------

TEST_F(EditorTest, CaretThatIsWrittenIsScrolledTo) {
  std::u16string text;
  for (int i = 0; i < 1000; ++i) text += u"line\r\n";
  Show(kDialogPostMessage, text);
  OnDisplay([&] { EXPECT_EQ(Edit().verticalScrollBar()->value(), 0); });
  device->dialogs().Write(window, kControlArticleText, port::TextState{6 * 700, 0, false});
  EXPECT_EQ(State().caret, 6u * 700);
  OnDisplay([&] {
    const QRect caret = Edit().cursorRect();
    EXPECT_TRUE(Edit().viewport()->rect().contains(caret.center()));
    EXPECT_EQ(Edit().textCursor().blockNumber(), 700);
  });
}

TEST_F(EditorTest, LongLinesWrapOnTheScreenOnly) {
  std::u16string line(2000, u'w');
  for (std::size_t i = 50; i < line.size(); i += 50) line[i] = u' ';
  Show(kDialogPostMessage, line);
  OnDisplay([&] {
    EXPECT_GT(Edit().document()->firstBlock().layout()->lineCount(), 5);
    EXPECT_EQ(Edit().horizontalScrollBar()->maximum(), 0);
  });
  EXPECT_EQ(Text(), line);
}

// Looking for places to break in it would take minutes.
TEST_F(EditorTest, VeryLongLinesWrapAnywhere) {
  const std::u16string word(300000, u'w');
  Show(kDialogPostMessage, u"short");
  OnDisplay([&] { EXPECT_EQ(Edit().wordWrapMode(), QTextOption::WrapAtWordBoundaryOrAnywhere); });
  PasteText(QString::fromStdU16String(word));
  EXPECT_EQ(Text(), word + u"short");
  OnDisplay([&] { EXPECT_EQ(Edit().wordWrapMode(), QTextOption::WrapAnywhere); });
  device->dialogs().Destroy(window);
  Show(kDialogPostMessage, u"short\r\n" + word);
  EXPECT_EQ(Text(), u"short\r\n" + word);
  OnDisplay([&] { EXPECT_EQ(Edit().wordWrapMode(), QTextOption::WrapAnywhere); });
}

// --- menu ----------------------------------------------------------------------------------------

class MenuOfText {
 public:
  MenuOfText() : menu_(qobject_cast<QMenu*>(QApplication::activePopupWidget())) {}
  ~MenuOfText() {
    if (menu_ != nullptr) menu_->close();
  }
  QMenu* operator->() const { return menu_; }
  explicit operator bool() const { return menu_ != nullptr; }

 private:
  QMenu* menu_;
};

TEST_F(EditorTest, MenuHasIconsAndShortcuts) {
  Show(kDialogPostMessage, u"some text");
  Type(QStringLiteral("x"));
  Key(Qt::Key_A, Qt::ControlModifier);
  Key(Qt::Key_C, Qt::ControlModifier);
  OnDisplay([&] {
    QContextMenuEvent event(QContextMenuEvent::Mouse, {10, 10},
                            Edit().viewport()->mapToGlobal(QPoint(10, 10)));
    QApplication::sendEvent(Edit().viewport(), &event);
    const MenuOfText menu;
    ASSERT_TRUE(menu);
    QStringList texts;
    for (const QAction* action : menu->actions()) {
      if (action->isSeparator()) continue;
      texts << action->text();
      EXPECT_FALSE(action->icon().isNull()) << action->text().toStdString();
      EXPECT_TRUE(action->isIconVisibleInMenu());
    }
    ASSERT_EQ(texts.size(), 7);
    EXPECT_EQ(texts[0], QStringLiteral("&Undo\tCtrl+Z"));
    EXPECT_TRUE(texts[1].startsWith(QStringLiteral("&Redo\tCtrl+"))) << "the desktop's key";
    EXPECT_EQ(texts[2], QStringLiteral("Cu&t\tCtrl+X"));
    EXPECT_EQ(texts[3], QStringLiteral("&Copy\tCtrl+C"));
    EXPECT_EQ(texts[4], QStringLiteral("&Paste\tCtrl+V"));
    EXPECT_EQ(texts[5], QStringLiteral("Delete"));
    EXPECT_EQ(texts[6], QStringLiteral("Select All\tCtrl+A"));
    for (QAction* action : menu->actions()) {
      if (action->text().startsWith(QLatin1String("Cu&t"))) action->trigger();
    }
  });
  EXPECT_EQ(Text(), u"");
}

TEST_F(EditorTest, FingerThatRestsOpensTheMenu) {
  Show(kDialogPostMessage, u"some text");
  static QPointingDevice* screen = QTest::createTouchDevice();
  OnDisplay([&] {
    const QPoint place = Edit().viewport()->mapTo(&Widget(), QPoint(10, 10));
    QTest::touchEvent(Widget().windowHandle(), screen).press(1, place);
    QTest::qWait(QGuiApplication::styleHints()->mousePressAndHoldInterval() + 100);
    EXPECT_TRUE(MenuOfText());
    QTest::touchEvent(Widget().windowHandle(), screen).release(1, place);
  });
  EXPECT_EQ(Text(), u"some text");
}

// --- the window ----------------------------------------------------------------------------------

TEST_F(EditorTest, FullEditorHasItsMarginsAndTheRouteButtonAtTheRight) {
  Show(kDialogPostMessage);
  OnDisplay([&] {
    const QRect text = PlaceOf(kControlArticleText);
    const QRect route = PlaceOf(kControlRoute);
    const QSize size = Widget().size();
    EXPECT_EQ(text.topLeft(), QPoint(5, 5));
    EXPECT_EQ(text.right() + 1, size.width() - 5);
    EXPECT_EQ(route.top() - (text.bottom() + 1), 12);
    EXPECT_EQ(route.right() + 1, size.width() - 5);
    EXPECT_EQ(route.bottom() + 1, size.height() - 5);
    EXPECT_EQ(PlaceOf(kControlOk).top(), route.top());
  });
}

TEST_F(EditorTest, FirstSizeHasRoomForAFullLine) {
  for (const std::uint32_t form : {kDialogPostMessage, kDialogSimplePost}) {
    Show(form, std::u16string(80, u'0'));
    OnDisplay([&] {
      EXPECT_EQ(Edit().document()->firstBlock().layout()->lineCount(), 1) << "80 columns";
      const double text = Edit().viewport()->height() - 2 * Edit().document()->documentMargin();
      const int lines = qRound(text / QFontMetricsF(Edit().font()).lineSpacing());
      const QRect screen = Widget().screen()->availableGeometry();
      EXPECT_TRUE(screen.size().expandedTo(Widget().size()) == screen.size());
      // Fewer lines only where the letters are too large for the screen.
      const bool fills_screen = Widget().height() == RoomForDialog(nullptr).height();
      EXPECT_TRUE(lines == 30 || (lines < 30 && fills_screen)) << lines;
    });
    device->dialogs().Write(window, kControlArticleText, port::Text{std::u16string(84, u'0')});
    device->dialogs().Read(window, kControlArticleText);
    OnDisplay([&] {
      EXPECT_EQ(Edit().document()->firstBlock().layout()->lineCount(), 2) << "not many more";
    });
    device->dialogs().Destroy(window);
  }
}

TEST_F(EditorTest, ShowingItAgainBringsItToTheFront) {
  const port::WindowHandle main = ShowWindow();
  Show(kDialogPostMessage);
  OnDisplay([&] {
    Main().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&Main()));
  });
  device->dialogs().Show(window);
  OnDisplay([&] { EXPECT_TRUE(QTest::qWaitForWindowActive(&Widget())); });
  OnDisplay([&] { Widget().showMinimized(); });
  device->dialogs().Show(window);
  OnDisplay([&] { EXPECT_FALSE(Widget().isMinimized()); });
  EXPECT_NE(main, 0u);
}

TEST_F(EditorTest, WindowsRememberTheirSizesEachForItself) {
  Show(kDialogPostMessage);
  OnDisplay([&] { Widget().resize(500, 300); });
  device->dialogs().Destroy(window);
  Show(kDialogSimplePost);
  OnDisplay([&] { EXPECT_NE(Widget().size(), QSize(500, 300)); });
  device->dialogs().Destroy(window);
  Show(kDialogPostMessage);
  OnDisplay([&] { EXPECT_EQ(Widget().size(), QSize(500, 300)); });
}

TEST_F(EditorTest, FieldsOfTheSimpleEditorAreReachedInOrder) {
  Show(kDialogSimplePost);
  Focus(kControlPostValue);
  for (const std::uint32_t next : {kControlPickRecipients, kControlPostBody}) {
    Key(Qt::Key_Tab);
    EXPECT_TRUE(HasFocus(next)) << next;
  }
  Key(Qt::Key_Tab, Qt::ControlModifier);
  EXPECT_TRUE(HasFocus(kControlOk));
  for (const std::uint32_t next : {kControlCancel, kControlPostField, kControlPostValue}) {
    Key(Qt::Key_Tab);
    EXPECT_TRUE(HasFocus(next)) << next;
  }
}

// On a phone as well, where the field is as wide as what it offers.
class SmallScreenEditor : public EditorTest {
 protected:
  void ExpectAllInside() {
    OnDisplay([&] {
      QCoreApplication::processEvents();
      const QRect all = Widget().rect();
      for (QWidget* widget : Widget().findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (!widget->isVisible()) continue;
        EXPECT_TRUE(all.contains(widget->geometry())) << widget->objectName().toStdString();
        const auto* button = qobject_cast<QAbstractButton*>(widget);
        if (button == nullptr) continue;
        EXPECT_GE(button->width(), button->fontMetrics().horizontalAdvance(button->text()));
      }
      const QSize screen = Widget().screen()->availableSize();
      EXPECT_LE(Widget().width(), screen.width());
      EXPECT_LE(Widget().height(), screen.height());
    });
  }
};

TEST_F(SmallScreenEditor, EveryControlIsInsideAndWhole) {
  Show(kDialogPostMessage, u"text");
  ExpectAllInside();
  device->dialogs().Destroy(window);
  Show(kDialogSimplePost, u"text");
  std::vector<std::u16string> groups(2000, std::u16string(60, u'g'));
  device->dialogs().WriteMany(
      window, {{kControlPostField, port::Choices{{u"Email to:", u"Newsgroups:", u"Subject:"}}},
               {kControlPostValue, port::Choices{groups}},
               {kControlPostValue, port::Text{std::u16string(200, u's')}}});
  device->dialogs().Read(window, kControlPostValue);
  ExpectAllInside();
  OnDisplay([&] {
    const auto* field = qobject_cast<QComboBox*>(Of(kControlPostField));
    EXPECT_GT(field->width(),
              field->fontMetrics().horizontalAdvance(QStringLiteral("Newsgroups:")));
    EXPECT_GE(Of(kControlPostValue)->width(), 60);
    EXPECT_GE(Edit().viewport()->height(), 100);
  });
}

TEST_F(SmallScreenEditor, DialogsOfPostsAndMailAreInsideAndWhole) {
  for (const std::uint32_t form : {kDialogPendingPosts, kDialogChooseTransport,
                                   kDialogChooseRecipients, kDialogReaddressEmail}) {
    window = device->dialogs().Create(form, 0, port::DialogKind::kModal);
    device->dialogs().Show(window);
    ExpectAllInside();
    OnDisplay([&] {
      EXPECT_EQ(Widget().findChild<QScrollArea*>(), nullptr) << form << " does not fit";
      for (const QLabel* label : Widget().findChildren<QLabel*>()) {
        const QRect text = label->fontMetrics().boundingRect(QRect(0, 0, label->width(), 10000),
                                                             Qt::TextWordWrap, label->text());
        EXPECT_LE(text.height(), label->height()) << label->text().toStdString();
      }
    });
    device->dialogs().Destroy(window);
  }
}

TEST_F(SmallScreenEditor, NamesOfContactsKeepHalfOfTheList) {
  window = device->dialogs().Create(kDialogChooseRecipients, 0, port::DialogKind::kModal);
  device->dialogs().Show(window);
  device->dialogs().Write(
      window, kControlContacts,
      port::Rows{{{{u"Abel, Bob", u"a.very.long.address@somewhere.far.away.example.org"}}}});
  device->dialogs().Read(window, kControlContacts);
  OnDisplay([&] {
    QCoreApplication::processEvents();
    const auto& list = dynamic_cast<const QTreeWidget&>(*Of(kControlContacts));
    const int room = list.viewport()->width();
    EXPECT_GE(list.columnWidth(0), room / 2 - 1);
    EXPECT_EQ(list.columnWidth(0) + list.columnWidth(1), room);
  });
}

TEST_F(SmallScreenEditor, FillsAPhonesScreen) {
  Show(kDialogPostMessage);
  OnDisplay([&] {
    const QSize screen = Widget().screen()->availableSize();
    if (screen.width() > 320) GTEST_SKIP() << "the screen is a desktop's";
    EXPECT_EQ(Widget().frameGeometry().size(), screen);
  });
}

TEST_F(EditorTest, TextIsReadableInADarkPalette) {
  OnDisplay([] { QCoreApplication::processEvents(); });
  Show(kDialogPostMessage, u"text");
  OnDisplay([&] {
    const DarkPalette dark;
    const QPalette palette = Edit().palette();
    EXPECT_LT(palette.color(QPalette::Base).value(), 80);
    EXPECT_GT(palette.color(QPalette::Text).value(), 150);
  });
}

}  // namespace
}  // namespace quillet::qt
