// SPDX-License-Identifier: GPL-3.0-or-later
// The same cases on the toolkit's display and on the one without pixels that all other tests use.
#include <QAbstractButton>
#include <QApplication>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QTimer>
#include <algorithm>

#include "port/fake/fake_platform.h"
#include "qt/forms.h"
#include "tests/qt/display_fixture.h"
#include "util/text.h"

namespace quillet::qt {
namespace {

using port::CheckState;
using port::MessageKind;
using port::TreeItem;
using port::WindowHandle;

// A display with somebody in front of it.
class Subject {
 public:
  virtual ~Subject() = default;
  virtual port::ThreadQueues& Queues() = 0;
  virtual port::Windows& Windows() = 0;
  virtual port::ListView& List() = 0;
  virtual port::Dialogs& Dialogs() = 0;
  virtual port::MessageBoxes& Boxes() = 0;
  virtual port::TreeView& Tree() = 0;
  virtual port::PopUpMenus& PopUps() = 0;

  virtual void SelectTab(int tab) = 0;
  virtual void ToggleRow(int row) = 0;
  virtual void SelectRow(int row) = 0;
  virtual void ActivateRow(int row) = 0;
  virtual void FollowStep(int step) = 0;
  // The steps that are shown, "text" or "text, done".
  virtual std::vector<std::u16string> ShownSteps() = 0;
  virtual void Choose(std::uint32_t command) = 0;
  virtual void Press(WindowHandle dialog, std::uint32_t control) = 0;
  virtual void Type(WindowHandle dialog, std::uint32_t control, std::u16string text) = 0;
  virtual void CloseDialog(WindowHandle dialog) = 0;
  virtual void CloseWindow() = 0;
  virtual void ClickItem(TreeItem item) = 0;
  virtual void ActivateItem(TreeItem item) = 0;
  virtual void AskItemMenu(TreeItem item) = 0;
  virtual void ExpandItem(TreeItem item, bool expanded) = 0;
  // The boxes of all rows, as they are shown.
  virtual std::vector<CheckState> ShownBoxes() = 0;
  // Moves the divider between the list's columns to about that place.
  virtual void DragDivider(int place) = 0;
  // In the next menu the entry with that text is chosen; empty: the menu is dismissed.
  virtual void AnswerPopUp(std::u16string entry) = 0;

  // Rows that are not hidden in a collapsed one, "text" or "*text*" when bold, by their depth.
  virtual std::vector<std::string> ShownRows() = 0;
  virtual std::u16string Caption() = 0;
};

std::string ShownRow(std::uint32_t depth, bool bold, const std::u16string& text) {
  const std::string mark = bold ? "*" : "";
  return std::string(2 * depth, ' ') + mark + ToUtf8(text) + mark;
}

class FakeSubject final : public Subject {
 public:
  port::ThreadQueues& Queues() override { return fake_.queues; }
  port::Windows& Windows() override { return fake_.display; }
  port::ListView& List() override { return fake_.display; }
  port::Dialogs& Dialogs() override { return fake_.display; }
  port::MessageBoxes& Boxes() override { return fake_.display; }
  void SelectTab(int tab) override { EXPECT_TRUE(fake_.display.UserSelectTab(tab)); }
  void ToggleRow(int row) override { EXPECT_TRUE(fake_.display.ToggleRow(row)); }
  void SelectRow(int row) override { EXPECT_TRUE(fake_.display.SelectRow(row)); }
  void ActivateRow(int row) override { EXPECT_TRUE(fake_.display.ActivateRow(row)); }
  void FollowStep(int step) override {
    EXPECT_TRUE(fake_.display.FollowStep(static_cast<std::size_t>(step)));
  }
  std::vector<std::u16string> ShownSteps() override {
    std::vector<std::u16string> shown;
    for (const port::GuideStep& step : fake_.display.list().guide) {
      shown.push_back(step.done ? step.text + u", done" : step.text);
    }
    return shown;
  }
  void Choose(std::uint32_t command) override { EXPECT_TRUE(fake_.display.ChooseCommand(command)); }
  void Press(WindowHandle dialog, std::uint32_t control) override {
    EXPECT_TRUE(fake_.display.Press(dialog, control));
  }
  void Type(WindowHandle dialog, std::uint32_t control, std::u16string text) override {
    EXPECT_TRUE(fake_.display.Type(dialog, control, text));
  }
  void CloseDialog(WindowHandle dialog) override { EXPECT_TRUE(fake_.display.CloseDialog(dialog)); }
  void CloseWindow() override { EXPECT_TRUE(fake_.display.CloseMainWindow()); }
  port::TreeView& Tree() override { return fake_.display; }
  port::PopUpMenus& PopUps() override { return fake_.display; }
  void ClickItem(TreeItem item) override { EXPECT_TRUE(fake_.display.ClickItem(item)); }
  void ActivateItem(TreeItem item) override { EXPECT_TRUE(fake_.display.ActivateItem(item)); }
  void AskItemMenu(TreeItem item) override { EXPECT_TRUE(fake_.display.AskItemMenu(item)); }
  void ExpandItem(TreeItem item, bool expanded) override {
    EXPECT_TRUE(fake_.display.ExpandItem(item, expanded));
  }
  void AnswerPopUp(std::u16string entry) override { fake_.display.ExpectPopUp(std::move(entry)); }
  std::vector<std::string> ShownRows() override {
    const port::ShownTree tree = fake_.display.tree();
    std::vector<std::string> rows;
    for (const std::size_t i : port::VisibleRows(tree)) {
      rows.push_back(ShownRow(tree.rows[i].depth, tree.rows[i].bold, tree.rows[i].text));
    }
    return rows;
  }
  std::u16string Caption() override { return fake_.display.caption(); }
  std::vector<CheckState> ShownBoxes() override {
    std::vector<CheckState> boxes;
    for (const port::ListRow& row : fake_.display.list().rows) boxes.push_back(row.check);
    return boxes;
  }
  void DragDivider(int place) override { EXPECT_TRUE(fake_.display.DragColumn(0, place)); }

 private:
  port::FakePlatform fake_;
};

class QtSubject final : public Subject {
 public:
  QtSubject() {
    gDisplayThread->Call([this] { device_ = std::make_unique<QtDevice>(queues_); });
  }
  ~QtSubject() override {
    gDisplayThread->Call([this] { device_.reset(); });
  }
  port::ThreadQueues& Queues() override { return queues_; }
  port::Windows& Windows() override { return device_->windows(); }
  port::ListView& List() override { return device_->group_list(); }
  port::Dialogs& Dialogs() override { return device_->dialogs(); }
  port::MessageBoxes& Boxes() override { return device_->boxes(); }

  void SelectTab(int tab) override {
    OnDisplay([&] {
      ImageTabBar& bar = Main().Tabs()->Bar();
      QTest::mouseClick(&bar, Qt::LeftButton, Qt::NoModifier, bar.tabRect(tab).center());
    });
  }
  void ToggleRow(int row) override {
    OnDisplay([&] { Click(Table().BoxRect(row).center()); });
  }
  void SelectRow(int row) override {
    OnDisplay([&] { Click(TextOf(row)); });
  }
  void ActivateRow(int row) override {
    OnDisplay([&] {
      QTest::mouseDClick(Table().viewport(), Qt::LeftButton, Qt::NoModifier, TextOf(row));
    });
  }
  void FollowStep(int step) override {
    OnDisplay([&] {
      StepLink* link = Main().Guide()->Links().at(static_cast<std::size_t>(step));
      QTest::mouseClick(link, Qt::LeftButton, Qt::NoModifier, link->TextRect().center());
    });
  }
  std::vector<std::u16string> ShownSteps() override {
    std::vector<std::u16string> shown;
    OnDisplay([&] {
      if (!device_->display().main || Main().Guide() == nullptr) return;
      for (const StepLink* link : Main().Guide()->Links()) {
        if (link->isVisible()) shown.push_back(link->accessibleName().toStdU16String());
      }
    });
    return shown;
  }
  void Choose(std::uint32_t command) override {
    OnDisplay([&] {
      for (QAction* action : Main().findChildren<QAction*>()) {
        if (action->data().toUInt() == command) return action->trigger();
      }
      ADD_FAILURE() << "no such item: " << command;
    });
  }
  void Press(WindowHandle dialog, std::uint32_t control) override {
    OnDisplay([&] { qobject_cast<QAbstractButton*>(Control(dialog, control))->click(); });
  }
  void Type(WindowHandle dialog, std::uint32_t control, std::u16string text) override {
    OnDisplay([&] {
      auto* edit = qobject_cast<QLineEdit*>(Control(dialog, control));
      edit->selectAll();
      QTest::keyClicks(edit, QString::fromStdU16String(text));
    });
  }
  void CloseDialog(WindowHandle dialog) override {
    OnDisplay([&] { device_->display().WidgetOf(dialog)->close(); });
  }
  void CloseWindow() override {
    OnDisplay([&] { Main().close(); });
  }
  port::TreeView& Tree() override { return device_->thread_tree(); }
  port::PopUpMenus& PopUps() override { return device_->pop_ups(); }
  void ClickItem(TreeItem item) override {
    OnDisplay([&] {
      QTest::mouseClick(Threads().viewport(), Qt::LeftButton, Qt::NoModifier, PlaceOf(item));
    });
  }
  void ActivateItem(TreeItem item) override {
    OnDisplay([&] {
      QTest::mouseDClick(Threads().viewport(), Qt::LeftButton, Qt::NoModifier, PlaceOf(item));
    });
  }
  void AskItemMenu(TreeItem item) override {
    OnDisplay([&] {
      const QPoint place = PlaceOf(item);
      QTest::mouseClick(Threads().viewport(), Qt::RightButton, Qt::NoModifier, place);
      QContextMenuEvent event(QContextMenuEvent::Mouse, place,
                              Threads().viewport()->mapToGlobal(place));
      QApplication::sendEvent(Threads().viewport(), &event);
    });
  }
  void ExpandItem(TreeItem item, bool expanded) override {
    OnDisplay([&] {
      const QModelIndex row = Threads().Rows().Find(item);
      if (Threads().isExpanded(row) == expanded) return;
      QTest::mouseClick(Threads().viewport(), Qt::LeftButton, Qt::NoModifier,
                        Threads().MarkRect(row).center());
    });
  }
  void AnswerPopUp(std::u16string entry) override {
    OnDisplay([&] {
      auto* looking = new QTimer(&Main());
      QObject::connect(looking, &QTimer::timeout, looking, [this, looking, entry] {
        QMenu* menu = device_->pop_ups().OpenMenu();
        if (menu == nullptr) return;
        looking->deleteLater();
        if (entry.empty()) return QTest::keyClick(menu, Qt::Key_Escape);
        for (QAction* action : menu->actions()) {
          if (action->text().toStdU16String() != entry) continue;
          QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier,
                            menu->actionGeometry(action).center());
        }
      });
      looking->start(5);
    });
  }
  std::vector<std::string> ShownRows() override {
    std::vector<std::string> rows;
    OnDisplay([&] {
      const ThreadModel& model = Threads().Rows();
      for (QModelIndex row = model.index(0, 0); row.isValid(); row = Threads().indexBelow(row)) {
        rows.push_back(ShownRow(model.DepthOf(row), model.BoldOf(row), model.TextOf(row)));
      }
    });
    return rows;
  }
  std::vector<CheckState> ShownBoxes() override {
    std::vector<CheckState> boxes;
    OnDisplay([&] {
      if (device_->display().main && Main().GroupList() != nullptr) boxes = Table().Rows().Checks();
    });
    return boxes;
  }
  void DragDivider(int place) override {
    OnDisplay([&] {
      QWidget* header = Table().header()->viewport();
      const int y = header->height() / 2;
      QTest::mousePress(header, Qt::LeftButton, Qt::NoModifier, {Table().columnWidth(0), y});
      QTest::mouseMove(header, {place + 10, y});
      QTest::mouseMove(header, {place, y});
      QTest::mouseRelease(header, Qt::LeftButton, Qt::NoModifier, {place, y});
      QCoreApplication::processEvents();  // the second column follows
    });
  }
  std::u16string Caption() override {
    std::u16string text;
    OnDisplay([&] { text = Main().Threads()->findChild<QLabel*>()->text().toStdU16String(); });
    return text;
  }

 private:
  ThreadTree& Threads() { return *Main().Threads()->Tree(); }
  QPoint PlaceOf(TreeItem item) {
    const QRect text = Threads().TextRect(Threads().Rows().Find(item));
    return {text.left() + 8, text.center().y()};
  }
  void OnDisplay(const std::function<void()>& action) { device_->jobs().Call(action); }
  MainWindow& Main() { return *device_->display().main; }
  GroupTable& Table() { return *Main().GroupList(); }
  QWidget* Control(WindowHandle dialog, std::uint32_t control) {
    return ControlOf(*device_->display().WidgetOf(dialog), control);
  }
  void Click(QPoint place) {
    QTest::mouseClick(Table().viewport(), Qt::LeftButton, Qt::NoModifier, place);
  }
  QPoint TextOf(int row) {
    return {Table().columnWidth(0) / 2,
            Table().visualRect(Table().model()->index(row, 0)).center().y()};
  }

  port::LinuxClock clock_;
  port::ThreadQueues queues_{clock_};
  std::unique_ptr<QtDevice> device_;
};

enum class Kind { kFake, kQt };

class DisplayContract : public ::testing::TestWithParam<Kind> {
 protected:
  DisplayContract() {
    if (GetParam() == Kind::kFake) {
      subject = std::make_unique<FakeSubject>();
    } else {
      subject = std::make_unique<QtSubject>();
    }
  }

  WindowHandle ShowWindow() {
    const WindowHandle handle =
        subject->Windows().CreateMainWindow({u"Quillet CE", u"Quillet CE 1.14r3", 103, {600, 400}});
    subject->Windows().ShowMainWindow();
    subject->Windows().CreateTabs(port::TabPlacement::kBottom);
    CreateList(0, 0);
    subject->List().Fill({{u"a.b", u"1/2", CheckState::kUnchecked},
                          {u"c.d", u"3/4", CheckState::kChecked},
                          {u"e.f", u"5/6", CheckState::kNone}},
                         -1);
    Drain();
    return handle;
  }

  void CreateList(int first, int second) {
    const std::array<port::ListColumn, 2> columns{
        {{u"Newsgroup", first, false}, {u"Unread", second, true}}};
    subject->List().Create(columns, u"", 4);
  }

  // The last width told of each column.
  std::array<std::uint32_t, 2> ToldWidths(const std::vector<port::Message>& messages) {
    std::array<std::uint32_t, 2> widths{};
    for (const auto& [column, width] : OfKind(messages, MessageKind::kColumnSized)) {
      widths.at(column) = width;
    }
    return widths;
  }

  // What came, without sizes and keys.
  std::vector<port::Message> Drain() {
    std::vector<port::Message> messages = TakeMessages(subject->Queues());
    std::erase_if(messages, [](const port::Message& message) {
      return message.kind == MessageKind::kSize || message.kind == MessageKind::kColumnSized ||
             message.kind == MessageKind::kKeyDown || message.kind == MessageKind::kKeyUp;
    });
    return messages;
  }

  void ExpectOnly(const std::vector<port::Message>& expected) {
    const std::vector<port::Message> messages = Drain();
    ASSERT_EQ(messages.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_EQ(messages[i].window, expected[i].window);
      EXPECT_EQ(messages[i].kind, expected[i].kind);
      EXPECT_EQ(messages[i].id, expected[i].id);
      EXPECT_EQ(messages[i].detail, expected[i].detail);
    }
  }

  std::unique_ptr<Subject> subject;
};

TEST_P(DisplayContract, HandlesAreNeverReused) {
  const WindowHandle first = subject->Dialogs().Create(120, 0, port::DialogKind::kModal);
  subject->Dialogs().Destroy(first);
  const WindowHandle second = subject->Dialogs().Create(120, 0, port::DialogKind::kModal);
  EXPECT_NE(first, 0u);
  EXPECT_NE(second, 0u);
  EXPECT_NE(first, second);
}

TEST_P(DisplayContract, TextsOfTheFormsAreThere) {
  const WindowHandle progress = subject->Dialogs().Create(120, 0, port::DialogKind::kModal);
  EXPECT_EQ(subject->Dialogs().Read(progress, 2).text, u"&Cancel");
  EXPECT_EQ(subject->Dialogs().Read(progress, 1020).text, u"");
  const WindowHandle group = subject->Dialogs().Create(122, 0, port::DialogKind::kModal);
  EXPECT_EQ(subject->Dialogs().Read(group, 1).text, u"OK");
  EXPECT_EQ(subject->Dialogs().Read(group, 2).text, u"Cancel");
  EXPECT_EQ(subject->Dialogs().Read(group, 1001).text, u"");
}

TEST_P(DisplayContract, WrittenTextIsRead) {
  const WindowHandle dialog = subject->Dialogs().Create(122, 0, port::DialogKind::kModal);
  subject->Dialogs().Write(dialog, 1001, port::Text{u"comp.lang.c"});
  EXPECT_EQ(subject->Dialogs().Read(dialog, 1001).text, u"comp.lang.c");
  subject->Dialogs().Write(dialog, 1001, port::Text{u""});
  EXPECT_EQ(subject->Dialogs().Read(dialog, 1001).text, u"");
}

TEST_P(DisplayContract, TypedTextIsRead) {
  const WindowHandle dialog = subject->Dialogs().Create(122, 0, port::DialogKind::kModal);
  subject->Dialogs().Show(dialog);
  subject->Type(dialog, 1001, u"alt.test");
  EXPECT_EQ(subject->Dialogs().Read(dialog, 1001).text, u"alt.test");
}

TEST_P(DisplayContract, PressIsACommandOfTheDialog) {
  const WindowHandle dialog = subject->Dialogs().Create(122, 0, port::DialogKind::kModal);
  subject->Dialogs().Show(dialog);
  subject->Press(dialog, 1);
  subject->CloseDialog(dialog);
  ExpectOnly(
      {{dialog, MessageKind::kCommand, 1, 0, {}}, {dialog, MessageKind::kCommand, 2, 0, {}}});
}

TEST_P(DisplayContract, DestroyedDialogIsEmptyAndDropsItsMessages) {
  const WindowHandle dialog = subject->Dialogs().Create(122, 0, port::DialogKind::kModal);
  subject->Dialogs().Show(dialog);
  subject->Dialogs().Write(dialog, 1001, port::Text{u"x"});
  subject->Press(dialog, 1);
  subject->Dialogs().Destroy(dialog);
  subject->Dialogs().Destroy(dialog);
  EXPECT_EQ(subject->Dialogs().Read(dialog, 1001).text, u"");
  subject->Dialogs().Write(dialog, 1001, port::Text{u"y"});
  ExpectOnly({});
}

TEST_P(DisplayContract, ControlThatDoesNotExistIsEmpty) {
  const WindowHandle dialog = subject->Dialogs().Create(122, 0, port::DialogKind::kModal);
  subject->Dialogs().Write(dialog, 4711, port::Text{u"x"});
  subject->Dialogs().Write(dialog, 4711, port::Visible{false});
  EXPECT_EQ(subject->Dialogs().Read(dialog, 4711).text, u"");
  EXPECT_FALSE(subject->Dialogs().Read(dialog, 1001).checked);
  EXPECT_EQ(subject->Dialogs().Read(dialog, 1001).text, u"");
}

using Boxes = std::vector<CheckState>;

TEST_P(DisplayContract, TickedRowIsToldWithItsNameAndNewState) {
  const WindowHandle main = ShowWindow();
  subject->ToggleRow(0);
  EXPECT_EQ(subject->ShownBoxes(),
            (Boxes{CheckState::kChecked, CheckState::kChecked, CheckState::kNone}));
  subject->ToggleRow(1);
  subject->ToggleRow(0);
  const std::vector<port::Message> messages = Drain();
  ASSERT_EQ(messages.size(), 3u);
  EXPECT_EQ(messages[0].text, u"a.b");
  EXPECT_EQ(messages[1].text, u"c.d");
  EXPECT_EQ(messages[0].window, main);
  EXPECT_EQ(OfKind(messages, MessageKind::kRowChecked), (Details{{0, 1}, {1, 0}, {0, 0}}));
}

TEST_P(DisplayContract, TickIsToldBeforeTheCommandChosenNext) {
  const WindowHandle main = ShowWindow();
  subject->ToggleRow(0);
  subject->Choose(40012);
  subject->ToggleRow(1);
  subject->CloseWindow();
  ExpectOnly({{main, MessageKind::kRowChecked, 0, 1, {}},
              {main, MessageKind::kCommand, 40012, 0, {}},
              {main, MessageKind::kRowChecked, 1, 0, {}},
              {main, MessageKind::kClose, 0, 0, {}}});
}

TEST_P(DisplayContract, BoxesSetByTheProgramAreShownAndNotTold) {
  ShowWindow();
  subject->List().SetCheckStates(0, {CheckState::kChecked});
  EXPECT_EQ(subject->ShownBoxes(),
            (Boxes{CheckState::kChecked, CheckState::kChecked, CheckState::kNone}));
  subject->List().SetCheckStates(
      1, {CheckState::kUnchecked, CheckState::kChecked, CheckState::kChecked});
  EXPECT_EQ(subject->ShownBoxes(),
            (Boxes{CheckState::kChecked, CheckState::kUnchecked, CheckState::kChecked}));
  subject->List().SetCheckStates(3, {CheckState::kUnchecked});
  subject->List().SetCheckStates(-1, {CheckState::kUnchecked});
  EXPECT_EQ(subject->ShownBoxes(),
            (Boxes{CheckState::kChecked, CheckState::kUnchecked, CheckState::kChecked}));
  ExpectOnly({});
}

TEST_P(DisplayContract, ListTellsItsSelection) {
  ShowWindow();
  EXPECT_EQ(subject->List().SelectedRow(), -1);
  subject->SelectRow(1);
  EXPECT_EQ(subject->List().SelectedRow(), 1);
  subject->List().Fill({{u"a", u"0/0", CheckState::kChecked}}, 0);
  EXPECT_EQ(subject->List().SelectedRow(), 0);
  EXPECT_EQ(subject->ShownBoxes(), Boxes{CheckState::kChecked});
}

TEST_P(DisplayContract, ListIsEmptyWithoutAWindow) {
  subject->List().Fill({{u"a", u"0/0", CheckState::kChecked}}, 0);
  EXPECT_TRUE(subject->ShownBoxes().empty());
  EXPECT_EQ(subject->List().SelectedRow(), -1);
  EXPECT_TRUE(TakeMessages(subject->Queues()).empty());
}

TEST_P(DisplayContract, DefaultWidthsShareTheListOneToFiveAndAreTold) {
  ShowWindow();
  CreateList(0, 0);
  const auto widths = ToldWidths(TakeMessages(subject->Queues()));
  EXPECT_GT(widths[1], 0u);
  EXPECT_NEAR(widths[0], widths[1] * 5, 6);
}

TEST_P(DisplayContract, GivenWidthsAreToldInTheirProportion) {
  ShowWindow();
  CreateList(300, 100);
  const auto widths = ToldWidths(TakeMessages(subject->Queues()));
  EXPECT_GT(widths[1], 0u);
  EXPECT_NEAR(widths[0], widths[1] * 3, 4);
}

TEST_P(DisplayContract, MovedDividerIsToldForBothColumns) {
  ShowWindow();
  CreateList(0, 0);
  const auto before = ToldWidths(TakeMessages(subject->Queues()));
  subject->DragDivider(200);
  const auto after = ToldWidths(TakeMessages(subject->Queues()));
  EXPECT_NEAR(after[0], 200, 4);
  EXPECT_EQ(after[0] + after[1], before[0] + before[1]);
}

TEST_P(DisplayContract, FollowedStepIsItsCommand) {
  const WindowHandle window = ShowWindow();
  const std::vector<port::GuideStep> steps = {
      {u"1. First", 40061, true}, {u"2. Second", 40020, false}, {u"3. Third", 40008, false}};
  subject->List().SetGuide(steps);
  EXPECT_EQ(subject->ShownSteps(),
            (std::vector<std::u16string>{u"1. First, done", u"2. Second", u"3. Third"}));
  EXPECT_EQ(subject->List().SelectedRow(), -1);
  subject->FollowStep(1);
  ExpectOnly({{window, MessageKind::kCommand, 40020, 0, {}}});
  subject->FollowStep(0);  // a done one too
  ExpectOnly({{window, MessageKind::kCommand, 40061, 0, {}}});
}

TEST_P(DisplayContract, StepsAreReplacedAndTakenAway) {
  subject->List().SetGuide({{u"before there is a list", 1, false}});
  EXPECT_TRUE(subject->ShownSteps().empty());
  const WindowHandle window = ShowWindow();
  EXPECT_TRUE(subject->ShownSteps().empty());
  subject->List().SetGuide({{u"1. First", 40061, false}, {u"2. Second", 40020, false}});
  subject->List().SetGuide({{u"1. First", 40061, true}});
  EXPECT_EQ(subject->ShownSteps(), std::vector<std::u16string>{u"1. First, done"});
  subject->FollowStep(0);
  ExpectOnly({{window, MessageKind::kCommand, 40061, 0, {}}});
  subject->List().SetGuide({});
  EXPECT_TRUE(subject->ShownSteps().empty());
  subject->List().SetGuide({{u"1. First", 40061, false}});
  CreateList(0, 0);
  EXPECT_TRUE(subject->ShownSteps().empty());
}

TEST_P(DisplayContract, ActivatedRowIsToldWithItsNumber) {
  const WindowHandle main = ShowWindow();
  subject->ActivateRow(1);
  ExpectOnly({{main, MessageKind::kItemActivated, 1, 0, {}}});
}

TEST_P(DisplayContract, ChosenTabIsToldAndASelectedOneIsNot) {
  const WindowHandle main = ShowWindow();
  subject->SelectTab(1);
  ExpectOnly({{main, MessageKind::kTabChanged, 1, 0, {}}});
  EXPECT_EQ(subject->Windows().SelectedTab(), 1);
  subject->Windows().SelectTab(2);
  EXPECT_EQ(subject->Windows().SelectedTab(), 2);
  ExpectOnly({});
  subject->Windows().CreateTabs(port::TabPlacement::kLeft);
  EXPECT_EQ(subject->Windows().SelectedTab(), 0);
  ExpectOnly({});
}

TEST_P(DisplayContract, ChosenItemIsItsCommand) {
  const WindowHandle main = ShowWindow();
  subject->Choose(40012);
  ExpectOnly({{main, MessageKind::kCommand, 40012, 0, {}}});
}

TEST_P(DisplayContract, CloseOnlyAsks) {
  const WindowHandle main = ShowWindow();
  subject->CloseWindow();
  ExpectOnly({{main, MessageKind::kClose, 0, 0, {}}});
}

TEST_P(DisplayContract, DestroyedWindowIsGone) {
  ShowWindow();
  subject->Windows().DestroyMainWindow();
  subject->Windows().DestroyMainWindow();
  EXPECT_TRUE(subject->ShownBoxes().empty());
  EXPECT_EQ(subject->Windows().SelectedTab(), 0);
  ExpectOnly({});
}

// --- the thread tree and pop-up menus ------------------------------------------------------------

class TreeContract : public DisplayContract {
 protected:
  WindowHandle ShowTree() {
    const WindowHandle main = ShowWindow();
    subject->Windows().SelectTab(port::kThreadTab);
    subject->Tree().CreateTree(u"thread tree", u"", 4);
    subject->Tree().FillTree({{100, 0, true, u"2/3 Hello"},
                              {1, 1, true, u"Ada"},
                              {2, 2, false, u"Bob"},
                              {3, 1, true, u"Cyd"},
                              {200, 0, false, u"World"},
                              {4, 1, false, u"Dan"}});
    Drain();
    return main;
  }
  using Rows = std::vector<std::string>;
};

TEST_P(TreeContract, TreeIsEmptyWithoutTabs) {
  const auto use = [&] {
    subject->Tree().CreateTree(u"thread tree", u"", 4);
    subject->Tree().FillTree({{1, 0, false, u"a"}});
    subject->Tree().SetLabels({{1, true, u"b"}});
    subject->Tree().SetTreeFont(u"", 5);
    subject->Tree().SetCaption(u"c");
    subject->Tree().FocusTree();
    EXPECT_FALSE(subject->Tree().TreeCreated());
    EXPECT_EQ(subject->Tree().SelectedItem(), 0u);
  };
  use();
  subject->Windows().CreateMainWindow({u"Quillet CE", u"t", 103, {600, 400}});
  use();
  subject->Windows().CreateTabs(port::TabPlacement::kBottom);
  EXPECT_FALSE(subject->Tree().TreeCreated());
  subject->Tree().CreateTree(u"thread tree", u"", 4);
  EXPECT_TRUE(subject->Tree().TreeCreated());
  subject->Windows().DestroyMainWindow();
  use();
}

TEST_P(TreeContract, NewTabsTakeTheTreeAway) {
  ShowTree();
  subject->Windows().CreateTabs(port::TabPlacement::kRight);
  EXPECT_FALSE(subject->Tree().TreeCreated());
  EXPECT_EQ(subject->Caption(), u"");
}

TEST_P(TreeContract, CaptionStaysWhenTheTreeIsCreated) {
  ShowWindow();
  subject->Tree().SetCaption(u"a.b: 7 on server");
  EXPECT_EQ(subject->Caption(), u"a.b: 7 on server");
  subject->Tree().CreateTree(u"thread tree", u"", 4);
  EXPECT_EQ(subject->Caption(), u"a.b: 7 on server");
}

TEST_P(TreeContract, RowsComeCollapsed) {
  ShowTree();
  EXPECT_EQ(subject->ShownRows(), (Rows{"*2/3 Hello*", "World"}));
  EXPECT_EQ(subject->Tree().SelectedItem(), 0u);
}

TEST_P(TreeContract, ExpandedAndSelectedItemsStaySoInAnotherFont) {
  ShowTree();
  subject->ExpandItem(100, true);
  subject->ClickItem(3);
  const auto rows = subject->ShownRows();
  subject->Tree().SetTreeFont(u"", 8);
  Drain();
  EXPECT_EQ(subject->ShownRows(), rows);
  EXPECT_EQ(subject->Tree().SelectedItem(), 3u);
}

TEST_P(TreeContract, ExpandedAndSelectedItemsStaySoInNewRows) {
  ShowTree();
  subject->ExpandItem(100, true);
  subject->ClickItem(3);
  EXPECT_EQ(subject->Tree().SelectedItem(), 3u);
  subject->Tree().FillTree({{300, 0, true, u"new"},
                            {5, 1, true, u"Eve"},
                            {100, 0, true, u"Hello"},
                            {3, 1, true, u"Cyd"},
                            {2, 2, false, u"Bob"}});
  EXPECT_EQ(subject->ShownRows(), (Rows{"*new*", "*Hello*", "  *Cyd*"}));
  EXPECT_EQ(subject->Tree().SelectedItem(), 3u);
  subject->Tree().FillTree({{100, 0, false, u"Hello"}});
  EXPECT_EQ(subject->Tree().SelectedItem(), 0u);
}

TEST_P(TreeContract, SelectingExpandsWhatIsAbove) {
  ShowTree();
  subject->Tree().SelectItem(2);
  EXPECT_EQ(subject->Tree().SelectedItem(), 2u);
  EXPECT_EQ(subject->ShownRows(), (Rows{"*2/3 Hello*", "  *Ada*", "    Bob", "  *Cyd*", "World"}));
  subject->Tree().SelectItem(0);
  EXPECT_EQ(subject->Tree().SelectedItem(), 0u);
  ExpectOnly({});
}

TEST_P(TreeContract, CollapsingTakesTheSelectionAlong) {
  ShowTree();
  subject->Tree().SelectItem(2);
  subject->ExpandItem(100, false);
  EXPECT_EQ(subject->Tree().SelectedItem(), 100u);
  EXPECT_EQ(subject->ShownRows(), (Rows{"*2/3 Hello*", "World"}));
}

TEST_P(TreeContract, SubtreeIsReplacedAtItsPlace) {
  ShowTree();
  subject->Tree().SelectItem(2);
  subject->Tree().ReplaceSubtree(1, {{2, 0, true, u"Bob"}, {6, 1, false, u"Fay"}});
  EXPECT_EQ(subject->ShownRows(), (Rows{"*2/3 Hello*", "  *Bob*", "  *Cyd*", "World"}));
  EXPECT_EQ(subject->Tree().SelectedItem(), 2u);
  subject->ExpandItem(2, true);
  EXPECT_EQ(subject->ShownRows(), (Rows{"*2/3 Hello*", "  *Bob*", "    Fay", "  *Cyd*", "World"}));
  subject->Tree().ReplaceSubtree(100, {});
  EXPECT_EQ(subject->ShownRows(), (Rows{"World"}));
  EXPECT_EQ(subject->Tree().SelectedItem(), 0u);
  subject->Tree().ReplaceSubtree(4711, {{7, 0, false, u"x"}});
  EXPECT_EQ(subject->ShownRows(), (Rows{"World"}));
}

TEST_P(TreeContract, LabelsAreSetByItem) {
  ShowTree();
  subject->ExpandItem(100, true);
  subject->Tree().SetLabels({{3, false, u"Cyd"}, {4711, true, u"x"}, {100, true, u"1/3 Hello"}});
  EXPECT_EQ(subject->ShownRows(), (Rows{"*1/3 Hello*", "  *Ada*", "  Cyd", "World"}));
}

TEST_P(TreeContract, ActivatedItemIsToldAndStaysAsItIs) {
  const WindowHandle main = ShowTree();
  subject->ActivateItem(100);
  ExpectOnly({{main, MessageKind::kItemActivated, 100, 0, {}}});
  EXPECT_EQ(subject->ShownRows(), (Rows{"*2/3 Hello*", "World"}));
}

TEST_P(TreeContract, AskingForAMenuSelectsFirst) {
  const WindowHandle main = ShowTree();
  subject->AskItemMenu(200);
  EXPECT_EQ(subject->Tree().SelectedItem(), 200u);
  ExpectOnly({{main, MessageKind::kContextMenu, 200, 0, {}}});
}

TEST_P(TreeContract, ChosenEntryIsItsCommand) {
  const WindowHandle main = ShowTree();
  const std::vector<port::PopUpEntry> entries{{40053, u"Delete Article"}, {40024, u"Mark Read"}};
  subject->AskItemMenu(200);
  subject->AnswerPopUp(u"Mark Read");
  EXPECT_EQ(subject->PopUps().ShowPopUp(main, entries), 40024u);
  subject->AnswerPopUp(u"");
  EXPECT_EQ(subject->PopUps().ShowPopUp(main, entries), 0u);
  EXPECT_EQ(subject->PopUps().ShowPopUp(main, {}), 0u);
}

INSTANTIATE_TEST_SUITE_P(Displays, TreeContract, ::testing::Values(Kind::kFake, Kind::kQt),
                         [](const auto& which) {
                           return which.param == Kind::kFake ? "InMemory" : "Toolkit";
                         });

INSTANTIATE_TEST_SUITE_P(Displays, DisplayContract, ::testing::Values(Kind::kFake, Kind::kQt),
                         [](const auto& which) {
                           return which.param == Kind::kFake ? "InMemory" : "Toolkit";
                         });

}  // namespace
}  // namespace quillet::qt
