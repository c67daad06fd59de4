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

  std::optional<std::vector<Contact>> ReadAll() override;

 private:
  const std::string data_folder_;
};

}  // namespace quillet::port
