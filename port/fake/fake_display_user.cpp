// What a test or a script does in the place of the user, and what it can see.
#include <algorithm>
#include <chrono>
#include <utility>

#include "port/fake/fake_display.h"
#include "res/commands.h"
#include "res/resource.h"
#include "util/text.h"

namespace quillet::port {

// --- what is shown ---

std::vector<ShownBox> FakeDisplay::boxes() const {
  const Lock lock(mutex_);
  return boxes_;
}

bool FakeDisplay::BoxOpen() const {
  const Lock lock(mutex_);
  return !open_boxes_.empty();
}

void FakeDisplay::ForgetBoxes() {
  const Lock lock(mutex_);
  boxes_.clear();
}

std::vector<FakeDisplay::ProgressText> FakeDisplay::progress_texts() const {
  const Lock lock(mutex_);
  return progress_texts_;
}

void FakeDisplay::ForgetProgressTexts() {
  const Lock lock(mutex_);
  progress_texts_.clear();
}

int FakeDisplay::wait_cursor_depth() const {
  const Lock lock(mutex_);
  return wait_depth_;
}

int FakeDisplay::wait_cursor_shows() const {
  const Lock lock(mutex_);
  return wait_shows_;
}

int FakeDisplay::beeps() const {
  const Lock lock(mutex_);
  return beeps_;
}

std::vector<FakeDisplay::InjectedKey> FakeDisplay::injected_keys() const {
  const Lock lock(mutex_);
  return injected_;
}

ShownMainWindow FakeDisplay::main_window() const {
  const Lock lock(mutex_);
  return window_;
}

ShownList FakeDisplay::list() const {
  const Lock lock(mutex_);
  return list_;
}

int FakeDisplay::FindRow(std::u16string_view name) const {
  const Lock lock(mutex_);
  for (std::size_t i = 0; i < list_.rows.size(); ++i) {
    if (list_.rows[i].name == name) return static_cast<int>(i);
  }
  return -1;
}

std::vector<ShownDialog> FakeDisplay::dialogs() const {
  const Lock lock(mutex_);
  std::vector<ShownDialog> all;
  for (const auto& entry : dialogs_) all.push_back(entry.second.values);
  return all;
}

std::optional<ShownDialog> FakeDisplay::FindDialog(WindowHandle dialog) const {
  const Lock lock(mutex_);
  const Dialog* open = FindOpen(dialog);
  if (open == nullptr) return std::nullopt;
  return open->values;
}

std::optional<ShownControl> FakeDisplay::Control(WindowHandle dialog, std::uint32_t control) const {
  const Lock lock(mutex_);
  const Dialog* open = FindOpen(dialog);
  if (open == nullptr) return std::nullopt;
  for (const ShownControl& one : open->values.controls) {
    if (one.id == control) return one;
  }
  return std::nullopt;
}

WindowHandle FakeDisplay::DialogOfForm(std::uint32_t form) const {
  const Lock lock(mutex_);
  WindowHandle newest = 0;
  for (const auto& [handle, dialog] : dialogs_) {
    if (dialog.values.form == form) newest = handle;
  }
  return newest;
}

WindowHandle FakeDisplay::FocusLocked() const {
  WindowHandle focus = window_.shown ? window_.handle : 0;
  std::uint64_t latest = 0;
  for (const auto& [handle, dialog] : dialogs_) {
    if (!dialog.values.shown || dialog.shown_at < latest) continue;
    latest = dialog.shown_at;
    focus = handle;
  }
  return focus;
}

WindowHandle FakeDisplay::Focus() const {
  const Lock lock(mutex_);
  return FocusLocked();
}

// A box without an owner, or whose owner has gone, lies over the whole program.
bool FakeDisplay::BoxBlocks(WindowHandle window) const {
  return std::any_of(open_boxes_.begin(), open_boxes_.end(), [&](const auto& open) {
    const WindowHandle owner = open.second;
    return owner == window || (owner != window_.handle && !dialogs_.contains(owner));
  });
}

bool FakeDisplay::TakesInputLocked(WindowHandle window) const {
  const Dialog* self = FindOpen(window);
  if (self == nullptr && (window == 0 || window != window_.handle)) return false;
  if (self != nullptr ? !self->values.shown : !window_.shown) return false;
  if (gone_ || BoxBlocks(window)) return false;
  for (const auto& [handle, other] : dialogs_) {
    if (handle == window || !other.values.shown) continue;
    if (other.values.owner == window) return false;
    const bool later = self == nullptr || other.shown_at > self->shown_at;
    if (other.values.owner == 0 && later) return false;
  }
  return true;
}

bool FakeDisplay::TakesInput(WindowHandle window) const {
  const Lock lock(mutex_);
  return TakesInputLocked(window);
}

bool FakeDisplay::WaitUntil(const std::function<bool()>& condition, int timeout_ms) const {
  // The condition may also look at what is not the display's.
  constexpr std::chrono::milliseconds kLookAgain(10);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  for (;;) {
    std::uint64_t seen = 0;
    {
      const Lock lock(mutex_);
      seen = changes_;
    }
    if (condition()) return true;
    if (std::chrono::steady_clock::now() >= deadline) return false;
    Lock lock(mutex_);
    changed_.wait_for(lock, kLookAgain, [&] { return changes_ != seen; });
  }
}

WindowHandle FakeDisplay::WaitForDialog(std::uint32_t form, int timeout_ms) const {
  WindowHandle found = 0;
  WaitUntil(
      [&] {
        const WindowHandle dialog = DialogOfForm(form);
        const auto shown = FindDialog(dialog);
        if (shown && shown->shown) found = dialog;
        return found != 0;
      },
      timeout_ms);
  return found;
}

// --- the main window ---

bool FakeDisplay::UserSelectTab(int tab) {
  {
    const Lock lock(mutex_);
    if (!TakesInputLocked(window_.handle) || !window_.has_tabs) return false;
    if (tab < 0 || tab >= kTabCount) return false;
    if (tab == window_.tab) return true;
    const auto old_tab = static_cast<std::uint32_t>(window_.tab);
    queues_.Post({window_.handle, MessageKind::kTabChanging, 0, old_tab, {}});
    window_.tab = tab;
    DropHiddenFocus();
    queues_.Post(
        {window_.handle, MessageKind::kTabChanged, static_cast<std::uint32_t>(tab), old_tab, {}});
    Changed();
  }
  observer().OnTabSelected(tab);
  return true;
}

std::uint32_t FakeDisplay::DefaultButton(const Dialog& dialog) const {
  for (const std::uint32_t id : {kControlOk, kControlCancel}) {
    for (const ShownControl& control : dialog.values.controls) {
      if (control.id == id && control.visible) return id;
    }
  }
  return dialog.has_template ? 0 : kControlOk;
}

bool FakeDisplay::PressKey(std::uint32_t virtual_key, std::uint32_t modifiers) {
  const Lock lock(mutex_);
  const WindowHandle focus = FocusLocked();
  if (!TakesInputLocked(focus)) return false;
  if (const Dialog* dialog = FindOpen(focus)) {
    std::uint32_t button = 0;
    if (virtual_key == kKeyEscape) button = kControlCancel;
    if (virtual_key == kKeyReturn) button = DefaultButton(*dialog);
    if (button != 0) {
      queues_.Post({focus, MessageKind::kCommand, button, 0, {}});
      return true;
    }
  } else if (modifiers == 0) {
    PressListKey(virtual_key);
    PressTreeKey(virtual_key);
  }
  if (virtual_key == kKeyContextMenu) return true;
  queues_.Post({focus, MessageKind::kKeyDown, virtual_key, modifiers, {}});
  queues_.Post({focus, MessageKind::kKeyUp, virtual_key, modifiers, {}});
  return true;
}

bool FakeDisplay::ChooseCommand(std::uint32_t command) {
  {
    const Lock lock(mutex_);
    const auto has = [&](const auto& entry) { return entry.command == command; };
    const auto menu = MenuOfView(window_.tab);
    const auto buttons = ButtonsOfView(window_.tab);
    if (command == 0 || !window_.has_tabs) return false;
    if (std::none_of(menu.begin(), menu.end(), has) &&
        std::none_of(buttons.begin(), buttons.end(), has)) {
      return false;
    }
  }
  return SendCommand(command);
}

bool FakeDisplay::SendCommand(std::uint32_t command) {
  const Lock lock(mutex_);
  if (!TakesInputLocked(window_.handle)) return false;
  queues_.Post({window_.handle, MessageKind::kCommand, command, 0, {}});
  return true;
}

// A dialog does not keep the desktop from resizing the window.
bool FakeDisplay::ResizeMainWindow(Size inside) {
  const Lock lock(mutex_);
  if (!window_.shown || inside.width <= 0 || inside.height <= 0) return false;
  window_.inside = inside;
  queues_.Post({window_.handle,
                MessageKind::kSize,
                static_cast<std::uint32_t>(inside.width),
                static_cast<std::uint32_t>(inside.height),
                {}});
  Changed();
  return true;
}

bool FakeDisplay::CloseMainWindow() {
  const Lock lock(mutex_);
  if (!TakesInputLocked(window_.handle)) return false;
  queues_.Post({window_.handle, MessageKind::kClose, 0, 0, {}});
  return true;
}

void FakeDisplay::EndSession() {
  const Lock lock(mutex_);
  queues_.Post({window_.handle, MessageKind::kEndSession, 0, 0, {}});
}

// --- the list ---

bool FakeDisplay::GroupListTakesInput() const {
  return TakesInputLocked(window_.handle) && list_.created && window_.tab == kGroupTab;
}

bool FakeDisplay::RowTakesInput(int row) const {
  return GroupListTakesInput() && row >= 0 && static_cast<std::size_t>(row) < list_.rows.size();
}

bool FakeDisplay::ToggleRow(int row) {
  const Lock lock(mutex_);
  if (!RowTakesInput(row)) return false;
  CheckState& check = list_.rows[static_cast<std::size_t>(row)].check;
  if (check == CheckState::kNone) return false;
  check = check == CheckState::kChecked ? CheckState::kUnchecked : CheckState::kChecked;
  Changed();
  return true;
}

bool FakeDisplay::SelectRow(int row) {
  const Lock lock(mutex_);
  if (!RowTakesInput(row)) return false;
  list_.selected = row;
  Changed();
  return true;
}

bool FakeDisplay::ActivateRow(int row) {
  const Lock lock(mutex_);
  if (!RowTakesInput(row)) return false;
  list_.selected = row;
  queues_.Post(
      {window_.handle, MessageKind::kItemActivated, static_cast<std::uint32_t>(row), 0, {}});
  Changed();
  return true;
}

bool FakeDisplay::DragColumn(int column, int width) {
  const Lock lock(mutex_);
  if (!GroupListTakesInput() || column < 0 || column > 1 || width <= 0) return false;
  list_.columns[static_cast<std::size_t>(column)].width = width;
  Changed();
  return true;
}

// What the list itself does with a key, besides the key's messages.
void FakeDisplay::PressListKey(std::uint32_t virtual_key) {
  if (!GroupListTakesInput() || list_.rows.empty()) return;
  const int last = static_cast<int>(list_.rows.size()) - 1;
  const int row = list_.selected;
  if (virtual_key == kKeyDown) list_.selected = std::min(row + 1, last);
  if (virtual_key == kKeyUp) list_.selected = std::max(row - 1, 0);
  if (row >= 0 && virtual_key == kKeySpace) {
    CheckState& check = list_.rows[static_cast<std::size_t>(row)].check;
    if (check == CheckState::kNone) return;
    check = check == CheckState::kChecked ? CheckState::kUnchecked : CheckState::kChecked;
  }
  if (row >= 0 && virtual_key == kKeyReturn) {
    queues_.Post(
        {window_.handle, MessageKind::kItemActivated, static_cast<std::uint32_t>(row), 0, {}});
  }
  Changed();
}

// --- dialogs ---

// The control when the user can use it as one of that kind now, else null. A control that no form
// describes can be used as any.
ShownControl* FakeDisplay::UsableControl(WindowHandle dialog, std::uint32_t control,
                                         ControlKind kind) {
  Dialog* open = FindOpen(dialog);
  if (open == nullptr || !TakesInputLocked(dialog)) return nullptr;
  ShownControl* shown = FindControl(*open, control, true);
  if (shown == nullptr || !shown->visible) return nullptr;
  return !open->has_template || shown->kind == kind ? shown : nullptr;
}

bool FakeDisplay::Press(WindowHandle dialog, std::uint32_t control) {
  const Lock lock(mutex_);
  if (UsableControl(dialog, control, ControlKind::kButton) == nullptr) return false;
  queues_.Post({dialog, MessageKind::kCommand, control, 0, {}});
  return true;
}

bool FakeDisplay::Type(WindowHandle dialog, std::uint32_t control, std::u16string_view text) {
  const Lock lock(mutex_);
  ShownControl* shown = UsableControl(dialog, control, ControlKind::kEdit);
  if (shown == nullptr) return false;
  shown->text = text;
  shown->text_selected = false;
  Changed();
  return true;
}

bool FakeDisplay::Tick(WindowHandle dialog, std::uint32_t control, bool checked) {
  const Lock lock(mutex_);
  ShownControl* shown = UsableControl(dialog, control, ControlKind::kCheckBox);
  if (shown == nullptr) return false;
  if (shown->checked != checked) {
    shown->checked = checked;
    queues_.Post({dialog, MessageKind::kCommand, control, 0, {}});
  }
  Changed();
  return true;
}

bool FakeDisplay::Choose(WindowHandle dialog, std::uint32_t control, int index) {
  const Lock lock(mutex_);
  ShownControl* shown = UsableControl(dialog, control, ControlKind::kDropDown);
  if (shown == nullptr || index < 0) return false;
  if (static_cast<std::size_t>(index) >= shown->choices.size()) return false;
  if (shown->choice != index) {
    shown->choice = index;
    queues_.Post({dialog, MessageKind::kCommand, control, 0, {}});
  }
  Changed();
  return true;
}

bool FakeDisplay::CloseDialog(WindowHandle dialog) {
  const Lock lock(mutex_);
  if (FindOpen(dialog) == nullptr || !TakesInputLocked(dialog)) return false;
  queues_.Post({dialog, MessageKind::kCommand, kControlCancel, 0, {}});
  return true;
}

// --- the device ---

void FakeDisplay::WhenShown(std::uint32_t form, std::function<void(WindowHandle)> act) {
  const Lock lock(mutex_);
  show_actions_.push_back({form, std::move(act)});
}

void FakeDisplay::Verify() {
  std::deque<Announcement> boxes;
  std::deque<ShowAction> actions;
  std::size_t unused_answers = 0;  // of pop-up menus and save dialogs
  {
    const Lock lock(mutex_);
    unused_answers = std::exchange(expected_pop_ups_, {}).size() +
                     std::exchange(expected_save_files_, {}).size();
    boxes = std::exchange(expected_, {});
    actions = std::exchange(show_actions_, {});
  }
  for (const Announcement& one : boxes) {
    on_failure("display: the announced box never came: " + ToUtf8(one.prefix));
  }
  if (unused_answers != 0) on_failure("display: an announced menu or save dialog never came");
  for (const ShowAction& one : actions) {
    on_failure("display: the announced dialog was never shown: " + std::to_string(one.form));
  }
}

void FakeDisplay::SetWorkArea(Size size) {
  const Lock lock(mutex_);
  work_area_ = size;
}

void FakeDisplay::FailNextWindow(int count) {
  const Lock lock(mutex_);
  failing_windows_ = count;
}

void FakeDisplay::FailNextDialog(int count) {
  const Lock lock(mutex_);
  failing_dialogs_ = count;
}

void FakeDisplay::Leave() {
  const Lock lock(mutex_);
  gone_ = true;
  Changed();
}

}  // namespace quillet::port
