// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/user_guide.h"

#include "base/messages.h"
#include "port/platform.h"
#include "port/shell.h"

namespace quillet {

bool IsGuideKey(const port::Message& message) {
  return message.kind == port::MessageKind::kKeyUp && message.id == port::kKeyF1 &&
         message.detail == 0;
}

void OpenUserGuide() {
  if (gPlatform->shell.OpenGuide()) return;
  ShowMessage(
      u"The user guide could not be opened. The command \"man quillet\" shows it in a "
      u"terminal.");
}

}  // namespace quillet
