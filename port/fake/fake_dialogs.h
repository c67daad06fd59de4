// SPDX-License-Identifier: GPL-3.0-or-later
// Dialogs without pixels: values of controls. A form that has no template gets the controls that
// are named.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "port/common/edit_watches.h"
#include "port/dialogs.h"
#include "port/fake/cancel_after.h"
#include "port/fake/fake_screen.h"
#include "port/property_sheets.h"

namespace quillet::port {

class FakeDialogs : public Dialogs {
 public:
  explicit FakeDialogs(FakeScreen& screen);

  using Dialogs::Write;

  // --- announced acts ---

  // When a dialog of that form (0: a sheet) is shown next, `act` is called with it on the thread
  // that showed it. One that is left over is a failure.
  void WhenShown(std::uint32_t form, std::function<void(WindowHandle dialog)> act);
  // Presses Cancel in the progress dialog after the nth text that is set into its controls 1020 and
  // 1022 from now on, the title included; 0: as soon as it is shown. The press has been handled
  // when the next change of the dialog from another thread than its own returns.
  void CancelProgressAfter(int n);
  // Failures for what was announced and did not happen (once).
  void Verify();

  // --- what is shown ---

  struct ProgressText {
    std::uint32_t control = 0;
    std::u16string text;
    bool operator==(const ProgressText&) const = default;
  };
  // Every text set into controls 1020 and 1022 of a progress dialog.
  std::vector<ProgressText> progress_texts() const;
  void ForgetProgressTexts();
  // The dialogs that exist, in the order of their creation; also those not shown yet.
  std::vector<ShownDialog> dialogs() const;
  std::optional<ShownDialog> FindDialog(WindowHandle dialog) const;
  std::optional<ShownControl> Control(WindowHandle dialog, std::uint32_t control) const;
  // The newest existing dialog of that form; 0 when there is none.
  WindowHandle DialogOfForm(std::uint32_t form) const;
  // Waits for a shown dialog of that form; 0 after the time-out.
  WindowHandle WaitForDialog(std::uint32_t form, int timeout_ms = 10000) const;

  // --- what the user does: false when a real display would not allow it now ---

  bool Press(WindowHandle dialog, std::uint32_t control);
  // A row of a list by a single tap.
  bool Choose(WindowHandle dialog, std::uint32_t control, int index);
  bool Type(WindowHandle dialog, std::uint32_t control, std::u16string_view text);
  // At the caret, in place of what is selected; the focus is there then.
  bool TypeAtCaret(WindowHandle dialog, std::uint32_t control, std::u16string_view text);
  // A click, or a drag over that many units.
  bool PlaceCaret(WindowHandle dialog, std::uint32_t control, std::size_t caret,
                  std::size_t selected = 0);
  bool Tick(WindowHandle dialog, std::uint32_t control, bool checked);
  bool Slide(WindowHandle dialog, std::uint32_t control, int position);
  bool PickTime(WindowHandle dialog, std::uint32_t control, TimeOfDay time);
  // Rows of a list in a dialog; Choose selects one.
  bool TickListRow(WindowHandle dialog, std::uint32_t control, int row, bool checked);
  bool ActivateListRow(WindowHandle dialog, std::uint32_t control, int row);
  bool AskListMenu(WindowHandle dialog, std::uint32_t control, int row);
  bool ChoosePage(WindowHandle sheet, int page);
  bool CloseDialog(WindowHandle dialog);

  // --- the device ---

  // The next creations fail.
  void FailNextDialog(int count = 1);

  // --- the service ---

  WindowHandle Create(std::uint32_t form, WindowHandle owner, DialogKind kind) override;
  void Show(WindowHandle dialog) override;
  void Destroy(WindowHandle dialog) override;
  void WriteMany(WindowHandle dialog, std::vector<ControlWrite> writes) override;
  ControlState Read(WindowHandle dialog, std::uint32_t control) override;
  void WatchEdits(WindowHandle dialog, std::function<void()> edited) override;
  std::map<std::uint32_t, ControlState> ReadAll(WindowHandle dialog) override;

  // --- sheets: dialogs with pages in front of each other ---

  WindowHandle CreateSheet(std::u16string_view title, std::span<const SheetPage> pages,
                           WindowHandle owner);
  // By the program or the user; false when there is no such page.
  bool BringPage(WindowHandle sheet, int page);

 protected:
  // Locked. What the dialog itself does with a key: Escape is Cancel, Return the default button,
  // and Control and Return OK in a window.
  void PressDialogKey(WindowHandle dialog, std::uint32_t virtual_key, std::uint32_t modifiers);

 private:
  struct Dialog {
    ShownDialog values;
    bool has_template = false;
  };
  struct ShowAction {
    std::uint32_t form = 0;
    std::function<void(WindowHandle)> act;
  };

  // What the user does: the display is locked as long as it lasts, and whoever watches the dialog
  // is told after that when something has changed.
  class Act {
   public:
    Act(FakeDialogs& dialogs, WindowHandle dialog)
        : dialogs_(dialogs), dialog_(dialog), lock_(dialogs.screen_.Locked()) {}
    ~Act() {
      lock_.unlock();
      if (edited) dialogs_.watches_.Tell(dialog_);
    }
    Act(const Act&) = delete;
    Act& operator=(const Act&) = delete;

    bool edited = false;

   private:
    FakeDialogs& dialogs_;
    const WindowHandle dialog_;
    FakeScreen::Lock lock_;
  };

  Dialog* FindOpen(WindowHandle dialog);
  const Dialog* FindOpen(WindowHandle dialog) const;
  ShownControl* FindControl(Dialog& dialog, std::uint32_t control, bool add);
  using Kinds = std::initializer_list<ControlKind>;
  bool DialogTakesInput(WindowHandle dialog) const;
  ShownControl* UsableControl(WindowHandle dialog, std::uint32_t control, Kinds kinds);
  ShownControl* UsableEdit(WindowHandle dialog, std::uint32_t control);
  ShownControl* UsableRow(WindowHandle dialog, std::uint32_t control, int row, Kinds kinds);
  void ChooseLocked(WindowHandle dialog, ShownControl& control, int index);
  void TapLocked(WindowHandle dialog, ShownControl& list, int row);
  void Command(WindowHandle dialog, std::uint32_t control);
  WindowHandle Add(Dialog dialog);
  void BringPageLocked(Dialog& sheet, int page);
  void Write(WindowHandle dialog, const ControlWrite& write);
  std::uint32_t DefaultButton(const Dialog& dialog) const;
  bool EndLine(Dialog& dialog);
  void NoteProgressText(const Dialog& dialog, const ProgressText& text);

  FakeScreen& screen_;
  EditWatches watches_;
  std::map<WindowHandle, Dialog> dialogs_;
  std::deque<ShowAction> show_actions_;
  std::vector<ProgressText> progress_texts_;
  CancelAfter cancel_;
  int failing_dialogs_ = 0;
};

}  // namespace quillet::port
