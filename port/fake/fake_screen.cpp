// SPDX-License-Identifier: GPL-3.0-or-later
// Input goes to the dialog that was shown last, else to the main window. A box lies over its owner,
// a dialog over its owner; a dialog or box without one lies over everything that was there before.
#include "port/fake/fake_screen.h"

#include <algorithm>
#include <chrono>

namespace quillet::port {

DisplayObserver& FakeScreen::observer() {
  static DisplayObserver nobody;
  return observer_ != nullptr ? *observer_ : nobody;
}

void FakeScreen::CheckThread(const char* operation) const {
  {
    const Lock lock(mutex_);
    if (window.handle == 0 || window_thread == std::this_thread::get_id()) return;
  }
  on_failure("display: " + std::string(operation) + " called off the program thread");
}

bool FakeScreen::CheckOwner(const char* operation, WindowHandle owner) const {
  if (owner == 0 || queues.Exists(owner)) return true;
  on_failure("display: " + std::string(operation) + " for a window that does not exist");
  return false;
}

void FakeScreen::Leave() {
  const Lock lock(mutex_);
  gone = true;
  Changed();
}

bool FakeScreen::WaitUntil(const std::function<bool()>& condition, int timeout_ms) const {
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

// --- what lies over what ---

std::uint64_t FakeScreen::OpenBox(WindowHandle owner) {
  open_boxes_[++last_box_] = owner;
  return last_box_;
}

void FakeScreen::CloseBox(std::uint64_t number) {
  open_boxes_.erase(number);
}

bool FakeScreen::BoxOpen() const {
  const Lock lock(mutex_);
  return !open_boxes_.empty();
}

WindowHandle FakeScreen::FocusLocked() const {
  WindowHandle focus = window.shown ? window.handle : 0;
  if (main_in_front_ && TakesInputLocked(window.handle)) return window.handle;
  std::uint64_t latest = 0;
  for (const auto& [handle, dialog] : dialogs_) {
    if (dialog.shown_at <= latest) continue;
    latest = dialog.shown_at;
    focus = handle;
  }
  return focus;
}

WindowHandle FakeScreen::Focus() const {
  const Lock lock(mutex_);
  return FocusLocked();
}

// Of the windows with forms, or of all other dialogs; 0: none.
WindowHandle FakeScreen::LastShown(bool windows) const {
  WindowHandle last = 0;
  std::uint64_t latest = 0;
  for (const auto& [handle, dialog] : dialogs_) {
    const bool is_window = dialog.kind == DialogKind::kWindow;
    if (is_window != windows || dialog.shown_at <= latest) continue;
    latest = dialog.shown_at;
    last = handle;
  }
  return last;
}

WindowHandle FakeScreen::DialogInFront() const {
  const Lock lock(mutex_);
  const WindowHandle modal = LastShown(false);
  return modal != 0 ? modal : LastShown(true);
}

bool FakeScreen::BringToFront(WindowHandle clicked) {
  const Lock lock(mutex_);
  if (!TakesInputLocked(clicked)) return false;
  if (clicked != window.handle) ShowDialog(clicked);
  main_in_front_ = clicked == window.handle;
  Changed();
  return true;
}

void FakeScreen::RemoveDialog(WindowHandle dialog) {
  const auto found = dialogs_.find(dialog);
  if (found == dialogs_.end()) return;
  for (auto& [number, owner] : open_boxes_) {
    if (owner == dialog) owner = found->second.owner;
  }
  dialogs_.erase(found);
}

// What lies over a window with a form takes the input of all, as what lies over none.
bool FakeScreen::IsWindowForm(WindowHandle owner) const {
  const auto dialog = dialogs_.find(owner);
  return dialog != dialogs_.end() && dialog->second.kind == DialogKind::kWindow;
}

// A box without an owner, or whose owner has gone, lies over the whole program.
bool FakeScreen::BoxBlocks(WindowHandle covered) const {
  return std::any_of(open_boxes_.begin(), open_boxes_.end(), [&](const auto& open) {
    const WindowHandle owner = open.second;
    const bool over_one = owner == window.handle || dialogs_.contains(owner);
    return owner == covered || !over_one || IsWindowForm(owner);
  });
}

bool FakeScreen::TakesInputLocked(WindowHandle asked) const {
  const auto dialog = dialogs_.find(asked);
  const bool is_dialog = dialog != dialogs_.end();
  if (!is_dialog && (asked == 0 || asked != window.handle)) return false;
  const std::uint64_t shown_at = is_dialog ? dialog->second.shown_at : 0;
  if (is_dialog ? shown_at == 0 : !window.shown) return false;
  if (gone || BoxBlocks(asked) || (!is_dialog && window.busy)) return false;
  return std::none_of(dialogs_.begin(), dialogs_.end(), [&](const auto& entry) {
    const auto& [handle, other] = entry;
    if (handle == asked || other.shown_at == 0 || other.kind == DialogKind::kWindow) return false;
    const bool over_all = other.owner == 0 || IsWindowForm(other.owner);
    return other.owner == asked || (over_all && other.shown_at > shown_at);
  });
}

// Shown over the main window, 0: none.
WindowHandle FakeScreen::ProgressDialog() const {
  for (const auto& [handle, dialog] : dialogs_) {
    if (dialog.kind == DialogKind::kProgress && dialog.shown_at != 0) return handle;
  }
  return 0;
}

bool FakeScreen::CanBeClosed(WindowHandle& progress) const {
  progress = 0;
  if (window.handle == 0 || !window.shown || gone) return false;
  if (TakesInputLocked(window.handle)) return true;
  if (window.busy) return !BoxBlocks(window.handle);
  progress = ProgressDialog();
  // A box over the dialog lies over the window below as well.
  return progress != 0 && TakesInputLocked(progress);
}

bool FakeScreen::TakesInput(WindowHandle asked) const {
  const Lock lock(mutex_);
  return TakesInputLocked(asked);
}

bool FakeScreen::PaneTakesInput(int tab) const {
  return TakesInputLocked(window.handle) && window.tab == tab;
}

// --- the panes ---

void FakeScreen::PanesGone() {
  focused_pane_ = -1;
  for (const auto& forget : forget_panes_) forget();
}

void FakeScreen::LaidOut() {
  for (const auto& fit : fit_panes_) fit();
}

void FakeScreen::DropHiddenFocus() {
  if (focused_pane_ != window.tab) focused_pane_ = -1;
}

void FakeScreen::DropPaneFocus(int tab) {
  if (focused_pane_ == tab) focused_pane_ = -1;
}

}  // namespace quillet::port
