// SPDX-License-Identifier: GPL-3.0-or-later
// Links to newsgroups and articles that the desktop or another program has given. Program thread
// only.
#pragma once

#include <string_view>

namespace quillet {

// Opens what the link leads to. A group of the list is shown in the thread view; another one is
// added, as by New group, when the user says so. An article is opened when it is stored. What is
// neither is said in words, and nothing is done: anybody may have written the link. Servers are
// never added.
void OpenNewsLink(std::u16string_view link);

}  // namespace quillet
