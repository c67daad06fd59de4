// SPDX-License-Identifier: GPL-3.0-or-later
// Keys: the same cases on the toolkit's display and on the one without pixels, for every key that
// the latter does anything with.
#include <algorithm>

#include "port/fake/fake_platform.h"
#include "res/resource.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::CheckState;
using port::MessageKind;
using port::TreeItem;
using port::WindowHandle;

constexpr std::uint32_t kMenuKey = port::kKeyContextMenu;

// A display with somebody at its keyboard.
class Keyboard {
 public:
  virtual ~Keyboard() = default;
  virtual port::ThreadQueues& Queues() = 0;
  virtual port::DisplayServices Services() = 0;
  // Presses and releases it in the window that has the focus.
  virtual void Press(std::uint32_t virtual_key, std::uint32_t modifiers) = 0;
  virtual std::vector<CheckState> Boxes() = 0;
  // The items of the tree that are not hidden in a collapsed one.
  virtual std::vector<TreeItem> ShownItems() = 0;
};

class FakeKeyboard final : public Keyboard {
 public:
  port::ThreadQueues& Queues() override { return fake_.queues; }
  port::DisplayServices Services() override { return fake_.display.Services(); }
  void Press(std::uint32_t virtual_key, std::uint32_t modifiers) override {
    EXPECT_TRUE(fake_.display.PressKey(virtual_key, modifiers));
  }
  std::vector<CheckState> Boxes() override {
    std::vector<CheckState> boxes;
    for (const port::ListRow& row : fake_.display.list().rows) boxes.push_back(row.check);
    return boxes;
  }
  std::vector<TreeItem> ShownItems() override {
    const port::ShownTree tree = fake_.display.tree();
    std::vector<TreeItem> items;
    for (const std::size_t i : port::VisibleRows(tree)) items.push_back(tree.rows[i].item);
    return items;
  }

 private:
  port::FakePlatform fake_;
};

struct KeyPair {
  std::uint32_t virtual_key;
  Qt::Key key;
};

constexpr KeyPair kKeys[] = {
    {port::kKeyEscape, Qt::Key_Escape},
    {port::kKeyReturn, Qt::Key_Return},
    {port::kKeySpace, Qt::Key_Space},
    {port::kKeyHome, Qt::Key_Home},
    {port::kKeyEnd, Qt::Key_End},
    {port::kKeyLeft, Qt::Key_Left},
    {port::kKeyUp, Qt::Key_Up},
    {port::kKeyRight, Qt::Key_Right},
    {port::kKeyDown, Qt::Key_Down},
    {kMenuKey, Qt::Key_Menu},
    {'K', Qt::Key_K},
};

class QtKeyboard final : public Keyboard {
 public:
  QtKeyboard() {
    gDisplayThread->Call([this] { device_ = std::make_unique<QtDevice>(queues_); });
  }
  ~QtKeyboard() override {
    gDisplayThread->Call([this] { device_.reset(); });
  }
  port::ThreadQueues& Queues() override { return queues_; }
  port::DisplayServices Services() override { return device_->Services(); }
  void Press(std::uint32_t virtual_key, std::uint32_t modifiers) override {
    const auto pair = std::ranges::find(kKeys, virtual_key, &KeyPair::virtual_key);
    ASSERT_NE(pair, std::end(kKeys));
    const Qt::KeyboardModifiers held =
        modifiers == port::kModifierControl ? Qt::ControlModifier : Qt::NoModifier;
    device_->jobs().Call([&] {
      // The window shown last.
      const auto& windows = device_->display().windows;
      ASSERT_FALSE(windows.empty());
      QWidget* window = windows.rbegin()->second;
      window->activateWindow();
      ASSERT_TRUE(QTest::qWaitForWindowActive(window));
      QTest::keyClick(window->windowHandle(), pair->key, held);
    });
  }
  std::vector<CheckState> Boxes() override {
    std::vector<CheckState> boxes;
    device_->jobs().Call([&] { boxes = Main().GroupList()->Rows().Checks(); });
    return boxes;
  }
  std::vector<TreeItem> ShownItems() override {
    std::vector<TreeItem> items;
    device_->jobs().Call([&] {
      const ThreadTree& tree = *Main().Threads()->Tree();
      for (QModelIndex row = tree.Rows().index(0, 0); row.isValid(); row = tree.indexBelow(row)) {
        items.push_back(tree.Rows().ItemOf(row));
      }
    });
    return items;
  }

 private:
  MainWindow& Main() { return *device_->display().main; }

  port::LinuxClock clock_;
  port::ThreadQueues queues_{clock_};
  std::unique_ptr<QtDevice> device_;
};

enum class Kind { kFake, kQt };

class KeyContract : public ::testing::TestWithParam<Kind> {
 protected:
  KeyContract() {
    if (GetParam() == Kind::kFake) {
      keyboard = std::make_unique<FakeKeyboard>();
    } else {
      keyboard = std::make_unique<QtKeyboard>();
    }
  }

  port::ListView& List() { return keyboard->Services().group_list; }
  port::TreeView& Tree() { return keyboard->Services().thread_tree; }

  WindowHandle ShowWindow() {
    port::Windows& windows = keyboard->Services().windows;
    const WindowHandle main =
        windows.CreateMainWindow({u"Quillet CE", u"Quillet CE 1.14r3", 103, {600, 400}});
    windows.ShowMainWindow();
    windows.CreateTabs(port::TabPlacement::kBottom);
    return main;
  }
  // The third row has no box.
  WindowHandle ShowList(int selected) {
    const WindowHandle main = ShowWindow();
    const std::array<port::ListColumn, 2> columns{{{u"Newsgroup", 0, false}, {u"Unread", 0, true}}};
    List().Create(columns, u"", 4);
    List().Fill({{u"a.b", u"1/2", CheckState::kUnchecked},
                 {u"c.d", u"3/4", CheckState::kChecked},
                 {u"e.f", u"5/6", CheckState::kNone}},
                selected);
    TakeMessages(keyboard->Queues());
    return main;
  }
  // 1(2(3) 4) 5(6) 7
  WindowHandle ShowTree(TreeItem selected) {
    const WindowHandle main = ShowWindow();
    keyboard->Services().windows.SelectTab(port::kThreadTab);
    Tree().CreateTree(u"thread tree", u"", 4);
    Tree().FillTree({{1, 0, true, u"a"},
                     {2, 1, false, u"b"},
                     {3, 2, false, u"c"},
                     {4, 1, false, u"d"},
                     {5, 0, false, u"e"},
                     {6, 1, false, u"f"},
                     {7, 0, false, u"g"}});
    Tree().SelectItem(selected);
    Tree().FocusTree();
    TakeMessages(keyboard->Queues());
    return main;
  }
  WindowHandle ShowDialog(std::uint32_t form) {
    port::Dialogs& dialogs = keyboard->Services().dialogs;
    const WindowHandle dialog = dialogs.Create(form, 0, port::DialogKind::kModal);
    dialogs.Show(dialog);
    TakeMessages(keyboard->Queues());
    return dialog;
  }

  void Press(std::uint32_t virtual_key, std::uint32_t modifiers = 0) {
    keyboard->Press(virtual_key, modifiers);
  }
  int RowAfter(std::uint32_t virtual_key) {
    Press(virtual_key);
    return List().SelectedRow();
  }
  TreeItem ItemAfter(std::uint32_t virtual_key) {
    Press(virtual_key);
    return Tree().SelectedItem();
  }

  struct Told {
    WindowHandle window;
    MessageKind kind;
    std::uint32_t id;
    bool operator==(const Told&) const = default;
  };
  // What keys and what they did, in their order.
  std::vector<Told> Take() {
    constexpr MessageKind kOfKeys[] = {MessageKind::kKeyDown, MessageKind::kKeyUp,
                                       MessageKind::kItemActivated, MessageKind::kContextMenu,
                                       MessageKind::kCommand};
    std::vector<Told> told;
    for (const port::Message& message : TakeMessages(keyboard->Queues())) {
      if (std::ranges::find(kOfKeys, message.kind) == std::end(kOfKeys)) continue;
      told.push_back({message.window, message.kind, message.id});
    }
    return told;
  }
  using Messages = std::vector<Told>;
  using Items = std::vector<TreeItem>;

  std::unique_ptr<Keyboard> keyboard;
};

// --- every window --------------------------------------------------------------------------------

TEST_P(KeyContract, KeysOfTheMainWindowAreToldDownAndUp) {
  const WindowHandle main = ShowList(1);
  Press('K', port::kModifierControl);
  EXPECT_EQ(Take(),
            (Messages{{main, MessageKind::kKeyDown, 'K'}, {main, MessageKind::kKeyUp, 'K'}}));
}

TEST_P(KeyContract, KeysOfADialogAreToldWhenReleased) {
  const WindowHandle dialog = ShowDialog(122);
  Press('K');
  EXPECT_EQ(Take(), (Messages{{dialog, MessageKind::kKeyUp, 'K'}}));
}

TEST_P(KeyContract, EscapeInADialogIsCancelAndReturnItsDefaultButton) {
  const WindowHandle group = ShowDialog(122);
  Press(port::kKeyReturn);
  Press(port::kKeyEscape);
  EXPECT_EQ(Take(), (Messages{{group, MessageKind::kCommand, 1},
                              {group, MessageKind::kKeyUp, port::kKeyReturn},
                              {group, MessageKind::kCommand, 2},
                              {group, MessageKind::kKeyUp, port::kKeyEscape}}));
  Press(port::kKeyEscape, port::kModifierControl);
  EXPECT_EQ(Take(), (Messages{{group, MessageKind::kKeyUp, port::kKeyEscape}})) << "another key";
  keyboard->Services().dialogs.Destroy(group);
  const WindowHandle progress = ShowDialog(120);
  Press(port::kKeyReturn);
  EXPECT_EQ(Take(), (Messages{{progress, MessageKind::kCommand, 2},
                              {progress, MessageKind::kKeyUp, port::kKeyReturn}}));
}

TEST_P(KeyContract, ReturnIsALineEndInAnEditorsWindowAndOkWithControl) {
  port::Dialogs& dialogs = keyboard->Services().dialogs;
  for (const std::uint32_t form : {kDialogPostMessage, kDialogSimplePost}) {
    const WindowHandle window = dialogs.Create(form, 0, port::DialogKind::kWindow);
    dialogs.Write(window, kControlArticleText, port::Focus{});
    dialogs.Show(window);
    TakeMessages(keyboard->Queues());
    Press(port::kKeyReturn);
    EXPECT_EQ(Take(), (Messages{{window, MessageKind::kKeyUp, port::kKeyReturn}}));
    EXPECT_EQ(dialogs.Read(window, kControlArticleText).text, u"\r\n");
    Press(port::kKeyReturn, port::kModifierControl);
    Press(port::kKeyEscape);
    EXPECT_EQ(Take(), (Messages{{window, MessageKind::kCommand, kControlOk},
                                {window, MessageKind::kKeyUp, port::kKeyReturn},
                                {window, MessageKind::kCommand, kControlCancel},
                                {window, MessageKind::kKeyUp, port::kKeyEscape}}));
    EXPECT_EQ(dialogs.Read(window, kControlArticleText).text, u"\r\n");
    dialogs.Destroy(window);
  }
}

// --- the group list ------------------------------------------------------------------------------

TEST_P(KeyContract, ArrowsSelectRowsOfTheListAndStopAtItsEnds) {
  ShowList(-1);
  EXPECT_EQ(RowAfter(port::kKeyDown), 0) << "the first step";
  EXPECT_EQ(RowAfter(port::kKeyDown), 1);
  EXPECT_EQ(RowAfter(port::kKeyDown), 2);
  EXPECT_EQ(RowAfter(port::kKeyDown), 2);
  EXPECT_EQ(RowAfter(port::kKeyUp), 1);
  EXPECT_EQ(RowAfter(port::kKeyUp), 0);
  EXPECT_EQ(RowAfter(port::kKeyUp), 0);
}

TEST_P(KeyContract, TheFirstStepUpSelectsTheFirstRowAsWell) {
  ShowList(-1);
  EXPECT_EQ(RowAfter(port::kKeyUp), 0);
}

TEST_P(KeyContract, TheBlankTicksTheSelectedRowsBox) {
  ShowList(1);
  using Boxes = std::vector<CheckState>;
  Press(port::kKeySpace);
  EXPECT_EQ(keyboard->Boxes(),
            (Boxes{CheckState::kUnchecked, CheckState::kUnchecked, CheckState::kNone}));
  Press(port::kKeySpace);
  Press(port::kKeyDown);
  Press(port::kKeySpace);
  EXPECT_EQ(keyboard->Boxes(),
            (Boxes{CheckState::kUnchecked, CheckState::kChecked, CheckState::kNone}));
}

TEST_P(KeyContract, ReturnActivatesTheSelectedRow) {
  const WindowHandle main = ShowList(-1);
  Press(port::kKeyReturn);
  EXPECT_EQ(Take(), (Messages{{main, MessageKind::kKeyDown, port::kKeyReturn},
                              {main, MessageKind::kKeyUp, port::kKeyReturn}}))
      << "none is selected";
  Press(port::kKeyDown);
  Press(port::kKeyDown);
  Take();
  Press(port::kKeyReturn);
  EXPECT_EQ(Take(), (Messages{{main, MessageKind::kKeyDown, port::kKeyReturn},
                              {main, MessageKind::kItemActivated, 1},
                              {main, MessageKind::kKeyUp, port::kKeyReturn}}));
}

// --- the thread tree -----------------------------------------------------------------------------

TEST_P(KeyContract, ArrowsWalkTheRowsOfTheTree) {
  ShowTree(0);
  EXPECT_EQ(ItemAfter(port::kKeyDown), 1U) << "the first step";
  EXPECT_EQ(ItemAfter(port::kKeyDown), 5U);
  EXPECT_EQ(ItemAfter(port::kKeyDown), 7U);
  EXPECT_EQ(ItemAfter(port::kKeyDown), 7U);
  EXPECT_EQ(ItemAfter(port::kKeyUp), 5U);
  EXPECT_EQ(ItemAfter(port::kKeyUp), 1U);
  EXPECT_EQ(ItemAfter(port::kKeyUp), 1U);
}

TEST_P(KeyContract, HomeAndEndSelectTheEndsOfTheTree) {
  for (const auto& [key, item] : {std::pair{port::kKeyHome, 1U}, {port::kKeyEnd, 7U}}) {
    ShowTree(0);
    EXPECT_EQ(ItemAfter(key), item) << "before anything is selected";
    keyboard->Services().windows.DestroyMainWindow();
  }
  ShowTree(5);
  EXPECT_EQ(ItemAfter(port::kKeyEnd), 7U);
  EXPECT_EQ(ItemAfter(port::kKeyHome), 1U);
}

TEST_P(KeyContract, RightExpandsThenGoesIn) {
  ShowTree(1);
  EXPECT_EQ(ItemAfter(port::kKeyRight), 1U);
  EXPECT_EQ(keyboard->ShownItems(), (Items{1, 2, 4, 5, 7}));
  EXPECT_EQ(ItemAfter(port::kKeyRight), 2U);
  EXPECT_EQ(ItemAfter(port::kKeyRight), 2U);
  EXPECT_EQ(ItemAfter(port::kKeyRight), 3U);
  EXPECT_EQ(ItemAfter(port::kKeyRight), 3U) << "nothing is below";
  EXPECT_EQ(keyboard->ShownItems(), (Items{1, 2, 3, 4, 5, 7}));
}

TEST_P(KeyContract, LeftCollapsesOrGoesOut) {
  ShowTree(3);
  EXPECT_EQ(ItemAfter(port::kKeyLeft), 2U);
  EXPECT_EQ(ItemAfter(port::kKeyLeft), 2U);
  EXPECT_EQ(keyboard->ShownItems(), (Items{1, 2, 4, 5, 7}));
  EXPECT_EQ(ItemAfter(port::kKeyLeft), 1U);
  EXPECT_EQ(ItemAfter(port::kKeyLeft), 1U);
  EXPECT_EQ(keyboard->ShownItems(), (Items{1, 5, 7}));
  EXPECT_EQ(ItemAfter(port::kKeyLeft), 1U) << "nothing is above";
}

TEST_P(KeyContract, LeftAndRightSelectNothingWhenNothingIsSelected) {
  ShowTree(0);
  EXPECT_EQ(ItemAfter(port::kKeyRight), 0U);
  EXPECT_EQ(ItemAfter(port::kKeyLeft), 0U);
  EXPECT_EQ(keyboard->ShownItems(), (Items{1, 5, 7}));
}

TEST_P(KeyContract, ReturnActivatesTheSelectedItem) {
  const WindowHandle main = ShowTree(0);
  Press(port::kKeyReturn);
  EXPECT_EQ(Take(), (Messages{{main, MessageKind::kKeyDown, port::kKeyReturn},
                              {main, MessageKind::kKeyUp, port::kKeyReturn}}))
      << "none is selected";
  Tree().SelectItem(6);
  Press(port::kKeyReturn);
  EXPECT_EQ(Take(), (Messages{{main, MessageKind::kKeyDown, port::kKeyReturn},
                              {main, MessageKind::kItemActivated, 6},
                              {main, MessageKind::kKeyUp, port::kKeyReturn}}));
}

TEST_P(KeyContract, TheMenuKeyAsksForTheSelectedItemsMenu) {
  const WindowHandle main = ShowTree(6);
  Press(kMenuKey);
  EXPECT_EQ(Take(), (Messages{{main, MessageKind::kContextMenu, 6}})) << "not told as a key";
  Tree().SelectItem(0);
  Press(kMenuKey);
  EXPECT_EQ(Take(), (Messages{{main, MessageKind::kContextMenu, 0}}));
}

INSTANTIATE_TEST_SUITE_P(Displays, KeyContract, ::testing::Values(Kind::kFake, Kind::kQt),
                         [](const auto& which) {
                           return which.param == Kind::kFake ? "InMemory" : "Toolkit";
                         });

}  // namespace
}  // namespace quillet::qt
