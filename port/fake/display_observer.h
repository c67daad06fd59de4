// SPDX-License-Identifier: GPL-3.0-or-later
// What a display shows, as values, and an observer that is told of every change.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "port/article_panes.h"
#include "port/dialogs.h"
#include "port/file_dialogs.h"
#include "port/message.h"
#include "port/message_box.h"
#include "port/pop_up_menus.h"
#include "port/windows.h"
#include "res/dialog_templates.h"

namespace quillet::port {

struct ShownBox {
  WindowHandle owner = 0;
  std::u16string caption;
  std::u16string text;
  BoxStyle style;
  int answer = 0;  // 0 while the box is open
};

struct ShownControl {
  std::uint32_t id = 0;
  ControlKind kind = ControlKind::kOther;
  std::u16string text;
  std::u16string accessible_name;
  int container = 0;  // as in the template
  bool checked = false;
  bool visible = true;
  bool enabled = true;
  bool focused = false;
  TextState text_state;
  int lower = 0;
  int upper = 100;
  int position = 0;
  std::vector<std::u16string> choices;
  int choice = -1;  // of a list the selected row
  std::vector<Row> rows;
  TimeOfDay time;
  FontChoice font;
  bool never_default = false;  // a button that Enter does not press
  bool tap_opens = false;
  int tapped = -1;  // the row of a list that the user tapped last

  // Its whole text is selected, and the focus is in it.
  bool text_selected() const { return focused && text_state.selected == text.size(); }
};

struct ShownDialog {
  WindowHandle handle = 0;
  std::uint32_t form = 0;  // resource id
  WindowHandle owner = 0;
  std::u16string caption;
  DialogKind kind = DialogKind::kModal;
  bool shown = false;                  // a page: its sheet is, and it is in front
  std::vector<ShownControl> controls;  // in template order; of a sheet OK and Cancel
  std::vector<WindowHandle> pages;     // of a sheet
  int page = 0;                        // of a sheet: the one in front
  WindowHandle sheet = 0;              // of a page
};

// Every hook is called after the change, on the thread that made it, with no lock held; the hooks
// may call the display.
class DisplayObserver {
 public:
  virtual ~DisplayObserver() = default;

  // A box is open; may block. The answer, or nothing: the announced or usual one.
  virtual std::optional<int> OnBox(const ShownBox& /*box*/) { return std::nullopt; }
  virtual void OnWaitCursor(int /*depth*/) {}
  virtual void OnBeep() {}

  virtual void OnWindowCreated(const MainWindowTraits& /*traits*/) {}
  virtual void OnWindowShown() {}
  virtual void OnWindowRaised() {}
  virtual void OnWindowDestroyed() {}
  virtual void OnTabsCreated(TabPlacement /*placement*/) {}
  // By the program or by the user.
  virtual void OnTabSelected(int /*tab*/) {}
  virtual void OnStatusText(std::u16string_view /*text*/) {}

  // The list was created, filled, or its texts or boxes changed by the program.
  virtual void OnListChanged() {}

  // The tree was created, filled, changed or its caption set by the program.
  virtual void OnTreeChanged() {}
  // Header, toolbar or viewer changed by the program; not told of additions to the source.
  virtual void OnArticleChanged() {}
  virtual void OnViewerScrolled(ScrollStep /*step*/) {}
  virtual void OnViewerCopied() {}
  // A pop-up menu is open; may block. The command chosen, or nothing: the announced answer.
  virtual std::optional<std::uint32_t> OnPopUp(const std::vector<PopUpEntry>& /*entries*/) {
    return std::nullopt;
  }
  // A save dialog is open; may block. What it returns, or nothing: the announced answer.
  virtual std::optional<std::optional<std::u16string>> OnSaveFile(
      const SaveFileTraits& /*traits*/) {
    return std::nullopt;
  }
  // The same for an open dialog.
  virtual std::optional<std::optional<std::u16string>> OnOpenFile(
      const OpenFileTraits& /*traits*/) {
    return std::nullopt;
  }

  virtual void OnDialogCreated(WindowHandle /*dialog*/, std::uint32_t /*form*/) {}
  virtual void OnDialogShown(WindowHandle /*dialog*/) {}
  virtual void OnDialogDestroyed(WindowHandle /*dialog*/) {}
  virtual void OnControlText(WindowHandle /*dialog*/, std::uint32_t /*control*/,
                             std::u16string_view /*text*/) {}
  // Box, visibility, range or position of a control changed by the program.
  virtual void OnControlChanged(WindowHandle /*dialog*/, std::uint32_t /*control*/) {}
};

}  // namespace quillet::port
