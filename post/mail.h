// SPDX-License-Identifier: GPL-3.0-or-later
// Mail: the message that a text becomes, and the transport that takes it. Program thread only.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillet {

struct MailDraft {
  std::u16string recipients;
  std::u16string sender;  // the user's own address
  std::u16string copy_to;
  std::u16string body;
  std::u16string subject;
  std::u16string id;  // names the message for ever (port/mail_store.h)
};

// Remembers the recipients, chooses the transport, puts the message into the outbox and tries to
// hand it over. Failures are reported here; true when the message is in the outbox or has left it.
bool MailMessage(const MailDraft& mail);

// The name of the service to use, asking the user when there are several; nothing after the
// warning that there is none.
std::optional<std::u16string> ChooseTransport();

// Publishes the machine's services below PMail\ServiceInfo; subkeys of the user's own stay.
void PublishMailServices();

// Hands over what is in the outbox, under the progress dialog unless an operation runs already.
// Without waiting mail nothing is shown.
void HandOverMail();

}  // namespace quillet
