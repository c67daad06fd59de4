// SPDX-License-Identifier: GPL-3.0-or-later
// Modal dialogs of the program thread.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>

#include "port/message.h"

namespace quillet {

// Sets the controls up before the dialog is shown.
using DialogSetup = std::function<void(port::WindowHandle dialog)>;
// Handles one message of the dialog: its result when it ends with this message.
using DialogProcedure =
    std::function<std::optional<int>(port::WindowHandle dialog, const port::Message& message)>;

// Shows the form over the owner of the boxes and runs it until the procedure gives a result, which
// is returned; the dialog still exists while the procedure runs. While it is up it owns the message
// boxes. The main window's messages wait until the end, but for a size change, which is handled at
// once, and the end of the session, which ends the dialog. Other windows that have a procedure live
// on. kIdCancel when the form cannot be shown.
int RunModalDialog(std::uint32_t form, const DialogSetup& setup, const DialogProcedure& procedure);

// The same for a sheet that exists, with its pages, and whose messages all come to one procedure.
// The sheet still exists when it returns.
int RunModalSheet(port::WindowHandle sheet, std::span<const port::WindowHandle> pages,
                  const std::function<std::optional<int>(const port::Message&)>& procedure);

// The procedure of a dialog whose buttons just end it: OK and Cancel by their ids.
std::optional<int> EndOnOkOrCancel(port::WindowHandle dialog, const port::Message& message);

}  // namespace quillet
