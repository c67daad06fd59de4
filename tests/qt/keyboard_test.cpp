// SPDX-License-Identifier: GPL-3.0-or-later
// Everything that the menus and buttons of the main window have, by keys alone; and the controls of
// all forms.
#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QMenu>
#include <QMenuBar>
#include <QRadioButton>
#include <QToolButton>
#include <algorithm>
#include <set>

#include "qt/article_edit.h"
#include "qt/form_table.h"
#include "qt/forms.h"
#include "qt/menus.h"
#include "res/commands.h"
#include "res/resource.h"
#include "tests/qt/article_fixture.h"
#include "tests/qt/tree_fixture.h"

namespace quillet::qt {
namespace {

using port::MessageKind;
using port::WindowHandle;

const std::vector<port::ToolbarButton> kToolbar = {
    {40018, 0, u"Previous Thread"}, {0, 0, u""}, {40048, 4, u"Find"}};

// The main window with something in each view.
class KeyboardTest : public ArticleTest {
 protected:
  WindowHandle ShowAll(port::Size size = {640, 480}) {
    const WindowHandle main = ShowWindow(port::TabPlacement::kBottom, size);
    FillRows(3);
    device->windows().SelectTab(port::kThreadTab);
    device->thread_tree().CreateTree(u"thread tree", u"", 4);
    device->thread_tree().FillTree(SmallTree());
    device->windows().SelectTab(port::kArticleTab);
    article().CreatePanes(u"Tahoma", 10);
    article().CreateToolbar(kToolbar);
    ShowSource(Wrapped(u"a <a href=\"http://a/\">link</a>"));
    device->windows().LayOut(Inside(), {Inside().width, Inside().height - 26});
    device->windows().SelectTab(port::kGroupTab);
    TakeMessages(queues);
    return main;
  }
  port::Size Inside() {
    port::Size size;
    OnDisplay([&] { size = {Main().centralWidget()->width(), Main().centralWidget()->height()}; });
    return size;
  }
  // What each view has that takes the keyboard.
  std::vector<QWidget*> Places(int view) {
    std::vector<QWidget*> places{&Tabs().Bar()};
    if (view == port::kGroupTab) places.push_back(&List());
    if (view == port::kThreadTab) places.push_back(Main().Threads()->Tree());
    if (view == port::kArticleTab) {
      places.insert(places.end(), {&Text(), &Header()});
      for (auto* button : Main().Toolbar()->findChildren<QToolButton*>()) places.push_back(button);
    }
    if (Main().ViewButtons() != nullptr) {
      for (auto* button : Main().ViewButtons()->findChildren<QToolButton*>()) {
        places.push_back(button);
      }
    }
    return places;
  }
  void SelectView(int view) {
    device->windows().SelectTab(view);
    OnDisplay([&] {
      QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
      QCoreApplication::processEvents();
      Places(view)[1]->setFocus();
    });
    TakeMessages(queues);
  }
  // Where the window system sends keys: to a menu that is open, else to the window. A menu may have
  // gone when its key is released.
  QWindow* KeyWindow() {
    if (QWidget* popup = QApplication::activePopupWidget()) return popup->windowHandle();
    QWidget* window = QApplication::activeWindow();
    return window != nullptr ? window->windowHandle() : Main().windowHandle();
  }
  void Press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyPress(KeyWindow(), static_cast<Qt::Key>(key), modifiers);
    QCoreApplication::processEvents();
    QTest::keyRelease(KeyWindow(), static_cast<Qt::Key>(key), modifiers);
    QCoreApplication::processEvents();
  }
  static QMenu* OpenMenu() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }
  void CloseMenus() {
    while (QWidget* popup = QApplication::activePopupWidget()) popup->close();
  }
};

int KeyOf(const QString& text) {
  const qsizetype mark = text.indexOf(QLatin1Char('&'));
  return mark < 0 ? 0 : text[mark + 1].toUpper().unicode();
}

// --- menus ---------------------------------------------------------------------------------------

void CheckKeys(const QList<QAction*>& actions, const std::string& where) {
  std::set<int> keys;
  for (const QAction* action : actions) {
    if (action->isSeparator()) continue;
    const int key = KeyOf(action->text());
    EXPECT_NE(key, 0) << where << action->text().toStdString();
    EXPECT_TRUE(keys.insert(key).second) << where << action->text().toStdString();
    if (action->menu() != nullptr) {
      CheckKeys(action->menu()->actions(), where + action->text().toStdString() + "/");
    }
  }
}

TEST_F(KeyboardTest, EveryEntryHasALetterThatNoOtherBesideItHas) {
  ShowAll();
  for (const int view : {0, 1, 2}) {
    SelectView(view);
    OnDisplay([&] { CheckKeys(Main().menuBar()->actions(), std::to_string(view) + "/"); });
  }
}

TEST_F(KeyboardTest, TitlesGetTheirFirstFreeLetter) {
  ShowAll();
  const std::array<std::vector<QString>, 3> expected{
      {{"&File", "&Group", "&Groups", "&Mark", "&Delete", "&Post", "&Help"},
       {"&File", "&Thread", "&Mark", "&Delete", "&Help"},
       {"&File", "&Article", "&Navigate", "&Delete", "&Post", "&Help"}}};
  for (const int view : {0, 1, 2}) {
    SelectView(view);
    OnDisplay([&] {
      std::vector<QString> titles;
      for (const QAction* title : Main().menuBar()->actions()) {
        titles.push_back(title->text());
        EXPECT_FALSE(title->menu()->accessibleName().contains(QLatin1Char('&')));
        for (const QAction* entry : title->menu()->actions()) {
          if (entry->menu() != nullptr) titles.push_back(entry->text());
        }
      }
      EXPECT_EQ(titles, expected[static_cast<std::size_t>(view)]);
    });
  }
}

// Every row of the tables: Alt and the letter of its title, then letter by letter; where a letter
// only selects, once more or Enter.
TEST_F(KeyboardTest, EveryCommandOfTheMenusIsReachedByItsLetters) {
  ShowAll();
  for (const int view : {0, 1, 2}) {
    int walked = 0;
    SelectView(view);
    for (const QAction* title : Main().menuBar()->actions()) {
      std::function<void(const QMenu&, std::vector<int>)> walk = [&](const QMenu& menu,
                                                                     std::vector<int> keys) {
        for (const QAction* entry : menu.actions()) {
          if (entry->isSeparator()) continue;
          std::vector<int> all = keys;
          all.push_back(KeyOf(entry->text()));
          if (entry->menu() != nullptr) {
            walk(*entry->menu(), all);
            continue;
          }
          ++walked;
          OnDisplay([&] {
            QWidget* before = Main().focusWidget();
            Press(all[0], Qt::AltModifier);
            EXPECT_EQ(OpenMenu(), title->menu()) << view << title->text().toStdString();
            for (std::size_t i = 1; i < all.size(); ++i) Press(all[i]);
            for (int more = 0; more < 9 && OpenMenu() != nullptr; ++more) {
              Press(OpenMenu()->activeAction() == entry ? int(Qt::Key_Return) : all.back());
            }
            EXPECT_EQ(OpenMenu(), nullptr);
            CloseMenus();
            EXPECT_EQ(Main().focusWidget(), before) << entry->text().toStdString();
          });
          const auto messages = TakeMessages(queues);
          EXPECT_EQ(OfKind(messages, MessageKind::kCommand), (Details{{entry->data().toUInt(), 0}}))
              << view << entry->text().toStdString();
          EXPECT_TRUE(OfKind(messages, MessageKind::kKeyUp).empty()) << "and nothing else";
        }
      };
      walk(*title->menu(), {KeyOf(title->text())});
    }
    const auto table = MenuOfView(view);
    EXPECT_EQ(walked, std::ranges::count_if(table, [](const MenuEntry& e) { return e.command; }));
  }
}

// The same rows by F10 and arrows alone.
TEST_F(KeyboardTest, EveryCommandOfTheMenusIsReachedByArrows) {
  ShowAll();
  for (const int view : {0, 1, 2}) {
    SelectView(view);
    int title = -1;
    std::array<int, 2> place{};
    bool in_submenu = false;
    for (const MenuEntry& entry : MenuOfView(view)) {
      if (entry.depth == 0) {
        ++title;
        place = {-1, -1};
        continue;
      }
      if (entry.text.empty()) continue;  // arrows pass over a line
      in_submenu = entry.depth == 2;
      ++place[in_submenu ? 1 : 0];
      if (!in_submenu) place[1] = -1;
      if (entry.command == 0) continue;
      OnDisplay([&] {
        Press(Qt::Key_F10);
        // The second menu begins with a submenu, into which the arrow to the right leads.
        for (int i = 0; i < title && title < 2; ++i) Press(Qt::Key_Right);
        if (title == 2) Press(Qt::Key_Left);
        for (int i = 0; i < place[0]; ++i) Press(Qt::Key_Down);
        if (in_submenu) Press(Qt::Key_Right);
        for (int i = 0; in_submenu && i < place[1]; ++i) Press(Qt::Key_Down);
        Press(Qt::Key_Return);
        EXPECT_EQ(OpenMenu(), nullptr);
        CloseMenus();
      });
      EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kCommand), (Details{{entry.command, 0}}))
          << view << " " << QString::fromUtf16(entry.text.data(), entry.text.size()).toStdString();
    }
  }
}

class AnySize : public KeyboardTest, public ::testing::WithParamInterface<port::Size> {};

// From wherever the keyboard is; Escape leads back there at once, and is nobody else's.
TEST_P(AnySize, MenusOpenFromEveryPlaceAndEscapeLeadsBack) {
  ShowAll(GetParam());
  for (const int view : {0, 1, 2}) {
    SelectView(view);
    std::vector<QWidget*> places;
    OnDisplay([&] { places = Places(view); });
    for (QWidget* place : places) {
      OnDisplay([&] {
        const std::string where = place->accessibleName().toStdString();
        const QList<QAction*> titles = Main().menuBar()->actions();
        place->setFocus(Qt::TabFocusReason);
        ASSERT_TRUE(place->hasFocus()) << where;
        for (const QAction* title : titles) {
          Press(KeyOf(title->text()), Qt::AltModifier);
          EXPECT_EQ(OpenMenu(), title->menu()) << where;
          Press(Qt::Key_Escape);
          EXPECT_EQ(OpenMenu(), nullptr);
          EXPECT_TRUE(place->hasFocus()) << where;
        }
        Press(Qt::Key_F10);
        EXPECT_EQ(OpenMenu(), titles[0]->menu()) << where;
        EXPECT_EQ(OpenMenu()->activeAction(), titles[0]->menu()->actions()[0]);
        Press(Qt::Key_Escape);
        EXPECT_TRUE(place->hasFocus()) << where;
      });
      const auto messages = TakeMessages(queues);
      EXPECT_TRUE(OfKind(messages, MessageKind::kCommand).empty());
      EXPECT_TRUE(OfKind(messages, MessageKind::kKeyUp).empty());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, AnySize,
                         ::testing::Values(port::Size{640, 480}, port::Size{240, 294}));

TEST_F(KeyboardTest, EscapeInASubmenuGoesBackToItsMenu) {
  ShowAll();
  SelectView(port::kGroupTab);
  OnDisplay([&] {
    Press(Qt::Key_G, Qt::AltModifier);
    QMenu* group = OpenMenu();
    Press(Qt::Key_M);
    EXPECT_NE(OpenMenu(), group);
    Press(Qt::Key_Escape);
    EXPECT_EQ(OpenMenu(), group);
    Press(Qt::Key_Escape);
    EXPECT_EQ(OpenMenu(), nullptr);
    EXPECT_TRUE(List().hasFocus());
  });
}

TEST_F(KeyboardTest, KeysOfTheBarAreNoKeysOfTheView) {
  ShowAll();
  SelectView(port::kArticleTab);
  OnDisplay([&] {
    Main().menuBar()->setFocus(Qt::MenuBarFocusReason);
    Press(Qt::Key_Escape);
    Main().menuBar()->setFocus(Qt::MenuBarFocusReason);
    Press(Qt::Key_PageDown);
  });
  EXPECT_TRUE(TakeMessages(queues).empty());
}

TEST_F(KeyboardTest, NoMenuOpensBelowTheDialogOfALongOperation) {
  const WindowHandle main = ShowAll();
  const WindowHandle progress = device->dialogs().Create(120, main, port::DialogKind::kProgress);
  device->dialogs().Show(progress);
  OnDisplay([&] {
    Main().activateWindow();
    QTest::keyClick(Main().windowHandle(), Qt::Key_F, Qt::AltModifier);
    QCoreApplication::processEvents();
    EXPECT_EQ(OpenMenu(), nullptr);
    CloseMenus();
  });
  EXPECT_TRUE(OfKind(TakeMessages(queues), MessageKind::kKeyDown).empty());
}

// --- context menus -------------------------------------------------------------------------------

TEST_F(KeyboardTest, ShiftF10AsksForTheMenuOfTheSelectedRow) {
  ShowAll();
  SelectView(port::kThreadTab);
  device->thread_tree().SelectItem(200);
  for (const auto& [key, modifiers] :
       {std::pair(Qt::Key_F10, Qt::ShiftModifier), std::pair(Qt::Key_Menu, Qt::NoModifier)}) {
    OnDisplay([&] { Press(key, modifiers); });
    EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kContextMenu), (Details{{200, 0}}));
  }
}

TEST_F(KeyboardTest, ShiftF10OpensTheMenuOfTheArticle) {
  ShowAll();
  SelectView(port::kArticleTab);
  for (const auto& [key, modifiers] :
       {std::pair(Qt::Key_F10, Qt::ShiftModifier), std::pair(Qt::Key_Menu, Qt::NoModifier)}) {
    OnDisplay([&] {
      Press(key, modifiers);
      ASSERT_NE(OpenMenu(), nullptr);
      EXPECT_EQ(OpenMenu()->activeAction(), OpenMenu()->actions().front());
      EXPECT_FALSE(OpenMenu()->actions()[2]->isEnabled()) << "no link has the focus";
      Press(Qt::Key_Escape);
      EXPECT_EQ(OpenMenu(), nullptr) << "there was one";
      EXPECT_TRUE(Text().hasFocus());
    });
  }
  OnDisplay([&] {
    Press(Qt::Key_Tab);
    Press(Qt::Key_F10, Qt::ShiftModifier);
    ASSERT_NE(OpenMenu(), nullptr);
    EXPECT_TRUE(OpenMenu()->actions()[2]->isEnabled());
    const QRect page(Text().mapToGlobal(QPoint(0, 0)), Text().size());
    EXPECT_TRUE(page.contains(OpenMenu()->pos())) << "at the link";
    CloseMenus();
  });
}

// --- links ---------------------------------------------------------------------------------------

class LinkKeys : public KeyboardTest {
 protected:
  // Links "0" to "9", each far below the one before, and one with a hit in its middle.
  void ShowLinks() {
    ShowArticleTab({400, 300});
    std::u16string text;
    for (char16_t i = u'0'; i <= u'9'; ++i) {
      const std::u16string target{u'h', u't', u't', u'p', u':', u'/', u'/', i};
      text += u"<a href=\"" + target + u"\">link " + std::u16string(1, i) + u"</a>";
      for (int line = 0; line < 30; ++line) text += u"&nbsp;<br>some text";
    }
    ShowSource(Wrapped(text));
    TakeMessages(queues);
  }
  std::string Target() {
    std::string target = "none";
    OnDisplay([&] {
      const PageLink* link = Text().FocusedLink();
      if (link != nullptr) target = link->target.toStdString();
    });
    return target;
  }
  ::testing::AssertionResult IsWholeOnThePage() {
    bool whole = false;
    OnDisplay([&] {
      const PageLink* link = Text().FocusedLink();
      ASSERT_NE(link, nullptr);
      QTextCursor place(Text().document());
      place.setPosition(link->first);
      const QRect first = Text().cursorRect(place);
      place.setPosition(link->end);
      whole = Text().viewport()->rect().contains(first.united(Text().cursorRect(place)));
    });
    return whole ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << "cut";
  }
  void Tab(Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    OnDisplay([&] { Press(Qt::Key_Tab, modifiers); });
  }
};

TEST_F(LinkKeys, EachIsScrolledIntoViewAndFollowedAndTheEndsLeadOut) {
  ShowLinks();
  for (char i = '0'; i <= '9'; ++i) {
    Tab();
    EXPECT_EQ(Target(), std::string("http://") + i);
    EXPECT_TRUE(IsWholeOnThePage()) << i;
    OnDisplay([&] { Press(Qt::Key_Return); });
    EXPECT_EQ(TakeLinks(),
              std::vector<std::u16string>{u"http://" + std::u16string(1, char16_t(i))});
  }
  for (char i = '8'; i >= '0'; --i) {
    Tab(Qt::ShiftModifier);
    EXPECT_EQ(Target(), std::string("http://") + i);
    EXPECT_TRUE(IsWholeOnThePage()) << i;
  }
  Tab(Qt::ShiftModifier);
  EXPECT_EQ(Target(), "none");
  OnDisplay([&] { EXPECT_FALSE(Text().hasFocus()); });
  OnDisplay([&] { Text().setFocus(); });
  for (int i = 0; i < 10; ++i) Tab();
  EXPECT_EQ(Target(), "http://9");
  Tab();
  OnDisplay([&] { EXPECT_FALSE(Text().hasFocus()); });
}

TEST_F(LinkKeys, TheFirstIsTheFirstThatIsSeen) {
  ShowLinks();
  Tab();
  Tab();
  Tab();
  OnDisplay([&] { Main().Article()->Header()->setFocus(Qt::TabFocusReason); });
  EXPECT_EQ(Target(), "http://2") << "until the text gets the focus by Tab";
  OnDisplay([&] { Text().setFocus(Qt::TabFocusReason); });
  EXPECT_EQ(Target(), "none");
  Tab();
  EXPECT_EQ(Target(), "http://2") << "not the first of the page";
  OnDisplay([&] { Text().setFocus(Qt::OtherFocusReason); });
  article().ClearViewer();
  EXPECT_EQ(Target(), "none");
}

TEST_F(LinkKeys, ALinkWithAHitInItIsOneAndOnlyWithTheFocusMarked) {
  ShowArticleTab();
  ShowSource(
      Wrapped(u"<a href=\"http://a/\">one <span style=\"background: #FFFF00\">hit</span> "
              u"more</a> and <a href=\"http://b/\">two</a>"));
  Tab();
  EXPECT_EQ(Target(), "http://a/");
  OnDisplay([&] {
    ASSERT_EQ(Text().extraSelections().size(), 1);
    EXPECT_EQ(Text().extraSelections()[0].cursor.selectedText(), QStringLiteral("one hit more"));
    Main().Tabs()->Bar().setFocus();
    EXPECT_TRUE(Text().extraSelections().isEmpty());
    Text().setFocus(Qt::ActiveWindowFocusReason);
    EXPECT_EQ(Text().extraSelections().size(), 1) << "again, as it was";
  });
  Tab();
  EXPECT_EQ(Target(), "http://b/");
}

TEST_F(LinkKeys, AttachmentsAndLinksWithoutATextBetweenAreReached) {
  ShowArticleTab();
  ShowSource(
      Wrapped(u"<a href=\"http://a/\">a</a><a href=\"http://b/\">b</a>"
              u"<a href=\"attachment:1\">Attachment: x.txt</a>"));
  for (const char* target : {"http://a/", "http://b/", "attachment:1"}) {
    Tab();
    EXPECT_EQ(Target(), target);
    OnDisplay([&] { Press(Qt::Key_Enter); });
  }
  EXPECT_EQ(TakeLinks(),
            (std::vector<std::u16string>{u"http://a/", u"http://b/", u"attachment:1"}));
}

// --- Tab -----------------------------------------------------------------------------------------

// Where Tab leads, round and back to where it began.
std::vector<QWidget*> Round(QWidget& window, const std::function<void()>& press) {
  std::vector<QWidget*> visited;
  constexpr int kMost = 150;
  for (int i = 0; i < kMost; ++i) {
    press();
    QWidget* place = window.focusWidget();
    // A time has several places in one control.
    if (!visited.empty() && place == visited.back()) continue;
    if (place == nullptr || std::ranges::find(visited, place) != visited.end()) break;
    visited.push_back(place);
  }
  return visited;
}

TEST_F(KeyboardTest, TabGoesRoundEveryControlOfEachView) {
  ShowAll();
  for (const int view : {0, 1, 2}) {
    SelectView(view);
    OnDisplay([&] {
      std::vector<QWidget*> places = Places(view);
      std::vector<QWidget*> round = Round(Main(), [&] { Press(Qt::Key_Tab); });
      std::vector<QWidget*> back = Round(Main(), [&] { Press(Qt::Key_Tab, Qt::ShiftModifier); });
      for (std::vector<QWidget*>* found : {&places, &round, &back}) std::ranges::sort(*found);
      EXPECT_EQ(round, places) << view;
      EXPECT_EQ(back, places) << view;
    });
  }
}

TEST_F(KeyboardTest, ButtonsAreThePressOfTheBlankAndOfEnterAndNothingElse) {
  ShowAll();
  for (const int view : {0, 1, 2}) {
    SelectView(view);
    std::vector<QToolButton*> buttons;
    OnDisplay([&] {
      for (QWidget* place : Places(view)) {
        if (auto* button = qobject_cast<QToolButton*>(place)) buttons.push_back(button);
      }
    });
    EXPECT_EQ(buttons.size(), view == 1 ? 1U : 2U);
    for (QToolButton* button : buttons) {
      const std::uint32_t command = button->property("commandId").toUInt();
      for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) {
        OnDisplay([&] {
          button->setFocus(Qt::TabFocusReason);
          Press(key);
        });
        const auto messages = TakeMessages(queues);
        EXPECT_EQ(OfKind(messages, MessageKind::kCommand), (Details{{command, 0}}));
        EXPECT_TRUE(OfKind(messages, MessageKind::kKeyUp).empty());
      }
      OnDisplay([&] {
        button->setFocus(Qt::TabFocusReason);
        Press(Qt::Key_F);  // "File" of the bar that it stands in
        EXPECT_EQ(OpenMenu(), nullptr);
        CloseMenus();
      });
      TakeMessages(queues);
    }
  }
}

// --- forms ---------------------------------------------------------------------------------------

class FormKeys : public KeyboardTest, public ::testing::WithParamInterface<FormEntry> {
 protected:
  // The form in a window: a page as it is.
  QWidget* ShowForm(WindowHandle& handle) {
    const FormEntry& form = GetParam();
    if (!form.is_page) {
      const bool is_window = form.id == kDialogPostMessage || form.id == kDialogSimplePost;
      handle = device->dialogs().Create(
          form.id, 0, is_window ? port::DialogKind::kWindow : port::DialogKind::kModal);
      device->dialogs().Show(handle);
    }
    QWidget* shown = nullptr;
    OnDisplay([&] {
      if (form.is_page) {
        page_.reset(NewFormPage(form.id, [](const port::Message&) {}));
        page_->show();
      }
      shown = form.is_page ? page_.get() : device->display().WidgetOf(handle);
      shown->activateWindow();
      ASSERT_TRUE(QTest::qWaitForWindowActive(shown));
    });
    return shown;
  }
  void Close(WindowHandle handle) {
    if (handle != 0) device->dialogs().Destroy(handle);
    OnDisplay([&] { page_.reset(); });
  }
  std::unique_ptr<QWidget> page_;
};

bool TakesTab(const QWidget& widget, const QWidget& form) {
  const bool part = widget.focusProxy() != nullptr || !widget.isVisibleTo(&form);
  return !part && widget.isEnabled() && (widget.focusPolicy() & Qt::TabFocus) != 0;
}

// A group of radio buttons is one place, and the arrows go through it.
bool IsAnotherOfItsGroup(const QWidget& widget) {
  const auto* radio = qobject_cast<const QRadioButton*>(&widget);
  return radio != nullptr && !radio->isChecked();
}

TEST_P(FormKeys, TabReachesEveryEnabledControl) {
  WindowHandle handle = 0;
  QWidget* form = ShowForm(handle);
  ASSERT_NE(form, nullptr);
  OnDisplay([&] {
    // In the box of an article Tab is text.
    const auto step = [&](Qt::KeyboardModifiers more) {
      const QWidget* place = form->focusWidget();
      const bool types = dynamic_cast<const ArticleEdit*>(place) != nullptr;
      Press(Qt::Key_Tab, more | (types ? Qt::ControlModifier : Qt::NoModifier));
    };
    const std::vector<QWidget*> round = Round(*form, [&] { step(Qt::NoModifier); });
    int looked_at = 0;
    for (const QWidget* widget : form->findChildren<QWidget*>()) {
      if (!TakesTab(*widget, *form) || IsAnotherOfItsGroup(*widget)) continue;
      if (widget->parentWidget() != nullptr && widget->parentWidget()->focusProxy() == widget) {
        continue;
      }
      ++looked_at;
      EXPECT_NE(std::ranges::find(round, widget), round.end())
          << widget->metaObject()->className() << " " << widget->objectName().toStdString();
    }
    EXPECT_GT(looked_at, 0);
  });
  Close(handle);
}

// From above to below, and on one line from left to right.
TEST_P(FormKeys, TabGoesInTheOrderInWhichTheControlsAreSeen) {
  WindowHandle handle = 0;
  QWidget* form = ShowForm(handle);
  ASSERT_NE(form, nullptr);
  OnDisplay([&] {
    std::vector<QWidget*> chain;
    for (QWidget* w = form->nextInFocusChain(); w != form; w = w->nextInFocusChain()) {
      if (w->property("controlId").isValid() && TakesTab(*w, *form)) chain.push_back(w);
    }
    for (std::size_t i = 1; i < chain.size(); ++i) {
      const auto place = [&](const QWidget* w) {
        return QRect(w->mapTo(form, QPoint(0, 0)), w->size());
      };
      const QRect before = place(chain[i - 1]);
      const QRect after = place(chain[i]);
      const bool below = after.top() >= before.center().y();
      const bool beside = after.left() > before.left();
      EXPECT_TRUE(below || beside) << chain[i - 1]->objectName().toStdString() << " before "
                                   << chain[i]->objectName().toStdString();
    }
  });
  Close(handle);
}

std::string NameOf(const ::testing::TestParamInfo<FormEntry>& info) {
  return std::to_string(info.param.id);
}

INSTANTIATE_TEST_SUITE_P(Forms, FormKeys,
                         ::testing::ValuesIn(ProductForms().begin(), ProductForms().end()), NameOf);

TEST_F(KeyboardTest, EscapeCancelsEveryDialog) {
  for (const FormEntry& form : ProductForms()) {
    if (form.is_page) continue;
    const WindowHandle dialog = device->dialogs().Create(form.id, 0, port::DialogKind::kModal);
    device->dialogs().Show(dialog);
    OnDisplay([&] {
      QWidget* widget = device->display().WidgetOf(dialog);
      widget->activateWindow();
      ASSERT_TRUE(QTest::qWaitForWindowActive(widget));
      Press(Qt::Key_Escape);
    });
    const Details commands = OfKind(TakeMessages(queues), MessageKind::kCommand);
    EXPECT_EQ(commands, (Details{{2, 0}})) << form.id;
    device->dialogs().Destroy(dialog);
  }
}

}  // namespace
}  // namespace quillet::qt
