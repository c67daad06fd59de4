// What the program calls: dialogs and their controls.
#include <algorithm>
#include <utility>

#include "port/fake/fake_display.h"
#include "res/dialog_templates.h"
#include "res/resource.h"

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

FakeDisplay::Dialog* FakeDisplay::FindOpen(WindowHandle dialog) {
  const auto found = dialogs_.find(dialog);
  return found == dialogs_.end() ? nullptr : &found->second;
}

const FakeDisplay::Dialog* FakeDisplay::FindOpen(WindowHandle dialog) const {
  const auto found = dialogs_.find(dialog);
  return found == dialogs_.end() ? nullptr : &found->second;
}

// Null when there is no such control. A dialog of unknown controls gets it when `add` is set.
ShownControl* FakeDisplay::FindControl(Dialog& dialog, std::uint32_t control, bool add) {
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

WindowHandle FakeDisplay::Create(std::uint32_t form, WindowHandle owner) {
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
    const Lock lock(mutex_);
    if (failing_dialogs_ > 0) {
      --failing_dialogs_;
      return 0;
    }
    if (gone_) return 0;
    handle = queues_.AddWindow();
    dialog.values.handle = handle;
    dialogs_[handle] = std::move(dialog);
    Changed();
  }
  observer().OnDialogCreated(handle, form);
  return handle;
}

void FakeDisplay::Show(WindowHandle dialog) {
  std::function<void(WindowHandle)> act;
  {
    const Lock lock(mutex_);
    Dialog* open = FindOpen(dialog);
    if (open == nullptr || open->values.shown) return;
    open->values.shown = true;
    open->shown_at = ++last_shown_;
    const std::uint32_t form = open->values.form;
    const auto action = std::find_if(show_actions_.begin(), show_actions_.end(),
                                     [&](const ShowAction& one) { return one.form == form; });
    if (action != show_actions_.end()) {
      act = std::move(action->act);
      show_actions_.erase(action);
    }
    PressAwaitedCancel(*open);
    Changed();
  }
  observer().OnDialogShown(dialog);
  if (act) act(dialog);
}

void FakeDisplay::Destroy(WindowHandle dialog) {
  {
    const Lock lock(mutex_);
    if (dialogs_.erase(dialog) == 0) return;
    queues_.RemoveWindow(dialog);
    if (cancelled_ == dialog) cancelled_ = 0;
    Changed();
  }
  observer().OnDialogDestroyed(dialog);
}

void FakeDisplay::NoteProgressText(const Dialog& dialog, const ProgressText& text) {
  if (dialog.values.form != kDialogProgress) return;
  if (text.control != kControlProgressTitle && text.control != kControlProgressDetail) return;
  progress_texts_.push_back(text);
  if (cancel_in_ && *cancel_in_ > 0) --*cancel_in_;
  PressAwaitedCancel(dialog);
}

void FakeDisplay::PressAwaitedCancel(const Dialog& dialog) {
  if (dialog.values.form != kDialogProgress || !dialog.values.shown) return;
  if (!cancel_in_ || *cancel_in_ > 0) return;
  cancel_in_.reset();
  cancelled_ = dialog.values.handle;
  queues_.Post({cancelled_, MessageKind::kCommand, kControlCancel, 0, {}});
}

void FakeDisplay::CancelProgressAfter(int n) {
  const Lock lock(mutex_);
  cancel_in_ = std::max(n, 0);
  for (const auto& entry : dialogs_) PressAwaitedCancel(entry.second);
}

// Lets the dialog's thread handle a Cancel that was pressed, so that what the calling thread does
// next comes after it.
void FakeDisplay::AwaitCancelHandled(WindowHandle dialog) {
  std::thread::id thread;
  {
    const Lock lock(mutex_);
    const Dialog* open = FindOpen(dialog);
    if (cancelled_ != dialog || open == nullptr) return;
    thread = open->thread;
    if (thread == std::this_thread::get_id()) return;
    cancelled_ = 0;
  }
  queues_.WaitIdle(thread, kHandledWithin);
}

void FakeDisplay::SetText(WindowHandle dialog, std::uint32_t control, std::u16string_view text) {
  {
    const Lock lock(mutex_);
    Dialog* open = FindOpen(dialog);
    if (open == nullptr) return;
    ShownControl* shown = FindControl(*open, control, true);
    if (shown == nullptr) return;
    shown->text = text;
    NoteProgressText(*open, {control, std::u16string(text)});
    Changed();
  }
  observer().OnControlText(dialog, control, text);
  AwaitCancelHandled(dialog);
}

std::u16string FakeDisplay::GetText(WindowHandle dialog, std::uint32_t control) {
  const Lock lock(mutex_);
  Dialog* open = FindOpen(dialog);
  const ShownControl* shown = open ? FindControl(*open, control, false) : nullptr;
  return shown ? shown->text : std::u16string();
}

template <class Change>
void FakeDisplay::ChangeControl(WindowHandle dialog, std::uint32_t control, const Change& change) {
  {
    const Lock lock(mutex_);
    Dialog* open = FindOpen(dialog);
    if (open == nullptr) return;
    ShownControl* shown = FindControl(*open, control, true);
    if (shown == nullptr) return;
    change(*shown);
    Changed();
  }
  observer().OnControlChanged(dialog, control);
  AwaitCancelHandled(dialog);
}

void FakeDisplay::SetChecked(WindowHandle dialog, std::uint32_t control, bool checked) {
  ChangeControl(dialog, control, [&](ShownControl& shown) { shown.checked = checked; });
}

bool FakeDisplay::IsChecked(WindowHandle dialog, std::uint32_t control) {
  const Lock lock(mutex_);
  Dialog* open = FindOpen(dialog);
  const ShownControl* shown = open ? FindControl(*open, control, false) : nullptr;
  return shown != nullptr && shown->checked;
}

void FakeDisplay::ShowControl(WindowHandle dialog, std::uint32_t control, bool visible) {
  ChangeControl(dialog, control, [&](ShownControl& shown) { shown.visible = visible; });
}

// Whether the control is of that kind, or of no known one; a failure else. True when there is no
// such control: a write to it does nothing.
bool FakeDisplay::CheckKind(const char* operation, WindowHandle dialog, std::uint32_t control,
                            ControlKind kind) {
  {
    const Lock lock(mutex_);
    Dialog* open = FindOpen(dialog);
    const ShownControl* shown = open ? FindControl(*open, control, false) : nullptr;
    if (shown == nullptr || !open->has_template || shown->kind == kind) return true;
  }
  on_failure("display: " + std::string(operation) + " of control " + std::to_string(control));
  return false;
}

void FakeDisplay::SetChoices(WindowHandle dialog, std::uint32_t control,
                             const std::vector<std::u16string>& items) {
  if (!CheckKind("SetChoices", dialog, control, ControlKind::kDropDown)) return;
  ChangeControl(dialog, control, [&](ShownControl& shown) {
    shown.choices = items;
    shown.choice = items.empty() ? -1 : 0;
  });
}

void FakeDisplay::SetChoice(WindowHandle dialog, std::uint32_t control, int index) {
  if (!CheckKind("SetChoice", dialog, control, ControlKind::kDropDown)) return;
  bool outside = false;
  ChangeControl(dialog, control, [&](ShownControl& shown) {
    const int count = static_cast<int>(shown.choices.size());
    outside = index >= count || index < (count == 0 ? -1 : 0);
    if (!outside) shown.choice = index;
  });
  if (outside) on_failure("display: no choice " + std::to_string(index));
}

int FakeDisplay::Choice(WindowHandle dialog, std::uint32_t control) {
  const Lock lock(mutex_);
  Dialog* open = FindOpen(dialog);
  const ShownControl* shown = open ? FindControl(*open, control, false) : nullptr;
  return shown != nullptr ? shown->choice : -1;
}

void FakeDisplay::SelectText(WindowHandle dialog, std::uint32_t control) {
  if (!CheckKind("SelectText", dialog, control, ControlKind::kEdit)) return;
  {
    const Lock lock(mutex_);
    Dialog* open = FindOpen(dialog);
    if (open == nullptr || FindControl(*open, control, false) == nullptr) return;
    for (ShownControl& one : open->values.controls) {
      one.text_selected = one.id == control;
    }
    Changed();
  }
  observer().OnControlChanged(dialog, control);
}

void FakeDisplay::SetProgressRange(WindowHandle dialog, std::uint32_t control, int upper) {
  if (upper < 1 || upper > 65535) {
    on_failure("display: a progress range of " + std::to_string(upper));
  }
  ChangeControl(dialog, control, [&](ShownControl& shown) {
    shown.upper = std::clamp(upper, 1, 65535);
    shown.position = std::min(shown.position, shown.upper);
  });
}

void FakeDisplay::SetProgressPosition(WindowHandle dialog, std::uint32_t control, int position) {
  ChangeControl(dialog, control, [&](ShownControl& shown) {
    shown.position = std::clamp(position, 0, shown.upper);
  });
}

}  // namespace quillet::port
