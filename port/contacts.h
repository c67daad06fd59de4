// SPDX-License-Identifier: GPL-3.0-or-later
// The user's contacts, wherever the desktop keeps them. Program thread only.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillet::port {

struct Contact {
  std::u16string last;
  std::u16string first;
  std::vector<std::u16string> addresses;  // none is empty; no control characters
};

class Contacts {
 public:
  virtual ~Contacts() = default;

  // All of them, by last and first name, each once. What cannot be read is left out; nothing when
  // there is no source at all, or none of those that are there can be read.
  virtual std::optional<std::vector<Contact>> ReadAll() = 0;
};

}  // namespace quillet::port
