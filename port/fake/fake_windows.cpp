// SPDX-License-Identifier: GPL-3.0-or-later
// The window itself is the screen's: what takes input and what the panes lie on depend on it.
#include "port/fake/fake_windows.h"

#include <algorithm>
#include <utility>

#include "res/commands.h"
#include "res/resource.h"

namespace quillet::port {
namespace {

bool ValidTab(int tab) {
  return tab >= 0 && tab < kTabCount;
}

}  // namespace

// --- the service ---

Size FakeWindows::WorkArea() {
  const auto lock = screen_.Locked();
  return work_area_;
}

std::vector<std::u16string> FakeWindows::Fonts() {
  screen_.CheckThread("Fonts");
  const auto lock = screen_.Locked();
  if (screen_.gone) return {};
  return fonts_;
}

WindowHandle FakeWindows::CreateMainWindow(const MainWindowTraits& traits) {
  WindowHandle handle = 0;
  {
    const auto lock = screen_.Locked();
    if (failing_windows_ > 0) {
      --failing_windows_;
      return 0;
    }
    if (screen_.window.handle != 0 || screen_.gone) return 0;
    handle = screen_.queues.AddWindow();
    screen_.window = {};
    screen_.window.handle = handle;
    screen_.window.traits = traits;
    screen_.window.place = traits.place;
    screen_.window.inside = traits.size;
    screen_.window_thread = std::this_thread::get_id();
    screen_.Changed();
  }
  screen_.observer().OnWindowCreated(traits);
  return handle;
}

void FakeWindows::ShowMainWindow() {
  screen_.CheckThread("ShowMainWindow");
  {
    const auto lock = screen_.Locked();
    if (screen_.window.handle == 0 || screen_.window.shown) return;
    screen_.window.shown = true;
    screen_.Changed();
  }
  screen_.observer().OnWindowShown();
}

std::optional<WindowPlace> FakeWindows::MainWindowPlace() {
  screen_.CheckThread("MainWindowPlace");
  const auto lock = screen_.Locked();
  return screen_.window.shown ? screen_.window.place : std::nullopt;
}

void FakeWindows::Raise(const std::string& token) {
  {
    const auto lock = screen_.Locked();
    if (screen_.window.handle == 0) return;
    screen_.window.shown = true;
    ++screen_.window.raised;
    screen_.window.activation_token = token;
    screen_.Changed();
  }
  screen_.observer().OnWindowRaised();
}

void FakeWindows::DestroyMainWindow() {
  screen_.CheckThread("DestroyMainWindow");
  {
    const auto lock = screen_.Locked();
    if (screen_.window.handle == 0) return;
    screen_.queues.RemoveWindow(screen_.window.handle);
    screen_.window = {};
    screen_.PanesGone();
    screen_.Changed();
  }
  screen_.observer().OnWindowDestroyed();
}

void FakeWindows::CreateTabs(TabPlacement placement) {
  screen_.CheckThread("CreateTabs");
  {
    const auto lock = screen_.Locked();
    if (screen_.window.handle == 0) return;
    screen_.window.has_tabs = true;
    screen_.window.placement = placement;
    screen_.window.tab = kGroupTab;
    screen_.window.status.clear();
    screen_.PanesGone();
    screen_.Changed();
  }
  screen_.observer().OnTabsCreated(placement);
}

int FakeWindows::SelectedTab() {
  const auto lock = screen_.Locked();
  return screen_.window.tab;
}

void FakeWindows::SelectTab(int tab) {
  screen_.CheckThread("SelectTab");
  {
    const auto lock = screen_.Locked();
    if (!screen_.window.has_tabs || !ValidTab(tab)) return;
    screen_.window.tab = tab;
    screen_.DropHiddenFocus();
    screen_.Changed();
  }
  screen_.observer().OnTabSelected(tab);
}

void FakeWindows::LayOut(Size inside, Size tabs) {
  screen_.CheckThread("LayOut");
  const auto lock = screen_.Locked();
  if (screen_.window.handle == 0) return;
  screen_.window.inside = inside;
  screen_.window.tabs = tabs;
  screen_.LaidOut();
  screen_.Changed();
}

void FakeWindows::SetStatusText(std::u16string_view text) {
  screen_.CheckThread("SetStatusText");
  {
    const auto lock = screen_.Locked();
    if (screen_.window.handle == 0) return;
    screen_.window.status = text;
    screen_.Changed();
  }
  screen_.observer().OnStatusText(text);
}

void FakeWindows::SetBusy(bool busy) {
  const auto lock = screen_.Locked();
  if (screen_.window.handle == 0) return;
  screen_.window.busy = busy;
  screen_.Changed();
}

void FakeWindows::InjectKeyUp(std::uint32_t virtual_key) {
  const auto lock = screen_.Locked();
  const WindowHandle target = screen_.FocusLocked();
  injected_.push_back({virtual_key, target});
  screen_.queues.Post({target, MessageKind::kKeyUp, virtual_key, 0, {}});
  screen_.Changed();
}

// --- what is shown ---

ShownMainWindow FakeWindows::main_window() const {
  const auto lock = screen_.Locked();
  return screen_.window;
}

std::vector<FakeWindows::InjectedKey> FakeWindows::injected_keys() const {
  const auto lock = screen_.Locked();
  return injected_;
}

// --- what the user does ---

bool FakeWindows::UserSelectTab(int tab) {
  {
    const auto lock = screen_.Locked();
    if (!screen_.TakesInputLocked(screen_.window.handle) || !screen_.window.has_tabs) return false;
    if (tab < 0 || tab >= kTabCount) return false;
    if (tab == screen_.window.tab) return true;
    const auto old_tab = static_cast<std::uint32_t>(screen_.window.tab);
    screen_.window.tab = tab;
    screen_.DropHiddenFocus();
    screen_.queues.Post({screen_.window.handle,
                         MessageKind::kTabChanged,
                         static_cast<std::uint32_t>(tab),
                         old_tab,
                         {}});
    screen_.Changed();
  }
  screen_.observer().OnTabSelected(tab);
  return true;
}

bool FakeWindows::ChooseCommand(std::uint32_t command) {
  {
    const auto lock = screen_.Locked();
    const auto has = [&](const auto& entry) { return entry.command == command; };
    const auto menu = MenuOfView(screen_.window.tab);
    const auto buttons = ButtonsOfView(screen_.window.tab);
    if (command == 0 || !screen_.window.has_tabs) return false;
    if (std::none_of(menu.begin(), menu.end(), has) &&
        std::none_of(buttons.begin(), buttons.end(), has)) {
      return false;
    }
  }
  return SendCommand(command);
}

bool FakeWindows::SendCommand(std::uint32_t command) {
  const auto lock = screen_.Locked();
  if (!screen_.TakesInputLocked(screen_.window.handle)) return false;
  screen_.queues.Post({screen_.window.handle, MessageKind::kCommand, command, 0, {}});
  return true;
}

// A dialog does not keep the desktop from resizing the window.
bool FakeWindows::ResizeMainWindow(Size inside) {
  const auto lock = screen_.Locked();
  if (!screen_.window.shown || inside.width <= 0 || inside.height <= 0) return false;
  screen_.window.inside = inside;
  screen_.queues.Post({screen_.window.handle,
                       MessageKind::kSize,
                       static_cast<std::uint32_t>(inside.width),
                       static_cast<std::uint32_t>(inside.height),
                       {}});
  screen_.Changed();
  return true;
}

bool FakeWindows::MoveMainWindow(const WindowPlace& place) {
  const auto lock = screen_.Locked();
  if (!screen_.window.shown) return false;
  screen_.window.place = place;
  screen_.Changed();
  return true;
}

bool FakeWindows::CloseMainWindow() {
  const auto lock = screen_.Locked();
  WindowHandle progress = 0;
  if (!screen_.CanBeClosed(progress)) return false;
  if (progress != 0) screen_.queues.Post({progress, MessageKind::kCommand, kControlCancel, 0, {}});
  screen_.queues.Post({screen_.window.handle, MessageKind::kClose, 0, 0, {}});
  return true;
}

void FakeWindows::EndSession() {
  const auto lock = screen_.Locked();
  screen_.queues.Post({screen_.window.handle, MessageKind::kEndSession, 0, 0, {}});
}

// --- the device ---

void FakeWindows::SetWorkArea(Size size) {
  const auto lock = screen_.Locked();
  work_area_ = size;
}

void FakeWindows::SetFonts(std::vector<std::u16string> families) {
  const auto lock = screen_.Locked();
  fonts_ = std::move(families);
}

void FakeWindows::FailNextWindow(int count) {
  const auto lock = screen_.Locked();
  failing_windows_ = count;
}

}  // namespace quillet::port
