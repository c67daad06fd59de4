// SPDX-License-Identifier: GPL-3.0-or-later
// The main window without pixels: its tabs, menu and status bar.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "port/fake/fake_screen.h"
#include "port/windows.h"

namespace quillet::port {

class FakeWindows : public Windows {
 public:
  explicit FakeWindows(FakeScreen& screen) : screen_(screen) {}

  // --- what is shown ---

  struct InjectedKey {
    std::uint32_t key = 0;
    WindowHandle target = 0;  // 0: no window had the focus
    bool operator==(const InjectedKey&) const = default;
  };
  ShownMainWindow main_window() const;
  std::vector<InjectedKey> injected_keys() const;

  // --- what the user does: false when a real display would not allow it now ---

  bool UserSelectTab(int tab);
  // A command of the shown view's menu bar or buttons; others are refused.
  bool ChooseCommand(std::uint32_t command);
  // Any command, to the main window.
  bool SendCommand(std::uint32_t command);
  bool ResizeMainWindow(Size inside);
  bool MoveMainWindow(const WindowPlace& place);
  bool CloseMainWindow();
  void EndSession();  // the system's, never refused

  // --- the device ---

  void SetWorkArea(Size size);
  // The families that are installed: at first "Courier New", "DejaVu Sans", "Liberation Serif" and
  // "Tahoma".
  void SetFonts(std::vector<std::u16string> families);
  // The next creations fail.
  void FailNextWindow(int count = 1);

  // --- the service ---

  Size WorkArea() override;
  std::vector<std::u16string> Fonts() override;
  WindowHandle CreateMainWindow(const MainWindowTraits& traits) override;
  void ShowMainWindow() override;
  std::optional<WindowPlace> MainWindowPlace() override;
  void Raise(const std::string& token) override;
  void DestroyMainWindow() override;
  void CreateTabs(TabPlacement placement) override;
  int SelectedTab() override;
  void SelectTab(int tab) override;
  void LayOut(Size inside, Size tabs) override;
  void SetStatusText(std::u16string_view text) override;
  void SetBusy(bool busy) override;
  void InjectKeyUp(std::uint32_t virtual_key) override;

 private:
  FakeScreen& screen_;
  std::vector<InjectedKey> injected_;
  Size work_area_{240, 320};
  std::vector<std::u16string> fonts_{u"Courier New", u"DejaVu Sans", u"Liberation Serif",
                                     u"Tahoma"};
  int failing_windows_ = 0;
};

}  // namespace quillet::port
