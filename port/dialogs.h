// Dialogs: a form by resource id, its controls by control id, a dialog procedure in the program.
//
// A dialog belongs to the thread that created it: presses of its buttons and the user's choices in
// its drop-down lists (kCommand with the control id), kKeyUp, kTimer and kClose come to that
// thread's queue. Closing a dialog by its frame or with
// Escape is kCommand 2. Any thread may read and write controls. Writes to a dialog or control that
// does not exist do nothing; reads yield the empty value. Writes may be shown with a short delay,
// but a read always sees every earlier write.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "port/message.h"

namespace quillet::port {

class Dialogs {
 public:
  virtual ~Dialogs() = default;

  // Creates the dialog of resource `form` (res/resource.h), hidden; 0 on failure. While a dialog is
  // shown its owner (0: every window) takes no input but keeps painting.
  virtual WindowHandle Create(std::uint32_t form, WindowHandle owner) = 0;
  virtual void Show(WindowHandle dialog) = 0;
  // Any thread. Idempotent.
  virtual void Destroy(WindowHandle dialog) = 0;

  virtual void SetText(WindowHandle dialog, std::uint32_t control, std::u16string_view text) = 0;
  virtual std::u16string GetText(WindowHandle dialog, std::uint32_t control) = 0;
  virtual void SetChecked(WindowHandle dialog, std::uint32_t control, bool checked) = 0;
  virtual bool IsChecked(WindowHandle dialog, std::uint32_t control) = 0;
  virtual void ShowControl(WindowHandle dialog, std::uint32_t control, bool visible) = 0;

  // Drop-down list: its items, replacing earlier ones (the first becomes the chosen one), and the
  // index of the chosen one (-1: there are no items). Choosing from here sends no message.
  virtual void SetChoices(WindowHandle dialog, std::uint32_t control,
                          const std::vector<std::u16string>& items) = 0;
  virtual void SetChoice(WindowHandle dialog, std::uint32_t control, int index) = 0;
  virtual int Choice(WindowHandle dialog, std::uint32_t control) = 0;

  // Gives an edit box the focus (when the dialog is shown, otherwise as soon as it is) and selects
  // its whole text.
  virtual void SelectText(WindowHandle dialog, std::uint32_t control) = 0;

  // Progress bar: positions run from 0 to `upper` (at most 65,535, at least 1).
  virtual void SetProgressRange(WindowHandle dialog, std::uint32_t control, int upper) = 0;
  virtual void SetProgressPosition(WindowHandle dialog, std::uint32_t control, int position) = 0;
};

}  // namespace quillet::port
