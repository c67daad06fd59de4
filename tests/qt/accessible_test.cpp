// SPDX-License-Identifier: GPL-3.0-or-later
// What readers of the screen are told, without a bus: the interfaces as the toolkit hands them out.
#include <QAccessible>
#include <QMenuBar>

#include "tests/qt/article_fixture.h"
#include "tests/qt/tree_fixture.h"

namespace quillet::qt {
namespace {

using port::MessageKind;

QAccessibleInterface* Told(QWidget& widget) {
  return QAccessible::queryAccessibleInterface(&widget);
}

QString NameOf(const QAccessibleInterface* item) {
  return item->text(QAccessible::Name);
}

QAccessibleInterface* ChildNamed(const QAccessibleInterface* item, const QString& name) {
  for (int i = 0; i < item->childCount(); ++i) {
    if (NameOf(item->child(i)) == name) return item->child(i);
  }
  return nullptr;
}

void Do(QAccessibleInterface* item, const QString& action) {
  ASSERT_NE(item, nullptr);
  ASSERT_TRUE(item->actionInterface()->actionNames().contains(action));
  item->actionInterface()->doAction(action);
}

const QString kPress = QAccessibleActionInterface::pressAction();
const QString kToggle = QAccessibleActionInterface::toggleAction();
const QString kShowMenu = QAccessibleActionInterface::showMenuAction();

TEST_F(DisplayTest, ReadersTickAndOpenGroups) {
  ShowWindow();
  device->group_list().Fill(
      {{u"a", u"1/1", port::CheckState::kChecked}, {u"b", u"0/2", port::CheckState::kUnchecked}},
      -1);
  OnDisplay([&] {
    QAccessibleInterface* row = Told(List())->child(1);
    EXPECT_EQ(NameOf(row), QStringLiteral("b, 0 unread of 2 articles"));
    Do(row, kToggle);
    EXPECT_TRUE(row->state().checked);
    Do(row, kPress);
  });
  const auto messages = TakeMessages(queues);
  EXPECT_EQ(OfKind(messages, MessageKind::kRowChecked), (Details{{1, 1}}));
  EXPECT_EQ(OfKind(messages, MessageKind::kItemActivated), (Details{{1, 0}}));
}

TEST_F(DisplayTest, NewRowsAreNewItems) {
  ShowWindow();
  FillRows(3);
  OnDisplay([&] { EXPECT_EQ(Told(List())->childCount(), 3); });
  device->group_list().Fill({{u"only", u"0/0", port::CheckState::kChecked}}, -1);
  OnDisplay([&] {
    ASSERT_EQ(Told(List())->childCount(), 1);
    EXPECT_EQ(NameOf(Told(List())->child(0)), QStringLiteral("only, 0 unread of 0 articles"));
    EXPECT_EQ(Told(List())->child(1), nullptr);
  });
}

TEST_F(DisplayTest, NothingIsDoneForAReaderBelowABox) {
  const port::WindowHandle main = ShowWindow();
  FillRows(1);
  const port::WindowHandle dialog = device->dialogs().Create(121, main, port::DialogKind::kModal);
  device->dialogs().Show(dialog);
  TakeMessages(queues);
  OnDisplay([&] {
    Do(Told(List())->child(0), kPress);
    Do(Told(*Main().ViewButtons())->child(0), kPress);
    Do(Told(Tabs().Bar())->child(1), kPress);
  });
  EXPECT_EQ(Main().SelectedTab(), 0);
  const auto messages = TakeMessages(queues);
  EXPECT_EQ(OfKind(messages, MessageKind::kItemActivated), Details{});
  EXPECT_EQ(OfKind(messages, MessageKind::kCommand), Details{});
}

TEST_F(DisplayTest, TheTabThatIsShownIsSelectedAndNotTheFocus) {
  ShowWindow();
  OnDisplay([&] {
    QAccessibleInterface* tabs = Told(Tabs().Bar());
    ASSERT_EQ(tabs->childCount(), 3);
    Do(tabs->child(2), kPress);
    for (int tab = 0; tab < 3; ++tab) {
      EXPECT_EQ(tabs->child(tab)->role(), QAccessible::PageTab);
      EXPECT_EQ(bool(tabs->child(tab)->state().selected), tab == 2);
      EXPECT_FALSE(tabs->child(tab)->state().focused);
      EXPECT_EQ(tabs->child(tab)->text(QAccessible::Description), QString());
    }
  });
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kTabChanged), (Details{{2, 0}}));
}

TEST_F(DisplayTest, MenusHaveItemsWithoutMarksAndTheButtonsInTheCorner) {
  ShowWindow();
  OnDisplay([&] {
    QAccessibleInterface* bar = Told(*Main().menuBar());
    ASSERT_EQ(bar->childCount(), 4);
    EXPECT_EQ(NameOf(bar->child(0)), QStringLiteral("File"));
    QAccessibleInterface* corner = bar->child(3);
    EXPECT_EQ(bar->indexOfChild(corner), 3);
    EXPECT_NE(ChildNamed(corner, QStringLiteral("Connect")), nullptr);
    QAccessibleInterface* file = bar->child(0)->child(0);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->role(), QAccessible::PopupMenu);
    QAccessibleInterface* connect = ChildNamed(file, QStringLiteral("Connect"));
    ASSERT_NE(connect, nullptr);
    EXPECT_EQ(connect->actionInterface()->keyBindingsForAction(kPress),
              QStringList{QStringLiteral("Ctrl+1")});
    EXPECT_EQ(file->parent(), bar->child(0));
    Do(connect, kPress);
  });
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kCommand), (Details{{40008, 0}}));
}

TEST_F(TreeTest, ReadersExpandAndOpenArticles) {
  ShowTree(SmallTree());
  OnDisplay([&] {
    ASSERT_EQ(Told(Tree())->childCount(), 3);
    Do(Told(Tree())->child(0), kToggle);
    ASSERT_EQ(Told(Tree())->childCount(), 5);
    Do(Told(Tree())->child(1), kPress);
    Do(Told(Tree())->child(1), kShowMenu);
  });
  const auto messages = TakeMessages(queues);
  EXPECT_EQ(OfKind(messages, MessageKind::kItemActivated), (Details{{1, 0}}));
  EXPECT_EQ(OfKind(messages, MessageKind::kContextMenu), (Details{{1, 0}}));
}

TEST_F(TreeTest, RowsBelowTheDeepestLevelAreAnswersToo) {
  std::vector<port::TreeRow> rows;
  for (std::uint32_t depth = 0; depth < 1100; ++depth)
    rows.push_back({depth + 1, depth, true, u"x"});
  ShowTree(rows);
  OnDisplay([&] {
    EXPECT_EQ(Rows().CountBelow(At(1)), 1099);
    EXPECT_EQ(Rows().CountBelow(At(1099)), 1);
    EXPECT_EQ(Rows().CountBelow(At(1100)), 0);
  });
}

TEST_F(TreeTest, TextsThatTurnOthersAreNotSaid) {
  ShowTree({{1, 0, false, u"a\u202Eb\nc"}});
  OnDisplay([&] {
    EXPECT_EQ(NameOf(Told(Tree())->child(0)), QStringLiteral("a\uFFFDb c, no answers, level 1"));
  });
}

TEST_F(ArticleTest, ThePageIsADocumentThatIsReadAndNotEdited) {
  ShowArticleTab();
  ShowSource(Wrapped(u"See <a href=\"http://x.example/?a&amp;b\">this</a>&nbsp;<br>and more"));
  OnDisplay([&] {
    QAccessibleInterface* page = Told(Text());
    EXPECT_EQ(page->role(), QAccessible::Document);
    EXPECT_TRUE(page->state().readOnly);
    EXPECT_FALSE(page->state().editable);
    EXPECT_EQ(page->editableTextInterface(), nullptr);
    QAccessibleTextInterface* text = page->textInterface();
    ASSERT_NE(text, nullptr);
    EXPECT_TRUE(text->text(0, text->characterCount()).startsWith(QStringLiteral("See this")));
    text->setCursorPosition(4);
    EXPECT_EQ(text->cursorPosition(), 4);
    text->setSelection(0, 4, 8);
    EXPECT_EQ(Text().textCursor().selectedText(), QStringLiteral("this"));
    text->setCursorPosition(1000000);
    EXPECT_EQ(text->cursorPosition(), text->characterCount());
  });
}

TEST_F(ArticleTest, ReadersFollowLinks) {
  ShowArticleTab();
  ShowSource(
      Wrapped(u"See <a href=\"attachment:3\">the <b>p</b>art</a>, "
              u"<a href=\"http://y.example/\">y</a>"));
  OnDisplay([&] {
    QAccessibleInterface* page = Told(Text());
    ASSERT_EQ(page->childCount(), 2);
    QAccessibleInterface* link = page->child(0);
    EXPECT_EQ(link->role(), QAccessible::Link);
    EXPECT_EQ(NameOf(link), QStringLiteral("the part"));
    EXPECT_EQ(page->indexOfChild(page->child(1)), 1);
    Do(link, kPress);
    EXPECT_TRUE(link->state().focused);
  });
  std::vector<std::u16string> followed;
  for (const port::Message& message : TakeMessages(queues)) {
    if (message.kind == MessageKind::kLink) followed.push_back(message.text);
  }
  EXPECT_EQ(followed, std::vector<std::u16string>{u"attachment:3"});
  ShowSource(Wrapped(u"nothing"));
  OnDisplay([&] { EXPECT_EQ(Told(Text())->childCount(), 0); });
}

}  // namespace
}  // namespace quillet::qt
