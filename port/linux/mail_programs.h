// SPDX-License-Identifier: GPL-3.0-or-later
// The mail programs that the machine has, and how each is told to take a message. Program thread
// only.
#pragma once

#include <string>
#include <vector>

#include "port/linux/mail_message.h"

namespace quillet::port {

struct MailProgram {
  enum class Kind { kMsmtp, kSendmail, kDesktop };

  Kind kind = Kind::kSendmail;
  std::string name;  // of the service: "msmtp ACCOUNT", "sendmail", "Desktop mail program"
  std::string return_address;  // empty: it has none of its own
  std::string program;         // native path
  std::string account = {};    // of msmtp
  std::string config = {};     // its configuration, when it would not look there itself
};

// As the environment says now (HOME, XDG_CONFIG_HOME, XDG_DATA_HOME and the like, PATH): the
// accounts of msmtp, sendmail, the desktop's mail program.
std::vector<MailProgram> FindMailPrograms();

// The one by which a service's mail leaves; null when there is none. A name of the user's own,
// which no program here has, means the first one.
const MailProgram* ProgramOf(const std::vector<MailProgram>& programs, const std::string& service);

struct MailCommand {
  std::vector<std::string> arguments;  // from the program's name on
  std::string refusal;                 // why it cannot take the message; empty: it can
};
// What stands in the message never becomes an option.
MailCommand CommandFor(const MailProgram& program, const MailSummary& mail);

}  // namespace quillet::port
