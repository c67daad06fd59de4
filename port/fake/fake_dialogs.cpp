// A dialog begins with the values of its template. What the program writes and what the user does
// changes them; the program is told of presses and of what the user changed.
#include "port/fake/fake_dialogs.h"

#include <algorithm>
#include <utility>

#include "res/dialog_templates.h"
#include "res/resource.h"
#include "util/text.h"

namespace quillet::port {
namespace {

std::vector<ShownControl> ControlsOf(const DialogTemplate& form) {
  std::vector<ShownControl> controls;
  for (const ControlTemplate& from : form.controls) {
    ShownControl control;
    control.id = from.id;
    control.kind = from.kind;
    control.text = from.text;
    control.accessible_name = from.accessible_name;
    controls.push_back(std::move(control));
  }
  return controls;
}

// Milliseconds of real time; far more than a message takes.
constexpr int kHandledWithin = 5000;

}  // namespace

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

WindowHandle FakeDialogs::Create(std::uint32_t form, WindowHandle owner) {
  Dialog dialog;
  dialog.values.form = form;
  dialog.values.owner = owner;
  dialog.thread = std::this_thread::get_id();
  if (const DialogTemplate* found = FindDialogTemplate(form)) {
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
    handle = screen_.queues.AddWindow();
    dialog.values.handle = handle;
    dialogs_[handle] = std::move(dialog);
    screen_.AddDialog(handle, owner);
    screen_.Changed();
  }
  screen_.observer().OnDialogCreated(handle, form);
  return handle;
}

void FakeDialogs::Show(WindowHandle dialog) {
  std::function<void(WindowHandle)> act;
  {
    const auto lock = screen_.Locked();
    Dialog* open = FindOpen(dialog);
    if (open == nullptr || open->values.shown) return;
    open->values.shown = true;
    screen_.ShowDialog(dialog);
    const std::uint32_t form = open->values.form;
    const auto action = std::find_if(show_actions_.begin(), show_actions_.end(),
                                     [&](const ShowAction& one) { return one.form == form; });
    if (action != show_actions_.end()) {
      act = std::move(action->act);
      show_actions_.erase(action);
    }
    PressAwaitedCancel(*open);
    screen_.Changed();
  }
  screen_.observer().OnDialogShown(dialog);
  if (act) act(dialog);
}

void FakeDialogs::Destroy(WindowHandle dialog) {
  {
    const auto lock = screen_.Locked();
    if (dialogs_.erase(dialog) == 0) return;
    screen_.RemoveDialog(dialog);
    screen_.queues.RemoveWindow(dialog);
    if (cancelled_ == dialog) cancelled_ = 0;
    screen_.Changed();
  }
  screen_.observer().OnDialogDestroyed(dialog);
}

void FakeDialogs::NoteProgressText(const Dialog& dialog, const ProgressText& text) {
  if (dialog.values.form != kDialogProgress) return;
  if (text.control != kControlProgressTitle && text.control != kControlProgressDetail) return;
  progress_texts_.push_back(text);
  if (cancel_in_ && *cancel_in_ > 0) --*cancel_in_;
  PressAwaitedCancel(dialog);
}

void FakeDialogs::PressAwaitedCancel(const Dialog& dialog) {
  if (dialog.values.form != kDialogProgress || !dialog.values.shown) return;
  if (!cancel_in_ || *cancel_in_ > 0) return;
  cancel_in_.reset();
  cancelled_ = dialog.values.handle;
  screen_.queues.Post({cancelled_, MessageKind::kCommand, kControlCancel, 0, {}});
}

void FakeDialogs::CancelProgressAfter(int n) {
  const auto lock = screen_.Locked();
  cancel_in_ = std::max(n, 0);
  for (const auto& entry : dialogs_) PressAwaitedCancel(entry.second);
}

// Lets the dialog's thread handle a Cancel that was pressed, so that what the calling thread does
// next comes after it.
void FakeDialogs::AwaitCancelHandled(WindowHandle dialog) {
  std::thread::id thread;
  {
    const auto lock = screen_.Locked();
    const Dialog* open = FindOpen(dialog);
    if (cancelled_ != dialog || open == nullptr) return;
    thread = open->thread;
    if (thread == std::this_thread::get_id()) return;
    cancelled_ = 0;
  }
  screen_.queues.WaitIdle(thread, kHandledWithin);
}

void FakeDialogs::SetText(WindowHandle dialog, std::uint32_t control, std::u16string_view text) {
  {
    const auto lock = screen_.Locked();
    Dialog* open = FindOpen(dialog);
    if (open == nullptr) return;
    ShownControl* shown = FindControl(*open, control, true);
    if (shown == nullptr) return;
    shown->text = text;
    NoteProgressText(*open, {control, std::u16string(text)});
    screen_.Changed();
  }
  screen_.observer().OnControlText(dialog, control, text);
  AwaitCancelHandled(dialog);
}

std::u16string FakeDialogs::GetText(WindowHandle dialog, std::uint32_t control) {
  const auto lock = screen_.Locked();
  Dialog* open = FindOpen(dialog);
  const ShownControl* shown = open ? FindControl(*open, control, false) : nullptr;
  return shown ? shown->text : std::u16string();
}

template <class Change>
void FakeDialogs::ChangeControl(WindowHandle dialog, std::uint32_t control, const Change& change) {
  {
    const auto lock = screen_.Locked();
    Dialog* open = FindOpen(dialog);
    if (open == nullptr) return;
    ShownControl* shown = FindControl(*open, control, true);
    if (shown == nullptr) return;
    change(*shown);
    screen_.Changed();
  }
  screen_.observer().OnControlChanged(dialog, control);
  AwaitCancelHandled(dialog);
}

void FakeDialogs::SetChecked(WindowHandle dialog, std::uint32_t control, bool checked) {
  ChangeControl(dialog, control, [&](ShownControl& shown) { shown.checked = checked; });
}

bool FakeDialogs::IsChecked(WindowHandle dialog, std::uint32_t control) {
  const auto lock = screen_.Locked();
  Dialog* open = FindOpen(dialog);
  const ShownControl* shown = open ? FindControl(*open, control, false) : nullptr;
  return shown != nullptr && shown->checked;
}

void FakeDialogs::ShowControl(WindowHandle dialog, std::uint32_t control, bool visible) {
  ChangeControl(dialog, control, [&](ShownControl& shown) { shown.visible = visible; });
}

// Whether the control is of that kind, or of no known one; a failure else. True when there is no
// such control: a write to it does nothing.
bool FakeDialogs::CheckKind(const char* operation, WindowHandle dialog, std::uint32_t control,
                            ControlKind kind) {
  {
    const auto lock = screen_.Locked();
    Dialog* open = FindOpen(dialog);
    const ShownControl* shown = open ? FindControl(*open, control, false) : nullptr;
    if (shown == nullptr || !open->has_template || shown->kind == kind) return true;
  }
  screen_.on_failure("display: " + std::string(operation) + " of control " +
                     std::to_string(control));
  return false;
}

void FakeDialogs::SetChoices(WindowHandle dialog, std::uint32_t control,
                             const std::vector<std::u16string>& items) {
  if (!CheckKind("SetChoices", dialog, control, ControlKind::kDropDown)) return;
  ChangeControl(dialog, control, [&](ShownControl& shown) {
    shown.choices = items;
    shown.choice = items.empty() ? -1 : 0;
  });
}

void FakeDialogs::SetChoice(WindowHandle dialog, std::uint32_t control, int index) {
  if (!CheckKind("SetChoice", dialog, control, ControlKind::kDropDown)) return;
  bool outside = false;
  ChangeControl(dialog, control, [&](ShownControl& shown) {
    const int count = static_cast<int>(shown.choices.size());
    outside = index >= count || index < (count == 0 ? -1 : 0);
    if (!outside) shown.choice = index;
  });
  if (outside) screen_.on_failure("display: no choice " + std::to_string(index));
}

int FakeDialogs::Choice(WindowHandle dialog, std::uint32_t control) {
  const auto lock = screen_.Locked();
  Dialog* open = FindOpen(dialog);
  const ShownControl* shown = open ? FindControl(*open, control, false) : nullptr;
  return shown != nullptr ? shown->choice : -1;
}

void FakeDialogs::SelectText(WindowHandle dialog, std::uint32_t control) {
  if (!CheckKind("SelectText", dialog, control, ControlKind::kEdit)) return;
  {
    const auto lock = screen_.Locked();
    Dialog* open = FindOpen(dialog);
    if (open == nullptr || FindControl(*open, control, false) == nullptr) return;
    for (ShownControl& one : open->values.controls) {
      one.text_selected = one.id == control;
    }
    screen_.Changed();
  }
  screen_.observer().OnControlChanged(dialog, control);
}

void FakeDialogs::SetProgressRange(WindowHandle dialog, std::uint32_t control, int upper) {
  if (upper < 1 || upper > 65535) {
    screen_.on_failure("display: a progress range of " + std::to_string(upper));
  }
  ChangeControl(dialog, control, [&](ShownControl& shown) {
    shown.upper = std::clamp(upper, 1, 65535);
    shown.position = std::min(shown.position, shown.upper);
  });
}

void FakeDialogs::SetProgressPosition(WindowHandle dialog, std::uint32_t control, int position) {
  ChangeControl(dialog, control, [&](ShownControl& shown) {
    shown.position = std::clamp(position, 0, shown.upper);
  });
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
      if (control.id == id && control.visible) return id;
    }
  }
  return dialog.has_template ? 0 : kControlOk;
}

bool FakeDialogs::PressDialogKey(WindowHandle dialog, std::uint32_t virtual_key) {
  const Dialog* open = FindOpen(dialog);
  std::uint32_t button = 0;
  if (open != nullptr && virtual_key == kKeyEscape) button = kControlCancel;
  if (open != nullptr && virtual_key == kKeyReturn) button = DefaultButton(*open);
  if (button == 0) return false;
  screen_.queues.Post({dialog, MessageKind::kCommand, button, 0, {}});
  return true;
}

// The control when the user can use it as one of that kind now, else null. A control that no form
// describes can be used as any.
ShownControl* FakeDialogs::UsableControl(WindowHandle dialog, std::uint32_t control,
                                         ControlKind kind) {
  Dialog* open = FindOpen(dialog);
  if (open == nullptr || !screen_.TakesInputLocked(dialog)) return nullptr;
  ShownControl* shown = FindControl(*open, control, true);
  if (shown == nullptr || !shown->visible) return nullptr;
  return !open->has_template || shown->kind == kind ? shown : nullptr;
}

bool FakeDialogs::Press(WindowHandle dialog, std::uint32_t control) {
  const auto lock = screen_.Locked();
  if (UsableControl(dialog, control, ControlKind::kButton) == nullptr) return false;
  screen_.queues.Post({dialog, MessageKind::kCommand, control, 0, {}});
  return true;
}

bool FakeDialogs::Type(WindowHandle dialog, std::uint32_t control, std::u16string_view text) {
  const auto lock = screen_.Locked();
  ShownControl* shown = UsableControl(dialog, control, ControlKind::kEdit);
  if (shown == nullptr) return false;
  shown->text = text;
  shown->text_selected = false;
  screen_.Changed();
  return true;
}

bool FakeDialogs::Tick(WindowHandle dialog, std::uint32_t control, bool checked) {
  const auto lock = screen_.Locked();
  ShownControl* shown = UsableControl(dialog, control, ControlKind::kCheckBox);
  if (shown == nullptr) return false;
  if (shown->checked != checked) {
    shown->checked = checked;
    screen_.queues.Post({dialog, MessageKind::kCommand, control, 0, {}});
  }
  screen_.Changed();
  return true;
}

bool FakeDialogs::Choose(WindowHandle dialog, std::uint32_t control, int index) {
  const auto lock = screen_.Locked();
  ShownControl* shown = UsableControl(dialog, control, ControlKind::kDropDown);
  if (shown == nullptr || index < 0) return false;
  if (static_cast<std::size_t>(index) >= shown->choices.size()) return false;
  if (shown->choice != index) {
    shown->choice = index;
    screen_.queues.Post({dialog, MessageKind::kCommand, control, 0, {}});
  }
  screen_.Changed();
  return true;
}

bool FakeDialogs::CloseDialog(WindowHandle dialog) {
  const auto lock = screen_.Locked();
  if (FindOpen(dialog) == nullptr || !screen_.TakesInputLocked(dialog)) return false;
  screen_.queues.Post({dialog, MessageKind::kCommand, kControlCancel, 0, {}});
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
