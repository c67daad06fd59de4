#include "port/linux/linux_contacts.h"

#include <utility>

namespace quillet::port {

LinuxContacts::LinuxContacts(std::string data_folder) : data_folder_(std::move(data_folder)) {}

std::optional<std::vector<Contact>> LinuxContacts::ReadAll() {
  return std::nullopt;
}

}  // namespace quillet::port
