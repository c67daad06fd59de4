// SPDX-License-Identifier: GPL-3.0-or-later
// Contact cards (vCard 2.1, 3.0 and 4.0) as text. Pure; any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "port/contacts.h"

namespace quillet::port {

// The cards of a file that have an address, in their order. Whatever the bytes are, what is not
// understood is passed over.
std::vector<Contact> ReadVcards(std::string_view text);

// Text as a card or an address book keeps it: UTF-8 when it is that, else code page 1252.
std::u16string CardText(std::string_view bytes);
// One line: control characters are blanks, none at either end.
std::u16string CleanName(std::u16string_view name);
// The address alone; empty when it is none or could be taken for more than one: with a blank, a
// control character or one that separates addresses.
std::u16string CleanAddress(std::u16string_view address);
// Splits a full name at its last blank.
void SplitFullName(std::u16string_view full_name, Contact& contact);

}  // namespace quillet::port
