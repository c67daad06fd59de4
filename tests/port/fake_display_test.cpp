// SPDX-License-Identifier: GPL-3.0-or-later
// The display model: what it shows, what it lets a user do, and on which threads.
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "port/fake/fake_platform.h"
#include "res/resource.h"

namespace quillet::port {
namespace {

constexpr BoxStyle kOk{BoxButtons::kOk, BoxIcon::kNone, true};
constexpr BoxStyle kOkCancel{BoxButtons::kOkCancel, BoxIcon::kNone, true};
constexpr BoxStyle kYesNo{BoxButtons::kYesNo, BoxIcon::kExclamation, false};
constexpr BoxStyle kYesNoCancel{BoxButtons::kYesNoCancel, BoxIcon::kNone, false};
constexpr std::uint32_t kUnknownForm = 9999;

class Display : public testing::Test {
 protected:
  Display() {
    fake.on_failure = [this](const std::string& message) {
      const std::lock_guard lock(mutex);
      failures.push_back(message);
    };
  }

  void ShowMain() {
    window = fake.display.CreateMainWindow({u"QuilletMain", u"Quillet CE", kIconMain, {240, 294}});
    fake.display.CreateTabs(TabPlacement::kBottom);
    const std::array<ListColumn, 2> columns{ListColumn{u"Group", 0, false},
                                            ListColumn{u"Unread/total", 0, true}};
    fake.display.Create(columns, u"Tahoma", 3);
    fake.display.Fill({{u"a.b", u"1/2", CheckState::kUnchecked},
                       {u"c.d", u"0/0", CheckState::kChecked},
                       {u"e.f", u"", CheckState::kNone}},
                      1);
    fake.display.ShowMainWindow();
    Waiting();
  }
  WindowHandle ShowDialog(std::uint32_t form, WindowHandle owner) {
    const WindowHandle dialog = fake.display.Create(form, owner, DialogKind::kModal);
    fake.display.Show(dialog);
    return dialog;
  }
  // What waits in this thread's queue, as "window kind id detail".
  std::vector<Message> Waiting() {
    std::vector<Message> messages;
    fake.HandleWaiting([&](const Message& message) { messages.push_back(message); });
    return messages;
  }

  std::vector<CheckState> Boxes() {
    std::vector<CheckState> boxes;
    for (const ListRow& row : display.list().rows) boxes.push_back(row.check);
    return boxes;
  }

  std::mutex mutex;
  std::vector<std::string> failures;
  FakePlatform fake;
  FakeDisplay& display = fake.display;
  WindowHandle window = 0;
};

bool Is(const Message& message, WindowHandle window, MessageKind kind, std::uint32_t id,
        std::uint32_t detail) {
  return message.window == window && message.kind == kind && message.id == id &&
         message.detail == detail;
}

// --- boxes ---

TEST_F(Display, WindowShownAgainComesToTheFront) {
  ShowMain();
  const WindowHandle first = display.Create(kUnknownForm, 0, DialogKind::kWindow);
  const WindowHandle second = display.Create(kUnknownForm, 0, DialogKind::kWindow);
  display.Show(first);
  display.Show(second);
  EXPECT_EQ(display.Focus(), second);
  display.Show(first);
  EXPECT_EQ(display.Focus(), first);
}

TEST_F(Display, BoxesAreRecordedWithTheirAnswers) {
  EXPECT_EQ(display.Show(7, u"Quillet", u"Hello.", kOk), kIdOk);
  display.Expect(u"Delete", kIdYes);
  EXPECT_EQ(display.Show(0, u"Quillet confirmation", u"Delete it?", kYesNo), kIdYes);
  const auto boxes = display.boxes();
  ASSERT_EQ(boxes.size(), 2U);
  EXPECT_EQ(boxes[0].owner, 7U);
  EXPECT_EQ(boxes[0].caption, u"Quillet");
  EXPECT_EQ(boxes[0].text, u"Hello.");
  EXPECT_TRUE(boxes[0].style.topmost);
  EXPECT_EQ(boxes[0].answer, kIdOk);
  EXPECT_EQ(boxes[1].style.icon, BoxIcon::kExclamation);
  EXPECT_EQ(boxes[1].answer, kIdYes);
  EXPECT_TRUE(failures.empty());
}

TEST_F(Display, AnUnannouncedQuestionFailsAndIsDeclined) {
  EXPECT_EQ(display.Show(0, u"", u"Sure?", kYesNo), kIdNo);
  EXPECT_EQ(display.Show(0, u"", u"Go?", kOkCancel), kIdCancel);
  EXPECT_EQ(display.Show(0, u"", u"Save?", kYesNoCancel), kIdCancel);
  EXPECT_EQ(failures, (std::vector<std::string>{"display: unannounced question: Sure?",
                                                "display: unannounced question: Go?",
                                                "display: unannounced question: Save?"}));
}

TEST_F(Display, AnnouncementsAreUsedOnceInTheirOrder) {
  display.Expect(u"Delete", kIdNo);
  display.Expect(u"Delete", kIdYes);
  display.Expect(u"Other", kIdYes);
  EXPECT_EQ(display.Show(0, u"", u"Delete a?", kYesNo), kIdNo);
  EXPECT_EQ(display.Show(0, u"", u"Other?", kYesNo), kIdYes);
  EXPECT_EQ(display.Show(0, u"", u"Delete b?", kYesNo), kIdYes);
  EXPECT_TRUE(failures.empty());
  EXPECT_EQ(display.Show(0, u"", u"Delete c?", kYesNo), kIdNo);
  EXPECT_EQ(failures.size(), 1U);
}

TEST_F(Display, AllowedAnswersServeAnyNumberOfBoxes) {
  display.Allow(u"Delete", kIdYes);
  display.Allow(u"never shown", kIdYes);
  display.Expect(u"Delete b", kIdNo);
  EXPECT_EQ(display.Show(0, u"", u"Delete a?", kYesNo), kIdYes);
  EXPECT_EQ(display.Show(0, u"", u"Delete b?", kYesNo), kIdNo);
  EXPECT_EQ(display.Show(0, u"", u"Delete c?", kYesNo), kIdYes);
  display.Verify();
  EXPECT_TRUE(failures.empty());
}

TEST_F(Display, AnAnnouncementLeftOverFails) {
  display.Expect(u"Delete", kIdYes);
  display.WhenShown(kDialogAbout, [](WindowHandle) {});
  display.Verify();
  EXPECT_EQ(failures.size(), 2U);
  display.Verify();
  EXPECT_EQ(failures.size(), 2U);
}

TEST_F(Display, AnAnswerWithoutItsButtonFails) {
  display.Expect(u"Hello", kIdYes);
  EXPECT_EQ(display.Show(0, u"", u"Hello.", kOk), kIdOk);
  EXPECT_EQ(failures, std::vector<std::string>{"display: no button 6 in: Hello."});
}

TEST_F(Display, ADisplayThatHasGoneDeclinesAtOnce) {
  display.Leave();
  EXPECT_EQ(display.Show(0, u"", u"Sure?", kYesNo), kIdNo);
  EXPECT_EQ(display.Show(0, u"", u"Go?", kOkCancel), kIdCancel);
  EXPECT_EQ(display.Show(0, u"", u"Hello.", kOk), kIdOk);
  EXPECT_EQ(display.Create(kDialogAbout, 0, DialogKind::kModal), 0U);
  EXPECT_TRUE(failures.empty());
}

TEST_F(Display, WaitCursorNestsAndBeepsAreCounted) {
  display.SetWaitCursor(true);
  display.SetWaitCursor(true);
  display.SetWaitCursor(false);
  EXPECT_EQ(display.wait_cursor_depth(), 1);
  EXPECT_EQ(display.wait_cursor_shows(), 2);
  display.SetWaitCursor(false);
  EXPECT_TRUE(failures.empty());
  display.SetWaitCursor(false);
  EXPECT_EQ(failures.size(), 1U);
  display.Beep();
  EXPECT_EQ(display.beeps(), 1);
}

TEST_F(Display, FourFontsAreInstalledUnlessATestSaysWhich) {
  EXPECT_EQ(display.Fonts(), (std::vector<std::u16string>{u"Courier New", u"DejaVu Sans",
                                                          u"Liberation Serif", u"Tahoma"}));
  display.SetFonts({u"Ahem"});
  EXPECT_EQ(display.Fonts(), std::vector<std::u16string>{u"Ahem"});
}

// --- the main window ---

TEST_F(Display, TheMainWindowIsWhatWasAskedFor) {
  display.SetWorkArea({480, 640});
  EXPECT_EQ(display.WorkArea(), (Size{480, 640}));
  ShowMain();
  ASSERT_NE(window, 0U);
  const ShownMainWindow shown = display.main_window();
  EXPECT_EQ(shown.handle, window);
  EXPECT_EQ(shown.traits.title, u"Quillet CE");
  EXPECT_TRUE(shown.shown);
  EXPECT_TRUE(shown.has_tabs);
  EXPECT_EQ(shown.tab, kGroupTab);
  EXPECT_EQ(display.CreateMainWindow({}), 0U) << "there is one already";
  display.SetStatusText(u"2 articles queued for posting");
  EXPECT_EQ(display.main_window().status, u"2 articles queued for posting");
  display.LayOut({240, 294}, {240, 268});
  EXPECT_EQ(display.main_window().tabs, (Size{240, 268}));
}

TEST_F(Display, ADestroyedMainWindowHasNothingLeft) {
  ShowMain();
  display.SetStatusText(u"x");
  display.Inject({window, MessageKind::kCommand, 1, 0, {}});
  display.DestroyMainWindow();
  display.DestroyMainWindow();
  EXPECT_FALSE(fake.queues.Exists(window));
  EXPECT_TRUE(Waiting().empty());
  EXPECT_EQ(display.main_window().handle, 0U);
  EXPECT_FALSE(display.list().created);
  EXPECT_EQ(display.SelectedRow(), -1);
  display.SetStatusText(u"y");
  display.CreateTabs(TabPlacement::kLeft);
  display.SelectTab(kArticleTab);
  display.Fill({{u"x", u"", CheckState::kChecked}}, 0);
  EXPECT_FALSE(display.main_window().has_tabs);
  EXPECT_TRUE(display.list().rows.empty());
  EXPECT_FALSE(display.CloseMainWindow());
  EXPECT_FALSE(display.SendCommand(kCommandConnect));
}

TEST_F(Display, CreationFailsOnDemand) {
  display.FailNextWindow();
  EXPECT_EQ(display.CreateMainWindow({}), 0U);
  EXPECT_NE(display.CreateMainWindow({}), 0U);
  display.FailNextDialog();
  EXPECT_EQ(display.Create(kDialogAbout, 0, DialogKind::kModal), 0U);
  EXPECT_NE(display.Create(kDialogAbout, 0, DialogKind::kModal), 0U);
}

TEST_F(Display, TheUsersTabChangeIsTold) {
  ShowMain();
  EXPECT_TRUE(display.UserSelectTab(kArticleTab));
  EXPECT_EQ(display.SelectedTab(), kArticleTab);
  const auto messages = Waiting();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_TRUE(Is(messages[0], window, MessageKind::kTabChanged, kArticleTab, kGroupTab));
  EXPECT_TRUE(display.UserSelectTab(kArticleTab)) << "nothing changes";
  EXPECT_FALSE(display.UserSelectTab(3));
  EXPECT_FALSE(display.UserSelectTab(-1));
  EXPECT_TRUE(Waiting().empty());
}

TEST_F(Display, TheProgramsTabChangeSendsNothing) {
  ShowMain();
  display.SelectTab(kThreadTab);
  EXPECT_EQ(display.SelectedTab(), kThreadTab);
  display.SelectTab(5);
  EXPECT_EQ(display.SelectedTab(), kThreadTab);
  EXPECT_TRUE(Waiting().empty());
}

TEST_F(Display, NewTabsReplaceTheViews) {
  ShowMain();
  display.SelectTab(kThreadTab);
  display.SetStatusText(u"x");
  display.CreateTabs(TabPlacement::kRight);
  EXPECT_EQ(display.main_window().placement, TabPlacement::kRight);
  EXPECT_EQ(display.SelectedTab(), kGroupTab);
  EXPECT_EQ(display.main_window().status, u"");
  EXPECT_FALSE(display.list().created);
  EXPECT_TRUE(Waiting().empty());
}

TEST_F(Display, OnlyCommandsOfTheShownMenuBarCanBeChosen) {
  ShowMain();
  EXPECT_TRUE(display.ChooseCommand(kCommandNewGroup));
  EXPECT_TRUE(display.ChooseCommand(kCommandCheckUncheckAll)) << "a button";
  EXPECT_FALSE(display.ChooseCommand(kCommandSaveAs));
  EXPECT_FALSE(display.ChooseCommand(0));
  display.SelectTab(kArticleTab);
  EXPECT_TRUE(display.ChooseCommand(kCommandSaveAs));
  EXPECT_FALSE(display.ChooseCommand(kCommandNewGroup));
  EXPECT_TRUE(display.SendCommand(kCommandNewGroup));
  const auto messages = Waiting();
  ASSERT_EQ(messages.size(), 4U);
  EXPECT_TRUE(Is(messages[0], window, MessageKind::kCommand, kCommandNewGroup, 0));
  EXPECT_TRUE(Is(messages[2], window, MessageKind::kCommand, kCommandSaveAs, 0));
}

TEST_F(Display, KeysComeDownAndUpWithTheirModifiers) {
  ShowMain();
  EXPECT_TRUE(display.PressKey('M', kModifierControl | kModifierAlt));
  const auto messages = Waiting();
  ASSERT_EQ(messages.size(), 2U);
  EXPECT_TRUE(Is(messages[0], window, MessageKind::kKeyDown, 'M', 3));
  EXPECT_TRUE(Is(messages[1], window, MessageKind::kKeyUp, 'M', 3));
}

TEST_F(Display, WindowMessagesCarryTheirValues) {
  ShowMain();
  EXPECT_TRUE(display.ResizeMainWindow({640, 480}));
  EXPECT_FALSE(display.ResizeMainWindow({0, 480}));
  EXPECT_TRUE(display.CloseMainWindow());
  display.EndSession();
  const auto messages = Waiting();
  ASSERT_EQ(messages.size(), 3U);
  EXPECT_TRUE(Is(messages[0], window, MessageKind::kSize, 640, 480));
  EXPECT_EQ(messages[1].kind, MessageKind::kClose);
  EXPECT_EQ(messages[2].kind, MessageKind::kEndSession);
}

TEST_F(Display, AHiddenMainWindowTakesNoInput) {
  window = display.CreateMainWindow({});
  display.CreateTabs(TabPlacement::kBottom);
  EXPECT_EQ(display.Focus(), 0U);
  EXPECT_FALSE(display.SendCommand(kCommandConnect));
  EXPECT_FALSE(display.PressKey(kKeyEscape));
  EXPECT_FALSE(display.UserSelectTab(1));
  display.Raise("");
  EXPECT_EQ(display.Focus(), window);
  EXPECT_EQ(display.main_window().raised, 1);
}

TEST_F(Display, OtherThreadsMayNotUseTheWindow) {
  ShowMain();
  std::thread([&] { display.SetStatusText(u"x"); }).join();
  EXPECT_EQ(failures,
            std::vector<std::string>{"display: SetStatusText called off the program thread"});
  std::thread([&] {
    display.Raise("");
    display.InjectKeyUp(kKeyF24);
  }).join();
  EXPECT_EQ(failures.size(), 1U);
}

// --- the list ---

TEST_F(Display, TheListShowsItsRows) {
  ShowMain();
  const ShownList list = display.list();
  EXPECT_EQ(list.columns[0].title, u"Group");
  EXPECT_EQ(list.font_face, u"Tahoma");
  EXPECT_EQ(list.font_size_index, 3);
  ASSERT_EQ(list.rows.size(), 3U);
  EXPECT_EQ(list.rows[0].counts, u"1/2");
  EXPECT_EQ(display.SelectedRow(), 1);
  EXPECT_EQ(display.FindRow(u"e.f"), 2);
  EXPECT_EQ(display.FindRow(u"none"), -1);
  display.SetCounts({u"5/6", u"7/8", u"9/9", u"too many"});
  EXPECT_EQ(display.list().rows[2].counts, u"9/9");
  display.SetCounts({u"1/1"});
  EXPECT_EQ(display.list().rows[1].counts, u"7/8");
  display.SetCheckStates(0, {CheckState::kChecked});
  EXPECT_EQ(Boxes(), (std::vector<CheckState>{CheckState::kChecked, CheckState::kChecked,
                                              CheckState::kNone}));
  display.Fill({}, 0);
  EXPECT_EQ(display.SelectedRow(), -1) << "there is no such row";
}

TEST_F(Display, AListBeforeItsCreationIsEmpty) {
  window = display.CreateMainWindow({});
  display.Fill({{u"x", u"", CheckState::kChecked}}, 0);
  EXPECT_TRUE(display.list().rows.empty());
  EXPECT_TRUE(Waiting().empty());
}

TEST_F(Display, ColumnsHaveDefaultWidthsUntilTheyAreDragged) {
  ShowMain();
  display.LayOut({300, 294}, {300, 268});
  EXPECT_EQ(display.list().widths, (std::array<std::int32_t, 2>{250, 50}));
  EXPECT_TRUE(display.DragColumn(0, 150));
  EXPECT_TRUE(display.DragColumn(1, 70));
  EXPECT_FALSE(display.DragColumn(2, 70));
  EXPECT_EQ(display.list().widths, (std::array<std::int32_t, 2>{150, 70}));
  const auto messages = Waiting();
  ASSERT_EQ(messages.size(), 5U);
  EXPECT_TRUE(Is(messages[0], window, MessageKind::kColumnSized, 0, 250));
  EXPECT_TRUE(Is(messages[1], window, MessageKind::kColumnSized, 1, 50));
  EXPECT_TRUE(Is(messages[2], window, MessageKind::kColumnSized, 0, 150));
  EXPECT_TRUE(Is(messages[3], window, MessageKind::kColumnSized, 1, 150)) << "the rest";
  EXPECT_TRUE(Is(messages[4], window, MessageKind::kColumnSized, 1, 70));
}

TEST_F(Display, TheUserTogglesSelectsAndOpensRows) {
  ShowMain();
  EXPECT_TRUE(display.ToggleRow(0));
  EXPECT_TRUE(display.ToggleRow(1));
  EXPECT_FALSE(display.ToggleRow(2)) << "it has no box";
  EXPECT_FALSE(display.ToggleRow(3));
  EXPECT_FALSE(display.SelectRow(-1));
  EXPECT_EQ(Boxes(), (std::vector<CheckState>{CheckState::kChecked, CheckState::kUnchecked,
                                              CheckState::kNone}));
  const auto ticks = Waiting();
  ASSERT_EQ(ticks.size(), 2U);
  EXPECT_TRUE(Is(ticks[0], window, MessageKind::kRowChecked, 0, 1));
  EXPECT_TRUE(Is(ticks[1], window, MessageKind::kRowChecked, 1, 0));
  EXPECT_TRUE(display.SelectRow(2));
  EXPECT_EQ(display.SelectedRow(), 2);
  EXPECT_TRUE(display.ActivateRow(0));
  const auto messages = Waiting();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_TRUE(Is(messages[0], window, MessageKind::kItemActivated, 0, 0));
  EXPECT_EQ(display.SelectedRow(), 0);
  display.SelectTab(kThreadTab);
  EXPECT_FALSE(display.ToggleRow(0)) << "the list is not shown";
}

TEST_F(Display, ListKeysMoveToggleAndOpen) {
  ShowMain();
  display.PressKey(kKeyUp);
  display.PressKey(kKeyUp);
  EXPECT_EQ(display.SelectedRow(), 0);
  display.PressKey(kKeySpace);
  EXPECT_EQ(Boxes()[0], CheckState::kChecked);
  display.PressKey(kKeyDown);
  EXPECT_EQ(display.SelectedRow(), 1);
  Waiting();
  display.PressKey(kKeyReturn);
  const auto messages = Waiting();
  ASSERT_EQ(messages.size(), 3U);
  EXPECT_TRUE(Is(messages[0], window, MessageKind::kKeyDown, kKeyReturn, 0));
  EXPECT_TRUE(Is(messages[1], window, MessageKind::kItemActivated, 1, 0));
  EXPECT_TRUE(Is(messages[2], window, MessageKind::kKeyUp, kKeyReturn, 0));
  display.PressKey(kKeyDown, kModifierControl);
  EXPECT_EQ(display.SelectedRow(), 1) << "with a modifier it is another key";
}

// --- dialogs ---

TEST_F(Display, AFormBringsItsControls) {
  const WindowHandle dialog = ShowDialog(kDialogProgress, 0);
  const auto shown = display.FindDialog(dialog);
  ASSERT_TRUE(shown);
  EXPECT_TRUE(shown->shown);
  ASSERT_EQ(shown->controls.size(), 5U);
  EXPECT_EQ(shown->controls[0].id, 2U);
  EXPECT_EQ(shown->controls[0].text, u"&Cancel");
  EXPECT_EQ(shown->controls[0].kind, ControlKind::kButton);
  display.Write(dialog, 4711, Text{u"x"});
  EXPECT_EQ(display.Read(dialog, 4711).text, u"") << "the form has no such control";
  EXPECT_EQ(display.FindDialog(dialog)->controls.size(), 5U);
  EXPECT_FALSE(display.Control(dialog, 4711));
  EXPECT_FALSE(display.Control(99, 2));
}

TEST_F(Display, ADialogWithoutAFormTakesAnyControl) {
  const WindowHandle dialog = ShowDialog(kUnknownForm, 0);
  display.Write(dialog, 4711, Text{u"x"});
  EXPECT_EQ(display.Read(dialog, 4711).text, u"x");
  EXPECT_TRUE(display.Type(dialog, 4712, u"typed"));
  EXPECT_EQ(display.Read(dialog, 4712).text, u"typed");
}

TEST_F(Display, WhatDoesNotExistIsEmptyAndUnchanged) {
  display.Write(99, 1, Text{u"x"});
  display.Write(99, 1, Checked{true});
  display.Write(99, 1, Visible{false});
  display.Write(99, 1, Range{10});
  display.Show(99);
  display.Destroy(99);
  display.Destroy(0);
  EXPECT_EQ(display.Read(99, 1).text, u"");
  EXPECT_FALSE(display.Read(99, 1).checked);
  EXPECT_FALSE(display.Press(99, 1));
  EXPECT_FALSE(display.Type(99, 1, u"x"));
  EXPECT_FALSE(display.CloseDialog(99));
}

TEST_F(Display, ProgressStaysInItsRange) {
  const WindowHandle dialog = ShowDialog(kDialogProgress, 0);
  display.Write(dialog, kControlProgressBar, Range{50});
  display.Write(dialog, kControlProgressBar, Position{20});
  const auto bar = [&] {
    return display.Control(dialog, kControlProgressBar).value_or(ShownControl());
  };
  EXPECT_EQ(bar().upper, 50);
  EXPECT_EQ(bar().position, 20);
  display.Write(dialog, kControlProgressBar, Position{51});
  EXPECT_EQ(bar().position, 50);
  EXPECT_TRUE(failures.empty());
  display.Write(dialog, kControlProgressBar, Range{0});
  display.Write(dialog, kControlProgressBar, Range{65536});
  EXPECT_EQ(failures.size(), 2U);
  EXPECT_EQ(bar().upper, 65535);
}

TEST_F(Display, PressesComeToTheDialogsThread) {
  std::vector<Message> got;
  std::thread owner([&] {
    const WindowHandle own = ShowDialog(kDialogNewGroup, 0);
    Message message;
    while (fake.queues.Get(message)) {
      got.push_back(message);
      if (message.id == kControlCancel) {
        display.Destroy(own);
        fake.queues.PostQuit(0);
      }
    }
  });
  const WindowHandle dialog = display.WaitForDialog(kDialogNewGroup);
  ASSERT_NE(dialog, 0U);
  EXPECT_TRUE(display.Type(dialog, kControlGroupName, u"comp.lang.c++"));
  EXPECT_EQ(display.Read(dialog, kControlGroupName).text, u"comp.lang.c++");
  EXPECT_TRUE(display.Press(dialog, kControlOk));
  EXPECT_FALSE(display.Press(dialog, kControlGroupName)) << "not a button";
  EXPECT_FALSE(display.Type(dialog, kControlOk, u"x")) << "not an edit";
  EXPECT_TRUE(display.CloseDialog(dialog));
  owner.join();
  ASSERT_EQ(got.size(), 3U);
  EXPECT_TRUE(Is(got[0], dialog, MessageKind::kTextEdited, kControlGroupName, 0));
  EXPECT_TRUE(Is(got[1], dialog, MessageKind::kCommand, kControlOk, 0));
  EXPECT_TRUE(Is(got[2], dialog, MessageKind::kCommand, kControlCancel, 0));
  EXPECT_TRUE(display.dialogs().empty());
  EXPECT_TRUE(Waiting().empty());
}

TEST_F(Display, HiddenControlsAndHiddenDialogsTakeNothing) {
  const WindowHandle dialog = display.Create(kDialogProgress, 0, DialogKind::kModal);
  EXPECT_FALSE(display.Press(dialog, kControlCancel)) << "not shown yet";
  EXPECT_EQ(display.Focus(), 0U);
  display.Show(dialog);
  display.Write(dialog, kControlCancel, Visible{false});
  EXPECT_FALSE(display.Press(dialog, kControlCancel));
  display.Write(dialog, kControlCancel, Visible{true});
  EXPECT_TRUE(display.Press(dialog, kControlCancel));
  EXPECT_EQ(Waiting().size(), 1U);
}

TEST_F(Display, DialogKeysAreCancelAndTheDefaultButton) {
  const WindowHandle progress = ShowDialog(kDialogProgress, 0);
  display.PressKey(kKeyEscape);
  display.PressKey(kKeyReturn);
  display.Destroy(progress);
  EXPECT_TRUE(Waiting().empty()) << "they went with the dialog";
  const WindowHandle dialog = ShowDialog(kDialogNewGroup, 0);
  display.PressKey(kKeyEscape);
  display.PressKey(kKeyReturn);
  display.PressKey('A');
  const auto messages = Waiting();
  ASSERT_EQ(messages.size(), 5U);
  EXPECT_TRUE(Is(messages[0], dialog, MessageKind::kCommand, kControlCancel, 0));
  EXPECT_TRUE(Is(messages[1], dialog, MessageKind::kKeyUp, kKeyEscape, 0));
  EXPECT_TRUE(Is(messages[2], dialog, MessageKind::kCommand, kControlOk, 0));
  EXPECT_TRUE(Is(messages[3], dialog, MessageKind::kKeyUp, kKeyReturn, 0));
  EXPECT_TRUE(Is(messages[4], dialog, MessageKind::kKeyUp, 'A', 0));
}

TEST_F(Display, AShownDialogTakesItsOwnersInput) {
  ShowMain();
  const WindowHandle dialog = display.Create(kDialogNewGroup, window, DialogKind::kModal);
  EXPECT_TRUE(display.TakesInput(window)) << "not before it is shown";
  display.Show(dialog);
  EXPECT_FALSE(display.TakesInput(window));
  EXPECT_FALSE(display.UserSelectTab(1));
  EXPECT_FALSE(display.SendCommand(kCommandConnect));
  EXPECT_FALSE(display.CloseMainWindow());
  EXPECT_FALSE(display.ToggleRow(0));
  EXPECT_FALSE(display.ActivateRow(0));
  EXPECT_TRUE(display.ResizeMainWindow({300, 300})) << "the desktop may";
  EXPECT_EQ(display.SelectedTab(), kGroupTab);
  display.Inject({window, MessageKind::kCommand, kCommandConnect, 0, {}});
  EXPECT_EQ(Waiting().size(), 2U) << "the size and what the test injected";
  display.Destroy(dialog);
  EXPECT_TRUE(display.SendCommand(kCommandConnect));
}

TEST_F(Display, ADialogWithoutAnOwnerTakesEverybodysInput) {
  ShowMain();
  const WindowHandle first = ShowDialog(kDialogNewGroup, 0);
  const WindowHandle second = ShowDialog(kDialogAbout, 0);
  EXPECT_FALSE(display.TakesInput(window));
  EXPECT_FALSE(display.TakesInput(first));
  EXPECT_TRUE(display.TakesInput(second));
  display.Destroy(second);
  EXPECT_TRUE(display.TakesInput(first));
}

TEST_F(Display, TheFocusIsOnTheLastDialogShown) {
  ShowMain();
  EXPECT_EQ(display.Focus(), window);
  const WindowHandle one = display.Create(kDialogNewGroup, window, DialogKind::kModal);
  const WindowHandle two = display.Create(kDialogAbout, window, DialogKind::kModal);
  display.Show(two);
  display.Show(one);
  EXPECT_EQ(display.Focus(), one);
  display.InjectKeyUp(kKeyF24);
  display.Destroy(one);
  display.InjectKeyUp(kKeyF24);
  display.Destroy(two);
  display.InjectKeyUp(kKeyF24);
  EXPECT_EQ(display.injected_keys(), (std::vector<FakeDisplay::InjectedKey>{
                                         {kKeyF24, one}, {kKeyF24, two}, {kKeyF24, window}}));
  const auto messages = Waiting();
  ASSERT_EQ(messages.size(), 1U) << "the others went with their dialogs";
  EXPECT_TRUE(Is(messages[0], window, MessageKind::kKeyUp, 0x87, 0));
}

TEST_F(Display, AnOpenBoxTakesItsOwnersInput) {
  struct Watcher : DisplayObserver {
    std::optional<int> OnBox(const ShownBox& box) override {
      open = display->BoxOpen();
      main_takes = display->TakesInput(main);
      dialog_takes = display->TakesInput(dialog);
      return box.style.buttons == BoxButtons::kYesNo ? std::optional(kIdYes) : std::nullopt;
    }
    FakeDisplay* display = nullptr;
    WindowHandle main = 0;
    WindowHandle dialog = 0;
    bool open = false;
    bool main_takes = true;
    bool dialog_takes = true;
  } watcher;
  ShowMain();
  watcher.display = &display;
  watcher.main = window;
  display.SetObserver(&watcher);
  EXPECT_EQ(display.Show(window, u"", u"Sure?", kYesNo), kIdYes);
  EXPECT_TRUE(watcher.open);
  EXPECT_FALSE(watcher.main_takes);
  EXPECT_EQ(display.boxes().back().answer, kIdYes);
  EXPECT_FALSE(display.BoxOpen());
  EXPECT_TRUE(display.TakesInput(window));
  watcher.dialog = ShowDialog(kDialogProgress, window);
  display.Show(0, u"", u"Over everything.", kOk);
  EXPECT_FALSE(watcher.dialog_takes);
  EXPECT_TRUE(failures.empty());
}

TEST_F(Display, WhenShownActsOnTheNextDialogOfItsForm) {
  WindowHandle acted = 0;
  display.WhenShown(kDialogAbout, [&](WindowHandle dialog) {
    acted = dialog;
    EXPECT_TRUE(display.Press(dialog, kControlOk));
  });
  ShowDialog(kDialogNewGroup, 0);
  EXPECT_EQ(acted, 0U);
  const WindowHandle about = ShowDialog(kDialogAbout, 0);
  EXPECT_EQ(acted, about);
  ShowDialog(kDialogAbout, 0);
  EXPECT_EQ(acted, about) << "once";
  ASSERT_EQ(Waiting().size(), 1U);
}

// --- progress, on two threads ---

// A progress dialog on a thread of its own, as the runner has it.
class Progress {
 public:
  explicit Progress(FakePlatform& fake) : fake_(fake), thread_([this] { Run(); }) {
    fake_.display.WaitUntil([&] { return dialog_ != 0; });
  }
  ~Progress() {
    fake_.queues.Post({dialog_, MessageKind::kClose, 0, 0, {}});
    thread_.join();
  }
  void Detail(std::u16string_view text) {
    fake_.display.Write(dialog_, kControlProgressDetail, Text{std::u16string(text)});
  }
  bool aborted() const { return aborted_; }
  WindowHandle dialog() const { return dialog_; }

 private:
  void Run() {
    const WindowHandle dialog = fake_.display.Create(kDialogProgress, 0, DialogKind::kModal);
    fake_.display.Write(dialog, kControlProgressTitle, Text{u"Title"});
    fake_.display.Show(dialog);
    dialog_ = dialog;
    Message message;
    while (fake_.queues.Get(message)) {
      if (message.kind == MessageKind::kCommand && !aborted_.exchange(true)) {
        fake_.display.Write(dialog, kControlCancel, Visible{false});
        fake_.display.Write(dialog, kControlProgressDetail, Text{u"Aborting; please wait."});
      }
      if (message.kind == MessageKind::kClose) {
        fake_.display.Destroy(dialog);
        fake_.queues.PostQuit(0);
      }
    }
  }

  FakePlatform& fake_;
  std::atomic<WindowHandle> dialog_ = 0;
  std::atomic<bool> aborted_ = false;
  std::thread thread_;
};

TEST_F(Display, CancelIsHandledBeforeTheNthTextReturns) {
  for (int n = 2; n <= 4; ++n) {
    display.ForgetProgressTexts();
    display.CancelProgressAfter(n);
    Progress progress(fake);
    for (int i = 2; i < n; ++i) {
      progress.Detail(u"step");
      EXPECT_FALSE(progress.aborted()) << i << " of " << n;
    }
    progress.Detail(u"step");
    EXPECT_TRUE(progress.aborted()) << n;
    EXPECT_FALSE(display.Press(progress.dialog(), kControlCancel)) << "hidden now";
    const auto texts = display.progress_texts();
    ASSERT_EQ(texts.size(), static_cast<std::size_t>(n) + 1);
    EXPECT_EQ(texts[0], (FakeDisplay::ProgressText{kControlProgressTitle, u"Title"}));
    EXPECT_EQ(texts.back(),
              (FakeDisplay::ProgressText{kControlProgressDetail, u"Aborting; please wait."}));
  }
  EXPECT_TRUE(failures.empty());
}

TEST_F(Display, CancelAtOnceIsHandledWithTheFirstText) {
  for (const int n : {0, 1}) {
    display.CancelProgressAfter(n);
    Progress progress(fake);
    progress.Detail(u"step");
    EXPECT_TRUE(progress.aborted()) << n;
  }
}

TEST_F(Display, CancelOfARunningDialogIsPressedAtOnce) {
  Progress progress(fake);
  progress.Detail(u"step");
  EXPECT_FALSE(progress.aborted());
  display.CancelProgressAfter(0);
  progress.Detail(u"step");
  EXPECT_TRUE(progress.aborted());
}

TEST_F(Display, OnlyProgressTextsAreCounted) {
  display.CancelProgressAfter(2);
  Progress progress(fake);
  const WindowHandle other = display.Create(kDialogNewGroup, 0, DialogKind::kModal);
  display.Write(other, kControlGroupName, Text{u"x"});
  display.Write(other, 1022, Text{u"x"});
  display.Write(progress.dialog(), kControlProgressBar, Range{10});
  EXPECT_FALSE(progress.aborted());
  EXPECT_EQ(display.progress_texts().size(), 1U);
}

TEST_F(Display, ATimerComesWhenTheClockIsMoved) {
  ShowMain();
  fake.queues.SetTimer(window, 3, 10000);
  std::thread other([&] { fake.clock.Advance(10000); });
  Message message;
  ASSERT_TRUE(fake.queues.Get(message));
  EXPECT_TRUE(Is(message, window, MessageKind::kTimer, 3, 0));
  other.join();
}

TEST_F(Display, EveryChangeIsSeenByTheObserver) {
  struct Watcher : DisplayObserver {
    void OnWaitCursor(int depth) override { seen.push_back("wait " + std::to_string(depth)); }
    void OnBeep() override { seen.emplace_back("beep"); }
    void OnWindowCreated(const MainWindowTraits&) override { seen.emplace_back("window"); }
    void OnWindowShown() override { seen.emplace_back("shown"); }
    void OnWindowRaised() override { seen.emplace_back("raised"); }
    void OnWindowDestroyed() override { seen.emplace_back("destroyed"); }
    void OnTabsCreated(TabPlacement) override { seen.emplace_back("tabs"); }
    void OnTabSelected(int tab) override { seen.push_back("tab " + std::to_string(tab)); }
    void OnStatusText(std::u16string_view) override { seen.emplace_back("status"); }
    void OnListChanged() override { seen.emplace_back("list"); }
    void OnDialogCreated(WindowHandle, std::uint32_t form) override {
      seen.push_back("dialog " + std::to_string(form));
    }
    void OnDialogShown(WindowHandle) override { seen.emplace_back("dialog shown"); }
    void OnDialogDestroyed(WindowHandle) override { seen.emplace_back("dialog gone"); }
    void OnControlText(WindowHandle, std::uint32_t control, std::u16string_view) override {
      seen.push_back("text " + std::to_string(control));
    }
    void OnControlChanged(WindowHandle, std::uint32_t control) override {
      seen.push_back("control " + std::to_string(control));
    }
    std::vector<std::string> seen;
  } watcher;
  display.SetObserver(&watcher);
  ShowMain();
  display.UserSelectTab(1);
  display.SelectTab(0);
  display.SetStatusText(u"");
  display.Raise("");
  const WindowHandle dialog = ShowDialog(kDialogProgress, window);
  display.Write(dialog, 1020, Text{u"x"});
  display.Write(dialog, 2, Visible{false});
  display.Write(dialog, 99, Text{u"none such"});
  display.Destroy(dialog);
  display.Destroy(dialog);
  display.SetWaitCursor(true);
  display.Beep();
  display.DestroyMainWindow();
  EXPECT_EQ(watcher.seen,
            (std::vector<std::string>{"window", "tabs", "list", "list", "shown", "tab 1", "tab 0",
                                      "status", "raised", "dialog 120", "dialog shown", "text 1020",
                                      "control 2", "dialog gone", "wait 1", "beep", "destroyed"}));
}

TEST_F(Display, ManyThreadsUseTheDisplayAtOnce) {
  ShowMain();
  std::atomic<bool> stop = false;
  std::thread looker([&] {
    while (!stop) {
      (void)display.list();
      (void)display.main_window();
      (void)display.dialogs();
      (void)display.boxes();
      (void)display.TakesInput(window);
      display.ToggleRow(0);
      display.SendCommand(kCommandConnect);
    }
  });
  std::vector<std::thread> owners;
  owners.reserve(3);
  for (int i = 0; i < 3; ++i) {
    owners.emplace_back([&] {
      for (int round = 0; round < 30; ++round) {
        const WindowHandle dialog = ShowDialog(kUnknownForm, 0);
        display.Write(dialog, 1, Text{u"text"});
        EXPECT_EQ(display.Read(dialog, 1).text, u"text");
        display.Show(dialog, u"", u"Hello.", kOk);
        display.Destroy(dialog);
      }
    });
  }
  for (int round = 0; round < 100; ++round) {
    display.SetStatusText(u"status");
    display.SetCheckStates(0, {CheckState::kChecked, CheckState::kUnchecked});
  }
  for (std::thread& owner : owners) owner.join();
  stop = true;
  looker.join();
  EXPECT_EQ(display.boxes().size(), 90U);
  EXPECT_TRUE(failures.empty());
}

TEST_F(Display, WaitUntilEndsWithItsTime) {
  EXPECT_FALSE(display.WaitUntil([] { return false; }, 20));
  EXPECT_TRUE(display.WaitUntil([] { return true; }, 0));
  EXPECT_EQ(display.WaitForDialog(kDialogAbout, 20), 0U);
}

// --- the device as a whole ---

TEST(FakePlatform, ThePlatformIsThereAsLongAsItLives) {
  EXPECT_EQ(gPlatform, nullptr);
  {
    FakePlatform fake;
    EXPECT_EQ(gPlatform, &fake.platform);
    EXPECT_EQ(&gPlatform->files, &fake.files);
  }
  EXPECT_EQ(gPlatform, nullptr);
}

TEST(FakePlatform, LeftoversFailAtItsEnd) {
  std::vector<std::string> failures;
  {
    FakePlatform fake;
    fake.on_failure = [&](const std::string& message) { failures.push_back(message); };
    fake.display.Expect(u"Sure", kIdYes);
    fake.sockets.Client("QUIT\r\n");
  }
  EXPECT_EQ(failures, (std::vector<std::string>{"sockets: never sent: \"QUIT\\r\\n\"",
                                                "display: the announced box never came: Sure"}));
}

TEST(FakePlatform, HandleWaitingTellsAboutTheQuitMessage) {
  FakePlatform fake;
  const WindowHandle window = fake.queues.AddWindow();
  int handled = 0;
  const auto handle = [&](const Message& message) {
    if (++handled == 2) fake.queues.PostQuit(0);
    EXPECT_EQ(message.window, window);
  };
  fake.queues.Post({window, MessageKind::kUser, 1, 0, {}});
  EXPECT_TRUE(fake.HandleWaiting(handle));
  fake.queues.Post({window, MessageKind::kUser, 1, 0, {}});
  EXPECT_TRUE(fake.HandleWaiting(handle)) << "the quit message came after the mark";
  EXPECT_FALSE(fake.HandleWaiting(handle));
  EXPECT_EQ(handled, 2);
}

// --- the small services ---

TEST(FakeShell, AScheduledStartWaitsForTheWindow) {
  FakePlatform fake;
  const WindowHandle window = fake.queues.AddWindow();
  fake.shell.ScheduledStartElsewhere();
  fake.shell.SetInstanceWindow(window, {.download = 2});
  fake.shell.ScheduledStartElsewhere();
  int messages = 0;
  fake.HandleWaiting([&](const Message& message) {
    ++messages;
    EXPECT_TRUE(Is(message, window, MessageKind::kUser, 2, 0));
  });
  EXPECT_EQ(messages, 2);
  EXPECT_FALSE(fake.shell.ForwardToOtherInstance(true));
  EXPECT_EQ(fake.shell.forwards, std::vector<bool>{true});
  EXPECT_TRUE(fake.shell.OpenLink(u"http://x/"));
  EXPECT_EQ(fake.shell.links, std::vector<std::u16string>{u"http://x/"});
}

TEST(FakeShell, ALinkGivenElsewhereWaitsForTheWindow) {
  FakePlatform fake;
  const WindowHandle window = fake.queues.AddWindow();
  fake.shell.link = u"news:its.own";
  EXPECT_EQ(fake.shell.Link(), u"news:its.own");
  fake.shell.LinkElsewhere(u"news:a");
  fake.shell.SetInstanceWindow(window, {.download = 2, .link = 10});
  fake.shell.LinkElsewhere(u"news:b");
  std::vector<std::u16string> links;
  fake.HandleWaiting([&](const Message& message) {
    EXPECT_TRUE(Is(message, window, MessageKind::kUser, 10, 0));
    links.push_back(message.text);
  });
  EXPECT_EQ(links, (std::vector<std::u16string>{u"news:a", u"news:b"}));
}

TEST(FakeDialler, DialsWhatThePhoneBookHas) {
  FakeDialler dialler;
  dialler.entries[u"gprs"] = {u"gprs", u"user", u"secret"};
  std::vector<std::u16string> names;
  EXPECT_EQ(dialler.EnumerateEntries(names), 0U);
  EXPECT_EQ(names, std::vector<std::u16string>{u"gprs"});
  DialParameters parameters{u"gprs", {}, {}};
  EXPECT_EQ(dialler.EntryParameters(parameters), 0U);
  DialHandle handle = 0;
  EXPECT_EQ(dialler.Dial(parameters, handle), 0U);
  EXPECT_EQ(handle, 1U);
  std::uint32_t state = 0;
  EXPECT_EQ(dialler.ConnectStatus(handle, state), 0U);
  EXPECT_EQ(state, 0x2000U);
  std::uint32_t count = 0;
  EXPECT_EQ(dialler.EnumerateConnections(1, count), 0U);
  EXPECT_EQ(count, 1U);
  dialler.open_connections = 1;
  EXPECT_EQ(dialler.EnumerateConnections(1, count), 603U);
  dialler.HangUp(handle);
  EXPECT_TRUE(dialler.dialled.empty());
  EXPECT_NE(dialler.ConnectStatus(handle, state), 0U);
  EXPECT_EQ(dialler.calls[2], "Dial gprs user secret");
}

TEST(FakeDialler, FailsAsTold) {
  FakeDialler dialler;
  DialHandle handle = 9;
  std::uint32_t count = 0;
  EXPECT_EQ(dialler.Dial({u"none", {}, {}}, handle), 623U);
  EXPECT_EQ(handle, 0U);
  dialler.entries[u"gprs"] = {};
  dialler.dial_result = 628;
  EXPECT_EQ(dialler.Dial({u"gprs", {}, {}}, handle), 628U);
  EXPECT_NE(handle, 0U);
  std::uint32_t state = 0;
  EXPECT_EQ(dialler.ConnectStatus(handle, state), 0U);
  EXPECT_EQ(state, 0x2001U);
  dialler.enumerate_result = 628;
  EXPECT_EQ(dialler.EnumerateConnections(1, count), 628U);
  dialler.phonebook = false;
  std::vector<std::u16string> names;
  EXPECT_EQ(dialler.EnumerateConnections(1, count), 621U);
  EXPECT_EQ(dialler.EnumerateEntries(names), 621U);
}

TEST(FakeScheduler, RecordsRegistrationsAndCancellations) {
  FakeScheduler scheduler;
  const CalendarTime at{2024, 1, 2, 2, 6, 0, 0, 0};
  EXPECT_TRUE(scheduler.RunAppAtTime(u"\\Quillet.exe", &at));
  scheduler.result = false;
  EXPECT_FALSE(scheduler.RunAppAtTime(u"\\Quillet.exe", nullptr));
  ASSERT_EQ(scheduler.calls.size(), 2U);
  EXPECT_EQ(scheduler.calls[0].at, at);
  EXPECT_FALSE(scheduler.calls[1].at);
}

TEST(FakeRegistry, CallsFailAsTold) {
  FakeRegistry registry;
  registry.FailCreate(1);
  EXPECT_EQ(registry.Create(u"Software\\Quillet"), nullptr);
  EXPECT_FALSE(registry.KeyExists(u"Software")) << "the failing call has no effect";
  const auto key = registry.Create(u"Software\\Quillet");
  ASSERT_NE(key, nullptr);
  registry.FailSet(2);
  EXPECT_TRUE(key->Set(u"a", RegistryType::kDword, std::string(4, '\1')));
  EXPECT_FALSE(key->Set(u"b", RegistryType::kDword, std::string(4, '\1')));
  EXPECT_TRUE(key->Set(u"c", RegistryType::kDword, std::string(4, '\1')));
  EXPECT_EQ(registry.sets(), 3);
  EXPECT_EQ(registry.FindDword(u"SOFTWARE\\quillet\\", u"A"), 0x01010101U);
  EXPECT_FALSE(registry.Find(u"Software\\Quillet", u"b"));
  registry.FailOpen(1);
  EXPECT_EQ(registry.Open(u"Software\\Quillet"), nullptr);
  EXPECT_NE(registry.Open(u"Software\\Quillet"), nullptr);
  registry.SetReadOnly(true);
  EXPECT_FALSE(key->Set(u"a", RegistryType::kDword, ""));
  EXPECT_EQ(registry.Create(u"Software\\Other"), nullptr);
  EXPECT_NE(registry.Create(u"Software\\Quillet"), nullptr) << "it is there already";
  EXPECT_FALSE(key->Begin());
}

TEST(FakeRegistry, AFailedCommitWritesNothing) {
  FakeRegistry registry;
  const auto key = registry.Create(u"Q");
  registry.FailBegin(1);
  EXPECT_FALSE(key->Begin());
  EXPECT_TRUE(key->Set(u"single", RegistryType::kBinary, "1"));
  EXPECT_TRUE(registry.Find(u"Q", u"single")) << "after a failed Begin writes are single";
  ASSERT_TRUE(key->Begin());
  EXPECT_FALSE(key->Begin()) << "not nestable";
  key->Set(u"a", RegistryType::kBinary, "1");
  EXPECT_TRUE(key->Get(u"a"));
  EXPECT_FALSE(registry.Find(u"Q", u"a")) << "not before the commit";
  registry.FailCommit(1);
  EXPECT_FALSE(key->Commit());
  EXPECT_FALSE(registry.Find(u"Q", u"a"));
  EXPECT_FALSE(key->Get(u"a"));
  EXPECT_FALSE(key->Commit()) << "none was begun";
}

TEST(FakeRegistry, TheTestsOwnWritesAndReads) {
  FakeRegistry registry;
  registry.PutDword(u"Q", u"number", 0x01020304);
  registry.PutString(u"Q", u"text", u"Zürich");
  EXPECT_EQ(registry.Find(u"Q", u"number")->data, "\x04\x03\x02\x01");
  EXPECT_EQ(registry.Find(u"Q", u"text")->data, std::string("Z\0\xFC\0r\0i\0c\0h\0\0\0", 14));
  EXPECT_EQ(registry.FindString(u"Q", u"text"), u"Zürich");
  EXPECT_FALSE(registry.FindString(u"Q", u"number"));
  EXPECT_FALSE(registry.FindDword(u"Q", u"text"));
  registry.Erase(u"Q", u"NUMBER");
  EXPECT_FALSE(registry.Find(u"Q", u"number"));
  EXPECT_EQ(registry.Keys(), std::vector<std::u16string>{u"Q"});
  EXPECT_EQ(registry.sets(), 0);
}

}  // namespace
}  // namespace quillet::port
