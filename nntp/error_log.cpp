// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/error_log.h"

#include <string>

#include "base/box_owner.h"
#include "base/messages.h"
#include "base/reset.h"
#include "base/window_procedures.h"
#include "port/dialogs.h"
#include "port/platform.h"
#include "res/resource.h"

namespace quillet {
namespace {

port::WindowHandle gWindow = 0;

const ResetAtEnd kReset([] { gWindow = 0; });

void HandleMessage(const port::Message& message) {
  const bool pressed = message.kind == port::MessageKind::kCommand &&
                       (message.id == kControlOk || message.id == kControlCancel);
  if (pressed || message.kind == port::MessageKind::kClose) CloseErrorLog();
}

// Shows the text, the line that came last in sight.
void WriteText(const std::u16string& text) {
  port::Dialogs& dialogs = gPlatform->dialogs;
  dialogs.Write(gWindow, kControlErrorLog, port::Text{text});
  dialogs.Write(gWindow, kControlErrorLog, port::TextState{text.size(), 0, false});
}

}  // namespace

void AddToErrorLogWindow(std::u16string_view text) {
  port::Dialogs& dialogs = gPlatform->dialogs;
  if (gWindow != 0) {
    std::u16string all = dialogs.Read(gWindow, kControlErrorLog).text;
    return WriteText(all.append(text));
  }
  if (SessionEnding()) return;
  gWindow = dialogs.Create(kDialogErrorLog, gMainWindow, port::DialogKind::kWindow);
  if (gWindow == 0) {
    ShowBox(CurrentBoxOwner(), u"Error log", text, {});
    return;
  }
  SetProcedure(gWindow, HandleMessage);
  WriteText(std::u16string(text));
  dialogs.Show(gWindow);
}

void CloseErrorLog() {
  if (gWindow == 0) return;
  RemoveProcedure(gWindow);
  gPlatform->dialogs.Destroy(gWindow);
  gWindow = 0;
}

}  // namespace quillet
