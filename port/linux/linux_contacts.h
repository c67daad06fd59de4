// SPDX-License-Identifier: GPL-3.0-or-later
// The user's contacts on Linux: cards in files and the address books of the mail program.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "port/contacts.h"

namespace quillet::port {

class LinuxContacts final : public Contacts {
 public:
  explicit LinuxContacts(std::string data_folder);

  // Looks, as HOME and the desktop's variables say now, into: `contacts` in the data folder,
  // ~/.contacts, `contacts` and `vdirsyncer` in the desktop's data folder, the folders that khard
  // and vdirsyncer are told of, and Thunderbird's address books. Of two contacts with one address
  // the one found first has it.
  std::optional<std::vector<Contact>> ReadAll() override;

 private:
  const std::string data_folder_;
};

}  // namespace quillet::port
