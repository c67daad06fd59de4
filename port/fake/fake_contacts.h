// SPDX-License-Identifier: GPL-3.0-or-later
// Contacts as a test sets them.
#pragma once

#include <optional>
#include <vector>

#include "port/contacts.h"

namespace quillet::port {

class FakeContacts final : public Contacts {
 public:
  std::optional<std::vector<Contact>> ReadAll() override {
    ++reads;
    return contacts;
  }

  // In the order in which they are handed out; nothing: no source can be read.
  std::optional<std::vector<Contact>> contacts = std::vector<Contact>();
  int reads = 0;
};

}  // namespace quillet::port
