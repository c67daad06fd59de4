// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/outbox.h"

#include "base/long_operation.h"
#include "base/messages.h"
#include "nntp/connection.h"
#include "port/mail_store.h"
#include "port/platform.h"
#include "util/format.h"

namespace quillet {

void HandOverMailOnLine() {
  if (AbortRequested() || SessionEnding() || gPlatform->mail.Waiting().empty()) return;
  SetProgressTitle(u"Sending e-mail...");
  SetProgressDetail(u"");
  const std::vector<port::WaitingMail> left = gPlatform->mail.HandOver();
  if (AbortRequested()) return;
  for (const port::WaitingMail& mail : left) {
    LogError(FormatWide(u"The e-mail '%ls' to %ls could not be sent: %ls\r\n", mail.subject,
                        mail.to, mail.reason));
  }
}

}  // namespace quillet
