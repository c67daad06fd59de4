// SPDX-License-Identifier: GPL-3.0-or-later
// A display with somebody in front of it who uses dialogs.
#pragma once

#include <memory>
#include <string_view>

#include "port/common/thread_queues.h"
#include "port/dialogs.h"
#include "port/property_sheets.h"
#include "port/windows.h"

namespace quillet::qt {

// What the user does is false when the display does not take it.
class DialogHands {
 public:
  virtual ~DialogHands() = default;
  virtual port::ThreadQueues& Queues() = 0;
  virtual port::Dialogs& Dialogs() = 0;
  virtual port::PropertySheets& Sheets() = 0;
  virtual port::Windows& Windows() = 0;
  // Waits until the dialog is shown and has the focus.
  virtual void Await(port::WindowHandle dialog) = 0;

  virtual bool Press(port::WindowHandle dialog, std::uint32_t control) = 0;
  // The same by a click that comes to the window from the desktop.
  virtual bool PressInWindow(port::WindowHandle dialog, std::uint32_t control) = 0;
  virtual bool Tick(port::WindowHandle dialog, std::uint32_t control, bool checked) = 0;
  // In place of the text; CR LF is the Enter key.
  virtual bool Type(port::WindowHandle dialog, std::uint32_t control, std::u16string_view text) = 0;
  virtual bool Choose(port::WindowHandle dialog, std::uint32_t control, int index) = 0;
  virtual bool Slide(port::WindowHandle dialog, std::uint32_t control, int position) = 0;
  virtual bool PickTime(port::WindowHandle dialog, std::uint32_t control, port::TimeOfDay time) = 0;
  virtual bool TickRow(port::WindowHandle dialog, std::uint32_t control, int row, bool checked) = 0;
  virtual bool ActivateRow(port::WindowHandle dialog, std::uint32_t control, int row) = 0;
  virtual bool AskRowMenu(port::WindowHandle dialog, std::uint32_t control, int row) = 0;
  virtual bool ChoosePage(port::WindowHandle sheet, int page) = 0;
  virtual void PressReturn(port::WindowHandle dialog) = 0;
  virtual void PressEscape(port::WindowHandle dialog) = 0;
  virtual void CloseDialog(port::WindowHandle dialog) = 0;
  virtual bool CloseMain() = 0;
};

std::unique_ptr<DialogHands> NewFakeHands();
std::unique_ptr<DialogHands> NewQtHands();

}  // namespace quillet::qt
