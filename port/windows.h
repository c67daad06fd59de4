// SPDX-License-Identifier: GPL-3.0-or-later
// The main window with its tabs, menu bar and status line. Values go in, values come out; nothing
// is shared with the display. Program thread only, except Raise, SetBusy and InjectKeyUp (any
// thread).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "port/message.h"

namespace quillet::port {

struct Size {
  int width = 0;
  int height = 0;
  bool operator==(const Size&) const = default;
};

// Where a window lies on the screen, its frame included, in device-independent pixels.
struct WindowPlace {
  int left = 0;
  int top = 0;
  Size size;  // of a maximised window: what it goes back to
  bool maximised = false;
  bool operator==(const WindowPlace&) const = default;
};

// Which menu bar and which pane: 0 group view, 1 thread view, 2 article view.
constexpr int kGroupTab = 0;
constexpr int kThreadTab = 1;
constexpr int kArticleTab = 2;
constexpr int kTabCount = 3;

enum class TabPlacement { kBottom = 0, kLeft = 1, kRight = 2 };

struct MainWindowTraits {
  std::u16string window_class;  // also how a second instance finds it
  std::u16string title;
  std::uint32_t icon = 0;  // resource id
  Size size;               // outer size wanted, in pixels of the work area
  // Instead of that size at the upper left corner; brought onto a screen that is there.
  std::optional<WindowPlace> place = {};
};

class Windows {
 public:
  virtual ~Windows() = default;

  // Usable screen area in device-independent pixels.
  virtual Size WorkArea() = 0;

  // The families of the installed fonts, sorted without regard to case, none twice and none of
  // those that the system keeps for itself. Empty when the display has gone.
  virtual std::vector<std::u16string> Fonts() = 0;

  // Creates the one main window, still hidden, owned by the calling thread; 0 on failure.
  virtual WindowHandle CreateMainWindow(const MainWindowTraits& traits) = 0;
  virtual void ShowMainWindow() = 0;
  // Nothing before it is shown, and on a screen that it fills anyway.
  virtual std::optional<WindowPlace> MainWindowPlace() = 0;
  // Shows it above the others and asks the desktop for the focus. The desktop's token says that the
  // user wants it, ASCII; empty: without one.
  virtual void Raise(const std::string& token) = 0;
  // Takes the window with its tabs, panes and list off the screen. Idempotent.
  virtual void DestroyMainWindow() = 0;

  // Creates the three image-only tabs in that placement, with the bitmaps of res/resource.h,
  // replacing existing ones together with all view contents. The group tab is selected; no
  // kTabChanged is sent for changes made from here.
  virtual void CreateTabs(TabPlacement placement) = 0;
  virtual int SelectedTab() = 0;
  // Selects a tab, shows its pane and its menu bar (the trees and buttons of res/commands.h).
  virtual void SelectTab(int tab) = 0;

  // Lays the window out: the tab control takes `tabs` of the window's inside, from the top left.
  virtual void LayOut(Size inside, Size tabs) = 0;

  // One line below the group list.
  virtual void SetStatusText(std::u16string_view text) = 0;

  // The program works on and answers nothing meanwhile, without a dialog that says so: the window
  // is greyed under a wait cursor and takes no input but from its close button, whose kClose waits
  // as all messages do. Boxes over it are as usual. Any thread.
  virtual void SetBusy(bool busy) = 0;

  // A silent release of a key goes to the window (main window or dialog) that has the focus now,
  // as its kKeyUp message.
  virtual void InjectKeyUp(std::uint32_t virtual_key) = 0;
};

}  // namespace quillet::port
