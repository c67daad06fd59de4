// SPDX-License-Identifier: GPL-3.0-or-later
// A dialog begins with the values of its template. What the program writes and what the user does
// changes them; the program is told of presses and of what the user changed.
#include "port/fake/fake_dialogs.h"

#include <algorithm>
#include <utility>

#include "port/fake/fake_controls.h"
#include "res/dialog_templates.h"
#include "res/resource.h"
#include "util/text.h"

namespace quillet::port {

FakeDialogs::FakeDialogs(FakeScreen& screen)
    : screen_(screen), cancel_(screen.queues, [&screen](WindowHandle dialog, std::uint32_t) {
        screen.queues.Post({dialog, MessageKind::kCommand, kControlCancel, 0, {}});
        return true;
      }) {}

FakeDialogs::Dialog* FakeDialogs::FindOpen(WindowHandle dialog) {
  const auto found = dialogs_.find(dialog);
  return found == dialogs_.end() ? nullptr : &found->second;
}

const FakeDialogs::Dialog* FakeDialogs::FindOpen(WindowHandle dialog) const {
  const auto found = dialogs_.find(dialog);
  return found == dialogs_.end() ? nullptr : &found->second;
}

// Null when there is no such control. A dialog of unknown controls gets it when `add` is set.
ShownControl* FakeDialogs::FindControl(Dialog& dialog, std::uint32_t control, bool add) {
  if (control == 0) return nullptr;  // labels cannot be named
  auto& controls = dialog.values.controls;
  const auto found = std::find_if(controls.begin(), controls.end(),
                                  [&](const ShownControl& one) { return one.id == control; });
  if (found != controls.end()) return &*found;
  if (!add || dialog.has_template) return nullptr;
  ShownControl fresh;
  fresh.id = control;
  controls.push_back(std::move(fresh));
  return &controls.back();
}

// --- the service ---

WindowHandle FakeDialogs::Create(std::uint32_t form, WindowHandle owner, DialogKind kind) {
  const DialogTemplate* found = FindDialogTemplate(form);
  if (found != nullptr && found->is_page) return 0;
  Dialog dialog;
  dialog.values.form = form;
  dialog.values.owner = owner;
  dialog.values.kind = kind;
  if (found != nullptr) {
    dialog.has_template = true;
    dialog.values.caption = found->caption;
    dialog.values.controls = ControlsOf(*found);
  }
  WindowHandle handle = 0;
  {
    const auto lock = screen_.Locked();
    if (failing_dialogs_ > 0) {
      --failing_dialogs_;
      return 0;
    }
    if (screen_.gone) return 0;
    handle = Add(std::move(dialog));
    watches_.Add(handle);
    if (form == kDialogProgress) cancel_.DialogCreated(handle);
    screen_.AddDialog(handle, owner, kind);
  }
  screen_.observer().OnDialogCreated(handle, form);
  return handle;
}

// Locked.
WindowHandle FakeDialogs::Add(Dialog dialog) {
  const WindowHandle handle = screen_.queues.AddWindow();
  dialog.values.handle = handle;
  dialogs_[handle] = std::move(dialog);
  screen_.Changed();
  return handle;
}

void FakeDialogs::Show(WindowHandle dialog) {
  std::function<void(WindowHandle)> act;
  {
    const auto lock = screen_.Locked();
    Dialog* open = FindOpen(dialog);
    if (open == nullptr || open->values.sheet != 0) return;
    const bool shown = std::exchange(open->values.shown, true);
    if (shown && open->values.kind == DialogKind::kWindow) screen_.ShowDialog(dialog);
    if (shown) return;
    screen_.ShowDialog(dialog);
    if (!open->values.pages.empty()) BringPageLocked(*open, open->values.page);
    const std::uint32_t form = open->values.form;
    const auto action = std::find_if(show_actions_.begin(), show_actions_.end(),
                                     [&](const ShowAction& one) { return one.form == form; });
    if (action != show_actions_.end()) {
      act = std::move(action->act);
      show_actions_.erase(action);
    }
    cancel_.DialogShown(dialog);
    screen_.Changed();
  }
  screen_.observer().OnDialogShown(dialog);
  if (act) act(dialog);
}

void FakeDialogs::Destroy(WindowHandle dialog) {
  {
    const auto lock = screen_.Locked();
    const Dialog* open = FindOpen(dialog);
    if (open == nullptr || open->values.sheet != 0) return;
    for (const WindowHandle page : open->values.pages) {
      dialogs_.erase(page);
      screen_.queues.RemoveWindow(page);
    }
    dialogs_.erase(dialog);
    screen_.RemoveDialog(dialog);
    screen_.queues.RemoveWindow(dialog);
    cancel_.DialogDestroyed(dialog);
    screen_.Changed();
  }
  watches_.Remove(dialog);
  screen_.observer().OnDialogDestroyed(dialog);
}

// --- sheets ---

WindowHandle FakeDialogs::CreateSheet(std::u16string_view title, std::span<const SheetPage> pages,
                                      WindowHandle owner) {
  std::vector<Dialog> page_dialogs;
  for (const SheetPage& page : pages) {
    const DialogTemplate* form = FindDialogTemplate(page.form);
    if (form == nullptr || !form->is_page) return 0;
    Dialog& dialog = page_dialogs.emplace_back();
    dialog.has_template = true;
    dialog.values.form = page.form;
    dialog.values.caption = page.caption;
    dialog.values.controls = ControlsOf(*form);
  }
  Dialog sheet;
  sheet.has_template = true;
  sheet.values.caption = title;
  sheet.values.owner = owner;
  for (const auto& [id, text] : {std::pair{kControlOk, u"OK"}, {kControlCancel, u"Cancel"}}) {
    ShownControl& button = sheet.values.controls.emplace_back();
    button.id = id;
    button.kind = ControlKind::kButton;
    button.text = button.accessible_name = text;
  }
  const auto lock = screen_.Locked();
  if (failing_dialogs_ > 0 || screen_.gone || pages.empty()) {
    failing_dialogs_ = std::max(failing_dialogs_ - 1, 0);
    return 0;
  }
  const WindowHandle handle = Add(std::move(sheet));
  for (Dialog& page : page_dialogs) {
    page.values.sheet = page.values.owner = handle;
    dialogs_[handle].values.pages.push_back(Add(std::move(page)));
  }
  screen_.AddDialog(handle, owner, DialogKind::kModal);
  return handle;
}

bool FakeDialogs::BringPage(WindowHandle sheet, int page) {
  const auto lock = screen_.Locked();
  Dialog* open = FindOpen(sheet);
  if (open == nullptr || page < 0) return false;
  if (static_cast<std::size_t>(page) >= open->values.pages.size()) return false;
  if (page != open->values.page) BringPageLocked(*open, page);
  return true;
}

// Nothing is told of a sheet that is not shown yet.
void FakeDialogs::BringPageLocked(Dialog& sheet, int page) {
  ShownDialog& values = sheet.values;
  const auto tell = [&](MessageKind kind, int about) {
    screen_.queues.Post({values.handle, kind, static_cast<std::uint32_t>(about), 0, {}});
  };
  if (values.shown && page != values.page) tell(MessageKind::kPageLeft, values.page);
  values.page = page;
  for (const WindowHandle one : values.pages) {
    const bool in_front = one == values.pages[static_cast<std::size_t>(page)];
    dialogs_[one].values.shown = values.shown && in_front;
  }
  if (values.shown) tell(MessageKind::kPageShown, page);
  screen_.Changed();
}

// --- progress ---

void FakeDialogs::NoteProgressText(const Dialog& dialog, const ProgressText& text) {
  if (dialog.values.form != kDialogProgress) return;
  if (text.control != kControlProgressTitle && text.control != kControlProgressDetail) return;
  progress_texts_.push_back(text);
  cancel_.NoteChange(dialog.values.handle);
}

void FakeDialogs::CancelProgressAfter(int n) {
  cancel_.Arm(static_cast<std::uint32_t>(std::max(n, 0)));
}

// --- controls ---

void FakeDialogs::WriteMany(WindowHandle dialog, std::vector<ControlWrite> writes) {
  for (const ControlWrite& write : writes) Write(dialog, write);
}

void FakeDialogs::Write(WindowHandle dialog, const ControlWrite& write) {
  const auto* text = std::get_if<Text>(&write.value);
  std::string problem;
  {
    const auto lock = screen_.Locked();
    Dialog* open = FindOpen(dialog);
    if (open == nullptr) return;
    ShownControl* shown = FindControl(*open, write.control, true);
    if (shown == nullptr) return;
    problem = WriteShown(open->values.controls, *shown, write.value);
    if (text != nullptr) NoteProgressText(*open, {write.control, text->text});
    screen_.Changed();
  }
  if (!problem.empty()) screen_.on_failure("display: " + problem);
  if (text != nullptr) {
    screen_.observer().OnControlText(dialog, write.control, text->text);
  } else {
    screen_.observer().OnControlChanged(dialog, write.control);
  }
  cancel_.AwaitHandled(dialog);
}

void FakeDialogs::WatchEdits(WindowHandle dialog, std::function<void()> edited) {
  watches_.Watch(dialog, std::move(edited));
}

ControlState FakeDialogs::Read(WindowHandle dialog, std::uint32_t control) {
  const auto lock = screen_.Locked();
  Dialog* open = FindOpen(dialog);
  const ShownControl* shown = open ? FindControl(*open, control, false) : nullptr;
  return shown != nullptr ? StateOf(*shown) : ControlState();
}

std::map<std::uint32_t, ControlState> FakeDialogs::ReadAll(WindowHandle dialog) {
  const auto lock = screen_.Locked();
  const Dialog* open = FindOpen(dialog);
  std::map<std::uint32_t, ControlState> states;
  if (open == nullptr) return states;
  for (const ShownControl& one : open->values.controls) {
    if (one.id != 0) states[one.id] = StateOf(one);
  }
  return states;
}

// --- what is shown ---

std::vector<FakeDialogs::ProgressText> FakeDialogs::progress_texts() const {
  const auto lock = screen_.Locked();
  return progress_texts_;
}

void FakeDialogs::ForgetProgressTexts() {
  const auto lock = screen_.Locked();
  progress_texts_.clear();
}

std::vector<ShownDialog> FakeDialogs::dialogs() const {
  const auto lock = screen_.Locked();
  std::vector<ShownDialog> all;
  for (const auto& entry : dialogs_) all.push_back(entry.second.values);
  return all;
}

std::optional<ShownDialog> FakeDialogs::FindDialog(WindowHandle dialog) const {
  const auto lock = screen_.Locked();
  const Dialog* open = FindOpen(dialog);
  if (open == nullptr) return std::nullopt;
  return open->values;
}

std::optional<ShownControl> FakeDialogs::Control(WindowHandle dialog, std::uint32_t control) const {
  const auto lock = screen_.Locked();
  const Dialog* open = FindOpen(dialog);
  if (open == nullptr) return std::nullopt;
  for (const ShownControl& one : open->values.controls) {
    if (one.id == control) return one;
  }
  return std::nullopt;
}

WindowHandle FakeDialogs::DialogOfForm(std::uint32_t form) const {
  const auto lock = screen_.Locked();
  WindowHandle newest = 0;
  for (const auto& [handle, dialog] : dialogs_) {
    if (dialog.values.form == form) newest = handle;
  }
  return newest;
}

WindowHandle FakeDialogs::WaitForDialog(std::uint32_t form, int timeout_ms) const {
  WindowHandle found = 0;
  screen_.WaitUntil(
      [&] {
        const WindowHandle dialog = DialogOfForm(form);
        const auto shown = FindDialog(dialog);
        if (shown && shown->shown) found = dialog;
        return found != 0;
      },
      timeout_ms);
  return found;
}

std::uint32_t FakeDialogs::DefaultButton(const Dialog& dialog) const {
  for (const std::uint32_t id : {kControlOk, kControlCancel}) {
    for (const ShownControl& control : dialog.values.controls) {
      if (control.id == id && control.visible && !control.never_default) return id;
    }
  }
  return dialog.has_template ? 0 : kControlOk;
}

// Return ends a line in an edit of several; then it is no button's.
bool FakeDialogs::EndLine(Dialog& dialog) {
  auto& controls = dialog.values.controls;
  const auto lines = std::ranges::find_if(controls, [](const ShownControl& one) {
    return one.focused && one.kind == ControlKind::kMultiLineEdit && one.visible && one.enabled;
  });
  if (lines == controls.end()) return false;
  InsertInto(controls, *lines, u"\r\n");
  screen_.queues.Post({dialog.values.handle, MessageKind::kTextEdited, lines->id, 0, {}});
  return true;
}

void FakeDialogs::PressDialogKey(WindowHandle dialog, std::uint32_t virtual_key,
                                 std::uint32_t modifiers) {
  Dialog* open = FindOpen(dialog);
  if (open == nullptr) return;
  const bool window = open->values.kind == DialogKind::kWindow;
  const bool enter = virtual_key == kKeyReturn;
  std::uint32_t button = 0;
  if (modifiers == 0 && virtual_key == kKeyEscape) button = kControlCancel;
  if (modifiers == 0 && enter && !EndLine(*open)) button = DefaultButton(*open);
  if (window && modifiers == kModifierControl && enter) button = kControlOk;
  if (button != 0) screen_.queues.Post({dialog, MessageKind::kCommand, button, 0, {}});
}

// --- what the user does ---

// A page has the input that its sheet has, while it is in front.
bool FakeDialogs::DialogTakesInput(WindowHandle dialog) const {
  const Dialog* open = FindOpen(dialog);
  if (open == nullptr) return false;
  const WindowHandle sheet = open->values.sheet;
  if (sheet != 0 && !open->values.shown) return false;
  return screen_.TakesInputLocked(sheet != 0 ? sheet : dialog);
}

// The control when the user can use it as one of these kinds now, else null. A control that no form
// describes can be used as any.
ShownControl* FakeDialogs::UsableControl(WindowHandle dialog, std::uint32_t control, Kinds kinds) {
  if (!DialogTakesInput(dialog)) return nullptr;
  Dialog* open = FindOpen(dialog);
  ShownControl* shown = FindControl(*open, control, true);
  if (shown == nullptr || !shown->visible || !shown->enabled) return nullptr;
  const bool fits = std::find(kinds.begin(), kinds.end(), shown->kind) != kinds.end();
  return !open->has_template || fits ? shown : nullptr;
}

ShownControl* FakeDialogs::UsableRow(WindowHandle dialog, std::uint32_t control, int row,
                                     Kinds kinds) {
  ShownControl* shown = UsableControl(dialog, control, kinds);
  const bool there = shown != nullptr && row >= 0 && std::cmp_less(row, shown->rows.size());
  return there ? shown : nullptr;
}

void FakeDialogs::Command(WindowHandle dialog, std::uint32_t control) {
  screen_.queues.Post({dialog, MessageKind::kCommand, control, 0, {}});
  screen_.Changed();
}

bool FakeDialogs::Press(WindowHandle dialog, std::uint32_t control) {
  const auto lock = screen_.Locked();
  if (UsableControl(dialog, control, {ControlKind::kButton}) == nullptr) return false;
  Command(dialog, control);
  return true;
}

ShownControl* FakeDialogs::UsableEdit(WindowHandle dialog, std::uint32_t control) {
  return UsableControl(dialog, control,
                       {ControlKind::kEdit, ControlKind::kMultiLineEdit, ControlKind::kPassword,
                        ControlKind::kEditableDropDown});
}

bool FakeDialogs::Type(WindowHandle dialog, std::uint32_t control, std::u16string_view text) {
  Act act(*this, dialog);
  ShownControl* shown = UsableEdit(dialog, control);
  if (shown == nullptr) return false;
  act.edited = true;
  TypeInto(FindOpen(dialog)->values.controls, *shown, text);
  screen_.queues.Post({dialog, MessageKind::kTextEdited, control, 0, {}});
  screen_.Changed();
  return true;
}

bool FakeDialogs::TypeAtCaret(WindowHandle dialog, std::uint32_t control,
                              std::u16string_view text) {
  Act act(*this, dialog);
  ShownControl* shown = UsableEdit(dialog, control);
  if (shown == nullptr) return false;
  act.edited = true;
  InsertInto(FindOpen(dialog)->values.controls, *shown, text);
  screen_.queues.Post({dialog, MessageKind::kTextEdited, control, 0, {}});
  screen_.Changed();
  return true;
}

bool FakeDialogs::PlaceCaret(WindowHandle dialog, std::uint32_t control, std::size_t caret,
                             std::size_t selected) {
  const auto lock = screen_.Locked();
  ShownControl* shown = UsableEdit(dialog, control);
  if (shown == nullptr) return false;
  auto& controls = FindOpen(dialog)->values.controls;
  WriteShown(controls, *shown, TextState{caret, selected, shown->text_state.changed});
  FocusShown(controls, *shown);
  screen_.Changed();
  return true;
}

bool FakeDialogs::Tick(WindowHandle dialog, std::uint32_t control, bool checked) {
  Act act(*this, dialog);
  ShownControl* shown =
      UsableControl(dialog, control, {ControlKind::kCheckBox, ControlKind::kRadioButton});
  if (shown == nullptr) return false;
  if (shown->kind == ControlKind::kRadioButton && !checked) return false;  // another is ticked
  if (shown->checked == checked) return true;
  act.edited = true;
  CheckShown(FindOpen(dialog)->values.controls, *shown, checked);
  Command(dialog, control);
  return true;
}

// Locked. In a list any choice is a click, in a drop-down list only another one.
void FakeDialogs::ChooseLocked(WindowHandle dialog, ShownControl& control, int index) {
  if (control.choice == index && control.kind != ControlKind::kEditableDropDown) return;
  WriteShown(FindOpen(dialog)->values.controls, control, ControlValue(port::Choice{index}));
  Command(dialog, control.id);
}

// Locked.
void FakeDialogs::TapLocked(WindowHandle dialog, ShownControl& list, int row) {
  const bool opens = list.tap_opens && list.tapped == row && list.choice == row;
  list.tapped = row;
  ChooseLocked(dialog, list, row);
  if (!opens) return;
  screen_.queues.Post(
      {dialog, MessageKind::kItemActivated, static_cast<std::uint32_t>(row), 0, {}, list.id});
}

bool FakeDialogs::Choose(WindowHandle dialog, std::uint32_t control, int index) {
  Act act(*this, dialog);
  if (ShownControl* list =
          UsableRow(dialog, control, index, {ControlKind::kList, ControlKind::kCheckList})) {
    act.edited = true;
    TapLocked(dialog, *list, index);
    return true;
  }
  ShownControl* shown =
      UsableControl(dialog, control, {ControlKind::kDropDown, ControlKind::kEditableDropDown});
  if (shown == nullptr || index < 0 || std::cmp_greater_equal(index, shown->choices.size())) {
    return false;
  }
  act.edited = true;
  ChooseLocked(dialog, *shown, index);
  return true;
}

bool FakeDialogs::Slide(WindowHandle dialog, std::uint32_t control, int position) {
  Act act(*this, dialog);
  ShownControl* shown = UsableControl(dialog, control, {ControlKind::kSlider});
  if (shown == nullptr || position < shown->lower || position > shown->upper) return false;
  if (std::exchange(shown->position, position) == position) return true;
  act.edited = true;
  Command(dialog, control);
  return true;
}

bool FakeDialogs::PickTime(WindowHandle dialog, std::uint32_t control, TimeOfDay time) {
  Act act(*this, dialog);
  ShownControl* shown = UsableControl(dialog, control, {ControlKind::kTimePicker});
  if (shown == nullptr) return false;
  ShownControl picked = *shown;
  WriteShown(FindOpen(dialog)->values.controls, picked, ControlValue(time));
  if (picked.time != time) return false;
  if (std::exchange(shown->time, time) == time) return true;
  act.edited = true;
  Command(dialog, control);
  return true;
}

bool FakeDialogs::TickListRow(WindowHandle dialog, std::uint32_t control, int row, bool checked) {
  Act act(*this, dialog);
  ShownControl* shown = UsableRow(dialog, control, row, {ControlKind::kCheckList});
  if (shown == nullptr) return false;
  act.edited = true;
  ChooseLocked(dialog, *shown, row);
  bool& box = shown->rows[static_cast<std::size_t>(row)].checked;
  if (std::exchange(box, checked) == checked) return true;
  screen_.queues.Post({dialog,
                       MessageKind::kRowChecked,
                       static_cast<std::uint32_t>(row),
                       checked ? 1U : 0U,
                       {},
                       control});
  screen_.Changed();
  return true;
}

bool FakeDialogs::ActivateListRow(WindowHandle dialog, std::uint32_t control, int row) {
  Act act(*this, dialog);
  ShownControl* shown =
      UsableRow(dialog, control, row, {ControlKind::kList, ControlKind::kCheckList});
  if (shown == nullptr) return false;
  act.edited = true;
  shown->tapped = row;
  ChooseLocked(dialog, *shown, row);
  screen_.queues.Post(
      {dialog, MessageKind::kItemActivated, static_cast<std::uint32_t>(row), 0, {}, control});
  return true;
}

bool FakeDialogs::AskListMenu(WindowHandle dialog, std::uint32_t control, int row) {
  Act act(*this, dialog);
  ShownControl* shown =
      UsableRow(dialog, control, row, {ControlKind::kList, ControlKind::kCheckList});
  if (shown == nullptr) return false;
  act.edited = true;
  ChooseLocked(dialog, *shown, row);
  screen_.queues.Post(
      {dialog, MessageKind::kContextMenu, static_cast<std::uint32_t>(row), 0, {}, control});
  return true;
}

bool FakeDialogs::ChoosePage(WindowHandle sheet, int page) {
  {
    const auto lock = screen_.Locked();
    if (!DialogTakesInput(sheet)) return false;
  }
  return BringPage(sheet, page);
}

bool FakeDialogs::CloseDialog(WindowHandle dialog) {
  const auto lock = screen_.Locked();
  if (FindOpen(dialog) == nullptr || !screen_.TakesInputLocked(dialog)) return false;
  Command(dialog, kControlCancel);
  return true;
}

void FakeDialogs::WhenShown(std::uint32_t form, std::function<void(WindowHandle)> act) {
  const auto lock = screen_.Locked();
  show_actions_.push_back({form, std::move(act)});
}

void FakeDialogs::Verify() {
  std::deque<ShowAction> left_over;
  {
    const auto lock = screen_.Locked();
    left_over = std::exchange(show_actions_, {});
  }
  for (const ShowAction& one : left_over) {
    screen_.on_failure("display: the announced dialog was never shown: " +
                       std::to_string(one.form));
  }
}

void FakeDialogs::FailNextDialog(int count) {
  const auto lock = screen_.Locked();
  failing_dialogs_ = count;
}

}  // namespace quillet::port
