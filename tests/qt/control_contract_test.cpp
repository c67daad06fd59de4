// SPDX-License-Identifier: GPL-3.0-or-later
// Every kind of control, windows with forms and property sheets: the same cases on the toolkit's
// display and on the one without pixels.
#include "port/dialogs.h"
#include "port/fake/fake_platform.h"
#include "tests/forms/ids.h"
#include "tests/qt/dialog_hands.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::ControlState;
using port::DialogKind;
using port::MessageKind;
using port::TextState;
using port::TimeOfDay;
using port::WindowHandle;

enum class Kind { kFake, kQt };

class ControlContract : public ::testing::TestWithParam<Kind> {
 protected:
  ControlContract() : user(GetParam() == Kind::kFake ? NewFakeHands() : NewQtHands()) {
    dialog = user->Dialogs().Create(kDialogEveryKind, 0, DialogKind::kModal);
  }

  void Show() {
    user->Dialogs().Show(dialog);
    user->Await(dialog);
    Take();
  }
  void Write(std::uint32_t control, port::ControlValue value) {
    user->Dialogs().Write(dialog, control, std::move(value));
  }
  ControlState Read(std::uint32_t control) { return user->Dialogs().Read(dialog, control); }

  // "kind id detail control" of what came, without keys and sizes.
  std::vector<port::Message> Take() {
    std::vector<port::Message> messages = TakeMessages(user->Queues());
    std::erase_if(messages, [](const port::Message& message) {
      return message.kind == MessageKind::kSize || message.kind == MessageKind::kKeyDown ||
             message.kind == MessageKind::kKeyUp;
    });
    return messages;
  }
  int CountOf(const std::vector<port::Message>& messages, const port::Message& wanted) {
    return static_cast<int>(std::ranges::count_if(messages, [&](const port::Message& one) {
      return one.window == wanted.window && one.kind == wanted.kind && one.id == wanted.id &&
             one.detail == wanted.detail && one.control == wanted.control;
    }));
  }
  port::Message Command(std::uint32_t control) const {
    return {dialog, MessageKind::kCommand, control, 0, {}};
  }
  port::Message Row(MessageKind kind, std::uint32_t row, std::uint32_t detail,
                    std::uint32_t control) const {
    return {dialog, kind, row, detail, {}, control};
  }
  // How many came in the time in which one must.
  int EditsTold(std::uint32_t control) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1400));
    return CountOf(Take(), {dialog, MessageKind::kTextEdited, control, 0, {}});
  }

  std::unique_ptr<DialogHands> user;
  WindowHandle dialog = 0;
};

TEST_P(ControlContract, StaticTextIsWrittenAndRead) {
  Write(kControlLabel, port::Text{u"Store is currently 5% full."});
  EXPECT_EQ(Read(kControlLabel).text, u"Store is currently 5% full.");
  EXPECT_FALSE(Read(kControlLabel).focused);
}

TEST_P(ControlContract, ButtonIsPressedAndNamedAnew) {
  EXPECT_EQ(Read(kControlButton).text, u"&Add");
  Write(kControlButton, port::Text{u"&More"});
  EXPECT_EQ(Read(kControlButton).text, u"&More");
  Show();
  EXPECT_TRUE(user->Press(dialog, kControlButton));
  EXPECT_EQ(CountOf(Take(), Command(kControlButton)), 1);
}

TEST_P(ControlContract, CheckBoxTellsTheUsersTicksOnly) {
  Show();
  Write(kControlCheckBox, port::Checked{true});
  EXPECT_TRUE(Read(kControlCheckBox).checked);
  EXPECT_TRUE(Take().empty());
  EXPECT_TRUE(user->Tick(dialog, kControlCheckBox, false));
  EXPECT_FALSE(Read(kControlCheckBox).checked);
  EXPECT_EQ(CountOf(Take(), Command(kControlCheckBox)), 1);
}

TEST_P(ControlContract, OneRadioButtonOfAGroupIsChecked) {
  Show();
  Write(kControlLeft, port::Checked{true});
  EXPECT_TRUE(Read(kControlLeft).checked);
  EXPECT_FALSE(Read(kControlRight).checked);
  Write(kControlRight, port::Checked{true});
  EXPECT_FALSE(Read(kControlLeft).checked);
  EXPECT_TRUE(Take().empty());
  EXPECT_TRUE(user->Tick(dialog, kControlLeft, true));
  EXPECT_TRUE(Read(kControlLeft).checked);
  EXPECT_FALSE(Read(kControlRight).checked);
  EXPECT_EQ(CountOf(Take(), Command(kControlLeft)), 1);
}

TEST_P(ControlContract, EditHasTextCaretAndSelection) {
  Show();
  Write(kControlEdit, port::Text{u"news.example.org"});
  EXPECT_EQ(Read(kControlEdit).text_state, TextState());
  Write(kControlEdit, TextState{5, 7, false});
  EXPECT_EQ(Read(kControlEdit).text_state, (TextState{5, 7, false}));
  Write(kControlEdit, TextState{13, port::kWholeText, true});
  EXPECT_EQ(Read(kControlEdit).text_state, (TextState{13, 3, true})) << "to the end";
  Write(kControlEdit, TextState{99, 99, false});
  EXPECT_EQ(Read(kControlEdit).text_state, (TextState{16, 0, false}));
  EXPECT_TRUE(Take().empty());
}

TEST_P(ControlContract, EditTellsWhatIsTypedAndThatItChanged) {
  Show();
  Write(kControlEdit, port::Text{u"old"});
  EXPECT_TRUE(user->Type(dialog, kControlEdit, u"alt.test"));
  const ControlState state = Read(kControlEdit);
  EXPECT_EQ(state.text, u"alt.test");
  EXPECT_EQ(state.text_state, (TextState{8, 0, true}));
  EXPECT_TRUE(state.focused);
  EXPECT_EQ(EditsTold(kControlEdit), 1);
  Write(kControlEdit, port::Text{u"written"});
  EXPECT_FALSE(Read(kControlEdit).text_state.changed);
  EXPECT_EQ(EditsTold(kControlEdit), 0);
}

TEST_P(ControlContract, LinesAreReadWithCrLf) {
  for (const std::u16string_view text : {u"a\r\nb\r\n", u"a\nb\n", u"a\rb\r"}) {
    Write(kControlLines, port::Text{std::u16string(text)});
    EXPECT_EQ(Read(kControlLines).text, u"a\r\nb\r\n");
  }
  Write(kControlLines, port::Text{u"\u00A0x"});
  EXPECT_EQ(Read(kControlLines).text, u"\u00A0x") << "a non-breaking blank stays one";
}

TEST_P(ControlContract, PlacesInLinesCountALineEndAsTwo) {
  Show();
  Write(kControlLines, port::Text{u"one\r\ntwo\r\nthree"});
  EXPECT_EQ(Read(kControlLines).text_state, TextState());
  Write(kControlLines, TextState{5, 3, true});
  EXPECT_EQ(Read(kControlLines).text_state, (TextState{5, 3, true}));
  Write(kControlLines, TextState{3, 7, false});
  EXPECT_EQ(Read(kControlLines).text_state, (TextState{3, 7, false})) << "over two line ends";
  Write(kControlLines, TextState{4, 0, false});
  EXPECT_EQ(Read(kControlLines).text_state, (TextState{3, 0, false})) << "inside CR LF";
  Write(kControlLines, TextState{0, port::kWholeText, false});
  EXPECT_EQ(Read(kControlLines).text_state, (TextState{0, 15, false}));
  Write(kControlLines, TextState{99, 1, false});
  EXPECT_EQ(Read(kControlLines).text_state, (TextState{15, 0, false}));
}

TEST_P(ControlContract, TypedLinesAreToldAndChanged) {
  Show();
  Write(kControlLines, port::Text{u"old"});
  EXPECT_TRUE(user->Type(dialog, kControlLines, u"-- \r\nAnn"));
  EXPECT_EQ(Read(kControlLines).text, u"-- \r\nAnn");
  EXPECT_EQ(Read(kControlLines).text_state, (TextState{8, 0, true}));
  EXPECT_EQ(EditsTold(kControlLines), 1);
  Write(kControlLines, port::Text{u"new"});
  Write(kControlLines, TextState{1, 0, false});
  EXPECT_EQ(EditsTold(kControlLines), 0);
}

TEST_P(ControlContract, PasswordIsTypedAndRead) {
  Show();
  Write(kControlPassword, port::Text{u"secret"});
  EXPECT_EQ(Read(kControlPassword).text, u"secret");
  EXPECT_TRUE(user->Type(dialog, kControlPassword, u"better"));
  EXPECT_EQ(Read(kControlPassword).text, u"better");
}

TEST_P(ControlContract, DropDownListHasAChosenItem) {
  Show();
  Write(kControlDropDown, port::Choices{{u"tiny", u"small", u"large"}});
  EXPECT_EQ(Read(kControlDropDown).choice, 0);
  EXPECT_EQ(Read(kControlDropDown).text, u"tiny");
  EXPECT_TRUE(Take().empty());
  EXPECT_TRUE(user->Choose(dialog, kControlDropDown, 2));
  EXPECT_EQ(Read(kControlDropDown).choice, 2);
  EXPECT_EQ(Read(kControlDropDown).text, u"large");
  EXPECT_GE(CountOf(Take(), Command(kControlDropDown)), 1);
}

TEST_P(ControlContract, EditableListTakesAnyText) {
  Show();
  Write(kControlEditableDropDown, port::Text{u"a@example.org"});
  Write(kControlEditableDropDown, port::Choices{{u"b@example.org", u"c@example.org"}});
  EXPECT_EQ(Read(kControlEditableDropDown).text, u"a@example.org") << "the text stays";
  EXPECT_EQ(Read(kControlEditableDropDown).choice, -1);
  Write(kControlEditableDropDown, port::Choice{1});
  EXPECT_EQ(Read(kControlEditableDropDown).text, u"c@example.org");
  EXPECT_EQ(Read(kControlEditableDropDown).choice, 1);
  EXPECT_TRUE(Take().empty());
  EXPECT_TRUE(user->Type(dialog, kControlEditableDropDown, u"B@example.org"));
  EXPECT_EQ(Read(kControlEditableDropDown).text, u"B@example.org") << "nothing is put in its place";
  EXPECT_EQ(Read(kControlEditableDropDown).choice, -1);
  EXPECT_TRUE(Read(kControlEditableDropDown).focused);
  EXPECT_EQ(EditsTold(kControlEditableDropDown), 1);
  EXPECT_TRUE(user->Choose(dialog, kControlEditableDropDown, 0));
  EXPECT_EQ(Read(kControlEditableDropDown).text, u"b@example.org");
  EXPECT_GE(CountOf(Take(), Command(kControlEditableDropDown)), 1);
}

TEST_P(ControlContract, SliderStaysInItsBounds) {
  Show();
  Write(kControlSlider, port::Range{98, 1});
  Write(kControlSlider, port::Position{50});
  EXPECT_EQ(Read(kControlSlider).position, 50);
  Write(kControlSlider, port::Position{0});
  EXPECT_EQ(Read(kControlSlider).position, 1);
  Write(kControlSlider, port::Position{200});
  EXPECT_EQ(Read(kControlSlider).position, 98);
  Write(kControlSlider, port::Range{60, 1});
  EXPECT_EQ(Read(kControlSlider).position, 60);
  EXPECT_TRUE(Take().empty());
  EXPECT_TRUE(user->Slide(dialog, kControlSlider, 58));
  EXPECT_EQ(Read(kControlSlider).position, 58);
  EXPECT_GE(CountOf(Take(), Command(kControlSlider)), 1);
}

TEST_P(ControlContract, ProgressBarShowsTheLastPosition) {
  Write(kControlBar, port::Range{400});
  for (int i = 0; i <= 132; ++i) Write(kControlBar, port::Position{i});
  EXPECT_EQ(Read(kControlBar).position, 132);
  Write(kControlBar, port::Position{401});
  EXPECT_EQ(Read(kControlBar).position, 400);
  Write(kControlBar, port::Range{10});
  EXPECT_EQ(Read(kControlBar).position, 10);
}

TEST_P(ControlContract, ProgressBarHasTheTextThatWasWritten) {
  EXPECT_EQ(Read(kControlBar).text, u"");
  Write(kControlBar, port::Range{400});
  Write(kControlBar, port::Position{132});
  EXPECT_EQ(Read(kControlBar).text, u"") << "nobody wrote one";
  Write(kControlBar, port::Text{u"33%, 0:12 left"});
  EXPECT_EQ(Read(kControlBar).text, u"33%, 0:12 left");
  EXPECT_EQ(Read(kControlBar).position, 132);
  Write(kControlBar, port::Text{u""});
  EXPECT_EQ(Read(kControlBar).text, u"");
}

TEST_P(ControlContract, CheckListHasATickForEveryRow) {
  using Checks = std::vector<bool>;
  Show();
  Write(kControlCheckList, port::Rows{{{{u"a.b", u"1"}, true}, {{u"c.d", u"2"}, false}}});
  EXPECT_EQ(Read(kControlCheckList).row_checks, (Checks{true, false}));
  EXPECT_EQ(Read(kControlCheckList).choice, -1);
  EXPECT_TRUE(Take().empty());
  EXPECT_TRUE(user->TickRow(dialog, kControlCheckList, 1, true));
  EXPECT_EQ(Read(kControlCheckList).row_checks, (Checks{true, true}));
  EXPECT_EQ(CountOf(Take(), Row(MessageKind::kRowChecked, 1, 1, kControlCheckList)), 1);
  EXPECT_TRUE(user->TickRow(dialog, kControlCheckList, 0, false));
  EXPECT_EQ(Read(kControlCheckList).row_checks, (Checks{false, true}));
  EXPECT_EQ(CountOf(Take(), Row(MessageKind::kRowChecked, 0, 0, kControlCheckList)), 1);
  Write(kControlCheckList, port::Rows{});
  EXPECT_EQ(Read(kControlCheckList).row_checks, Checks());
}

TEST_P(ControlContract, ListTellsSelectionActivationAndMenu) {
  Show();
  Write(kControlList, port::Rows{{{{u"money", u"subj.", u"kill"}},
                                  {{u"Ann", u"auth.", u"req."}},
                                  {{u"", u"subj.", u"kill"}}}});
  EXPECT_EQ(Read(kControlList).choice, -1);
  EXPECT_TRUE(Read(kControlList).row_checks.empty());
  Write(kControlList, port::Choice{2});
  EXPECT_EQ(Read(kControlList).choice, 2);
  Write(kControlList, port::Choice{-1});
  EXPECT_EQ(Read(kControlList).choice, -1);
  EXPECT_TRUE(Take().empty());
  EXPECT_TRUE(user->Choose(dialog, kControlList, 1));
  EXPECT_EQ(Read(kControlList).choice, 1);
  EXPECT_EQ(CountOf(Take(), Command(kControlList)), 1);
  EXPECT_TRUE(user->ActivateRow(dialog, kControlList, 1));
  EXPECT_EQ(CountOf(Take(), Row(MessageKind::kItemActivated, 1, 0, kControlList)), 1);
  EXPECT_TRUE(user->AskRowMenu(dialog, kControlList, 0));
  EXPECT_EQ(Read(kControlList).choice, 0);
  EXPECT_EQ(CountOf(Take(), Row(MessageKind::kContextMenu, 0, 0, kControlList)), 1);
  Write(kControlList, port::Rows{{{{u"one", u"subj.", u"kill"}}}});
  EXPECT_EQ(Read(kControlList).choice, -1) << "new rows have no selection";
  EXPECT_TRUE(Take().empty());
}

TEST_P(ControlContract, SecondTapOnARowOpensItWhereTheFormSaysSo) {
  Show();
  const port::Rows rows{{{{u"one"}}, {{u"two"}}}};
  Write(kControlTapList, rows);
  const auto opened = [&](std::uint32_t row) {
    return CountOf(Take(), Row(MessageKind::kItemActivated, row, 0, kControlTapList));
  };
  EXPECT_TRUE(user->Choose(dialog, kControlTapList, 0));
  EXPECT_TRUE(user->Choose(dialog, kControlTapList, 1));
  EXPECT_EQ(opened(1), 0) << "another row was tapped before";
  EXPECT_TRUE(user->Choose(dialog, kControlTapList, 1));
  EXPECT_EQ(opened(1), 1);
  Write(kControlTapList, port::Choice{0});
  EXPECT_TRUE(user->Choose(dialog, kControlTapList, 1));
  EXPECT_EQ(opened(1), 0) << "it was not selected any more";
  Write(kControlTapList, rows);
  EXPECT_TRUE(user->Choose(dialog, kControlTapList, 1));
  EXPECT_EQ(opened(1), 0) << "new rows";
  EXPECT_TRUE(user->ActivateRow(dialog, kControlTapList, 1));
  EXPECT_EQ(opened(1), 1) << "a double click on the row tapped before opens once";
  EXPECT_TRUE(user->ActivateRow(dialog, kControlTapList, 0));
  EXPECT_EQ(opened(0), 1) << "a double click on another row opens once";
  EXPECT_TRUE(user->AskRowMenu(dialog, kControlTapList, 1));
  EXPECT_EQ(opened(1), 0);
}

TEST_P(ControlContract, TapsOpenNothingInOtherLists) {
  Show();
  Write(kControlList, port::Rows{{{{u"one", u"", u""}}}});
  EXPECT_TRUE(user->Choose(dialog, kControlList, 0));
  EXPECT_TRUE(user->Choose(dialog, kControlList, 0));
  EXPECT_EQ(CountOf(Take(), Row(MessageKind::kItemActivated, 0, 0, kControlList)), 0);
}

TEST_P(ControlContract, MarkedRowsAreRowsLikeTheOthers) {
  Show();
  Write(kControlList, port::Rows{{{{u"refused", u"", u""}, false, true, u"441 no"}, {{u"x"}}}});
  EXPECT_TRUE(user->Choose(dialog, kControlList, 0));
  EXPECT_EQ(Read(kControlList).choice, 0);
}

TEST_P(ControlContract, FontOfLinesChangesNothingOfTheText) {
  Show();
  Write(kControlLines, port::Text{u"a\tb\r\nc"});
  Write(kControlLines, TextState{2, 1, false});
  Write(kControlLines, port::FontChoice{u"no such face", 7});
  EXPECT_EQ(Read(kControlLines).text, u"a\tb\r\nc");
  EXPECT_EQ(Read(kControlLines).text_state, (TextState{2, 1, false}));
  EXPECT_EQ(EditsTold(kControlLines), 0);
}

TEST_P(ControlContract, WatcherIsToldOfEveryChangeOfTheUserAtOnce) {
  Show();
  Write(kControlDropDown, port::Choices{{u"x", u"y"}});
  Write(kControlCheckList, port::Rows{{{{u"a.b", u"1"}, true}}});
  std::atomic<int> edits = 0;
  user->Dialogs().WatchEdits(dialog, [&] { ++edits; });
  const auto told = [&] { return edits.exchange(0) > 0; };
  Write(kControlEdit, port::Text{u"written"});
  Write(kControlLines, port::Text{u"written"});
  Write(kControlDropDown, port::Choice{1});
  Write(kControlLeft, port::Checked{true});
  Write(kControlCheckList, port::Choice{0});
  Read(kControlEdit);
  EXPECT_FALSE(told()) << "what the program writes";
  user->Press(dialog, kControlButton);
  EXPECT_FALSE(told()) << "a button has no value";
  user->Type(dialog, kControlEdit, u"a");
  EXPECT_TRUE(told()) << "edit";
  user->Type(dialog, kControlLines, u"a");
  EXPECT_TRUE(told()) << "lines";
  user->Type(dialog, kControlEditableDropDown, u"a");
  EXPECT_TRUE(told()) << "editable list";
  user->Choose(dialog, kControlDropDown, 0);
  EXPECT_TRUE(told()) << "list";
  user->Tick(dialog, kControlCheckBox, true);
  EXPECT_TRUE(told()) << "box";
  user->Tick(dialog, kControlRight, true);
  EXPECT_TRUE(told()) << "radio button";
  user->Slide(dialog, kControlSlider, 3);
  EXPECT_TRUE(told()) << "slider";
  user->PickTime(dialog, kControlTime, {1, 2, 3});
  EXPECT_TRUE(told()) << "time";
  user->TickRow(dialog, kControlCheckList, 0, false);
  EXPECT_TRUE(told()) << "row's box";
}

TEST_P(ControlContract, WatcherIsReplacedEndedAndGoesWithTheDialog) {
  Show();
  int first = 0;
  int second = 0;
  user->Dialogs().WatchEdits(dialog, [&] { ++first; });
  user->Dialogs().WatchEdits(dialog, [&] { ++second; });
  user->Type(dialog, kControlEdit, u"a");
  EXPECT_EQ(first, 0);
  EXPECT_GT(second, 0);
  user->Dialogs().WatchEdits(dialog, {});
  second = 0;
  user->Type(dialog, kControlEdit, u"b");
  EXPECT_EQ(second, 0);
  // What it holds is let go with the dialog.
  auto held = std::make_shared<int>(0);
  user->Dialogs().WatchEdits(dialog, [held] { ++*held; });
  EXPECT_EQ(held.use_count(), 2);
  user->Dialogs().Destroy(dialog);
  EXPECT_EQ(held.use_count(), 1);
  user->Dialogs().WatchEdits(dialog, [held] { ++*held; });
  EXPECT_EQ(held.use_count(), 1) << "the dialog has gone";
}

TEST_P(ControlContract, TimeGoesToTheLastSecondOfTheDay) {
  Show();
  Write(kControlTime, TimeOfDay{6, 30, 15});
  EXPECT_EQ(Read(kControlTime).time, (TimeOfDay{6, 30, 15}));
  Write(kControlTime, TimeOfDay{24, 60, 4711});
  EXPECT_EQ(Read(kControlTime).time, (TimeOfDay{23, 59, 59}));
  Write(kControlTime, TimeOfDay{-1, -1, -1});
  EXPECT_EQ(Read(kControlTime).time, (TimeOfDay{0, 0, 0}));
  EXPECT_TRUE(Take().empty());
  EXPECT_TRUE(user->PickTime(dialog, kControlTime, {23, 59, 59}));
  EXPECT_EQ(Read(kControlTime).time, (TimeOfDay{23, 59, 59}));
  EXPECT_GE(CountOf(Take(), Command(kControlTime)), 1);
}

TEST_P(ControlContract, DisabledAndHiddenControlsTakeNoInput) {
  Show();
  Write(kControlButton, port::Enabled{false});
  Write(kControlCheckBox, port::Visible{false});
  Write(kControlEdit, port::Enabled{false});
  EXPECT_FALSE(Read(kControlButton).enabled);
  EXPECT_TRUE(Read(kControlButton).visible);
  EXPECT_FALSE(Read(kControlCheckBox).visible);
  EXPECT_FALSE(user->Press(dialog, kControlButton));
  EXPECT_FALSE(user->Tick(dialog, kControlCheckBox, true));
  EXPECT_FALSE(user->Type(dialog, kControlEdit, u"x"));
  EXPECT_FALSE(Read(kControlCheckBox).checked);
  EXPECT_EQ(Read(kControlEdit).text, u"");
  EXPECT_TRUE(Take().empty());
  Write(kControlButton, port::Enabled{true});
  EXPECT_TRUE(user->Press(dialog, kControlButton));
}

TEST_P(ControlContract, FocusIsSetBeforeAndAfterShowing) {
  Write(kControlLines, port::Focus{});
  EXPECT_TRUE(Read(kControlLines).focused);
  Show();
  EXPECT_TRUE(Read(kControlLines).focused);
  Write(kControlEditableDropDown, port::Focus{});
  EXPECT_TRUE(Read(kControlEditableDropDown).focused);
  EXPECT_FALSE(Read(kControlLines).focused);
}

TEST_P(ControlContract, WritesOfABatchTakeEffectInOrder) {
  user->Dialogs().WriteMany(dialog, {{kControlEdit, TextState{2, 2, true}},
                                     {kControlEdit, port::Text{u"abcdef"}},
                                     {kControlLeft, port::Checked{true}},
                                     {kControlRight, port::Checked{true}},
                                     {kControlLeft, port::Checked{true}},
                                     {kControlDropDown, port::Choices{{u"x", u"y"}}},
                                     {kControlDropDown, port::Choice{1}},
                                     {4711, port::Text{u"nowhere"}}});
  EXPECT_EQ(Read(kControlEdit).text_state, TextState()) << "the text came later";
  EXPECT_TRUE(Read(kControlLeft).checked);
  EXPECT_FALSE(Read(kControlRight).checked);
  EXPECT_EQ(Read(kControlDropDown).choice, 1);
}

// What is written in a stream is shown with a delay, but never read so.
TEST_P(ControlContract, ReadsSeeEveryEarlierWrite) {
  Show();
  for (int i = 0; i < 20; ++i) {
    Write(kControlCheckBox, port::Checked{true});
    EXPECT_TRUE(Read(kControlCheckBox).checked);
    Write(kControlCheckBox, port::Checked{false});
    EXPECT_FALSE(user->Dialogs().ReadAll(dialog).at(kControlCheckBox).checked);
  }
}

TEST_P(ControlContract, AllOfADialogIsReadInOneCall) {
  Write(kControlEdit, port::Text{u"abc"});
  Write(kControlSlider, port::Position{7});
  const auto states = user->Dialogs().ReadAll(dialog);
  EXPECT_EQ(states.size(), 18u);
  EXPECT_EQ(states.at(kControlEdit).text, u"abc");
  EXPECT_EQ(states.at(kControlSlider).position, 7);
  EXPECT_EQ(states.at(1).text, u"OK");
  EXPECT_TRUE(states.at(kControlList).enabled);
  user->Dialogs().Destroy(dialog);
  EXPECT_TRUE(user->Dialogs().ReadAll(dialog).empty());
  EXPECT_FALSE(Read(kControlEdit).visible);
}

TEST_P(ControlContract, WindowLeavesTheOthersTheirInput) {
  const WindowHandle main = user->Windows().CreateMainWindow({u"q", u"q", 103, {400, 300}});
  user->Windows().ShowMainWindow();
  const WindowHandle window = user->Dialogs().Create(kDialogEveryKind, main, DialogKind::kWindow);
  user->Dialogs().Show(window);
  user->Await(window);
  Take();
  EXPECT_TRUE(user->Press(window, kControlButton));
  EXPECT_TRUE(user->CloseMain());
  user->CloseDialog(window);
  const std::vector<port::Message> messages = Take();
  EXPECT_EQ(CountOf(messages, {window, MessageKind::kCommand, kControlButton, 0, {}}), 1);
  EXPECT_EQ(CountOf(messages, {main, MessageKind::kClose, 0, 0, {}}), 1);
  EXPECT_EQ(CountOf(messages, {window, MessageKind::kCommand, 2, 0, {}}), 1);
  user->Dialogs().Destroy(window);
  EXPECT_EQ(user->Dialogs().Read(window, kControlButton).text, u"");
}

TEST_P(ControlContract, DialogOverAWindowTakesTheInputOfAll) {
  const WindowHandle main = user->Windows().CreateMainWindow({u"q", u"q", 103, {400, 300}});
  user->Windows().ShowMainWindow();
  const WindowHandle window = user->Dialogs().Create(kDialogEveryKind, 0, DialogKind::kWindow);
  const WindowHandle other = user->Dialogs().Create(kDialogEveryKind, 0, DialogKind::kWindow);
  user->Dialogs().Show(other);
  user->Await(other);
  user->Dialogs().Show(window);
  user->Await(window);
  const WindowHandle over = user->Dialogs().Create(kDialogEveryKind, window, DialogKind::kModal);
  user->Dialogs().Show(over);
  user->Await(over);
  Take();
  EXPECT_FALSE(user->CloseMain());
  EXPECT_FALSE(user->PressInWindow(window, kControlButton));
  EXPECT_FALSE(user->PressInWindow(other, kControlButton));
  EXPECT_TRUE(user->PressInWindow(over, kControlButton));
  std::vector<port::Message> messages = Take();
  EXPECT_EQ(CountOf(messages, {over, MessageKind::kCommand, kControlButton, 0, {}}), 1);
  EXPECT_EQ(messages.size(), 1U);
  user->Dialogs().Destroy(over);
  EXPECT_TRUE(user->PressInWindow(other, kControlButton));
  EXPECT_TRUE(user->CloseMain());
  EXPECT_EQ(CountOf(Take(), {main, MessageKind::kClose, 0, 0, {}}), 1);
}

TEST_P(ControlContract, WindowBelowALongOperationCanBeClosed) {
  const WindowHandle main = user->Windows().CreateMainWindow({u"q", u"q", 103, {400, 300}});
  user->Windows().ShowMainWindow();
  const WindowHandle progress =
      user->Dialogs().Create(kDialogEveryKind, main, DialogKind::kProgress);
  user->Dialogs().Show(progress);
  user->Await(progress);
  Take();
  EXPECT_TRUE(user->CloseMain());
  std::vector<port::Message> messages = Take();
  ASSERT_EQ(messages.size(), 2U);
  EXPECT_EQ(CountOf(messages, {progress, MessageKind::kCommand, 2, 0, {}}), 1);
  EXPECT_EQ(CountOf(messages, {main, MessageKind::kClose, 0, 0, {}}), 1);
  EXPECT_EQ(messages[1].window, main) << "first the operation is cancelled";
  user->Dialogs().Destroy(progress);
  user->Windows().SetBusy(true);
  EXPECT_TRUE(user->CloseMain());
  messages = Take();
  EXPECT_EQ(CountOf(messages, {main, MessageKind::kClose, 0, 0, {}}), 1);
  EXPECT_EQ(CountOf(messages, {progress, MessageKind::kCommand, 2, 0, {}}), 0);
}

// --- sheets --------------------------------------------------------------------------------------

class SheetContract : public ControlContract {
 protected:
  SheetContract() {
    user->Dialogs().Destroy(dialog);
    const std::array<port::SheetPage, 2> pages{
        {{kDialogFirstPage, u"Reply information"}, {kDialogSecondPage, u"Debugging"}}};
    sheet = user->Sheets().Create(u"Preferences", pages, 0);
    first = user->Sheets().Page(sheet, 0);
    second = user->Sheets().Page(sheet, 1);
  }

  void ShowSheet() {
    user->Dialogs().Show(sheet);
    user->Await(sheet);
  }
  port::Message OfPage(MessageKind kind, std::uint32_t page) const {
    return {sheet, kind, page, 0, {}};
  }
  void ExpectExactly(const std::vector<port::Message>& expected) {
    const std::vector<port::Message> messages = Take();
    ASSERT_EQ(messages.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_EQ(messages[i].window, expected[i].window) << i;
      EXPECT_EQ(messages[i].kind, expected[i].kind) << i;
      EXPECT_EQ(messages[i].id, expected[i].id) << i;
    }
  }

  WindowHandle sheet = 0;
  WindowHandle first = 0;
  WindowHandle second = 0;
};

TEST_P(SheetContract, PagesAreDialogsOfTheSheet) {
  EXPECT_NE(sheet, 0u);
  EXPECT_NE(first, 0u);
  EXPECT_NE(second, first);
  EXPECT_EQ(user->Sheets().Page(sheet, 2), 0u);
  EXPECT_EQ(user->Sheets().Page(sheet, -1), 0u);
  EXPECT_EQ(user->Sheets().Page(first, 0), 0u);
  user->Dialogs().Write(first, kControlPageEdit, port::Text{u"Ann"});
  user->Dialogs().Write(second, kControlPageBox, port::Checked{true});
  EXPECT_EQ(user->Dialogs().Read(first, kControlPageEdit).text, u"Ann");
  EXPECT_TRUE(user->Dialogs().Read(second, kControlPageBox).checked) << "also behind another";
  EXPECT_EQ(user->Dialogs().Read(first, kControlPageBox).text, u"");
}

TEST_P(SheetContract, ComingAndGoingPagesAreTold) {
  ExpectExactly({});
  ShowSheet();
  ExpectExactly({OfPage(MessageKind::kPageShown, 0)});
  EXPECT_TRUE(user->ChoosePage(sheet, 1));
  ExpectExactly({OfPage(MessageKind::kPageLeft, 0), OfPage(MessageKind::kPageShown, 1)});
  user->Sheets().ShowPage(sheet, 0);
  ExpectExactly({OfPage(MessageKind::kPageLeft, 1), OfPage(MessageKind::kPageShown, 0)});
  user->Sheets().ShowPage(sheet, 0);
  user->Sheets().ShowPage(sheet, 2);
  user->Sheets().ShowPage(sheet, -1);
  ExpectExactly({});
}

TEST_P(SheetContract, BeginsWithThePageThatWasBroughtToTheFront) {
  user->Sheets().ShowPage(sheet, 1);
  ExpectExactly({});
  ShowSheet();
  ExpectExactly({OfPage(MessageKind::kPageShown, 1)});
}

TEST_P(SheetContract, WhatTheUserDoesInAPageIsThePages) {
  ShowSheet();
  Take();
  EXPECT_TRUE(user->Type(first, kControlPageEdit, u"Bob"));
  EXPECT_EQ(user->Dialogs().Read(first, kControlPageEdit).text, u"Bob");
  EXPECT_FALSE(user->Tick(second, kControlPageBox, true)) << "it is not in front";
  EXPECT_TRUE(user->ChoosePage(sheet, 1));
  Take();
  EXPECT_TRUE(user->Tick(second, kControlPageBox, true));
  EXPECT_TRUE(user->Dialogs().Read(second, kControlPageBox).checked);
  EXPECT_EQ(CountOf(Take(), {second, MessageKind::kCommand, kControlPageBox, 0, {}}), 1);
}

TEST_P(SheetContract, OkAndCancelAreToldAndLeaveTheSheetOpen) {
  ShowSheet();
  Take();
  user->PressReturn(sheet);
  user->PressEscape(sheet);
  user->CloseDialog(sheet);
  ExpectExactly({{sheet, MessageKind::kCommand, 1, 0, {}},
                 {sheet, MessageKind::kCommand, 2, 0, {}},
                 {sheet, MessageKind::kCommand, 2, 0, {}}});
  EXPECT_NE(user->Sheets().Page(sheet, 0), 0u);
}

TEST_P(SheetContract, PagesGoWithTheirSheet) {
  ShowSheet();
  user->Dialogs().Destroy(first);
  EXPECT_TRUE(user->Dialogs().Read(first, kControlPageEdit).visible) << "only with the sheet";
  user->Dialogs().Destroy(sheet);
  EXPECT_EQ(user->Sheets().Page(sheet, 0), 0u);
  EXPECT_FALSE(user->Dialogs().Read(first, kControlPageEdit).visible);
  EXPECT_FALSE(user->Queues().Exists(first));
  EXPECT_FALSE(user->Queues().Exists(sheet));
}

TEST_P(SheetContract, OnlyPagesMakeASheetAndNoPageIsADialog) {
  const std::array<port::SheetPage, 1> no_page{{{kDialogEveryKind, u"x"}}};
  const std::array<port::SheetPage, 2> unknown{{{kDialogFirstPage, u"x"}, {4711, u"y"}}};
  EXPECT_EQ(user->Sheets().Create(u"t", no_page, 0), 0u);
  EXPECT_EQ(user->Sheets().Create(u"t", unknown, 0), 0u);
  EXPECT_EQ(user->Sheets().Create(u"t", {}, 0), 0u);
  EXPECT_EQ(user->Dialogs().Create(kDialogFirstPage, 0, DialogKind::kModal), 0u);
}

std::string NameOf(const ::testing::TestParamInfo<Kind>& which) {
  return which.param == Kind::kFake ? "Fake" : "Qt";
}

INSTANTIATE_TEST_SUITE_P(Displays, ControlContract, ::testing::Values(Kind::kFake, Kind::kQt),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(Displays, SheetContract, ::testing::Values(Kind::kFake, Kind::kQt),
                         NameOf);

}  // namespace
}  // namespace quillet::qt
