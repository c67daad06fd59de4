// SPDX-License-Identifier: GPL-3.0-or-later
// The queue of posts as the user sees it. Program thread only.
#pragma once

#include <string_view>

namespace quillet {

// The dialog "Pending Posts", until the user ends it; it comes again after each post that was
// edited in it.
void ShowPendingPosts();

// Opens a queued post in the editor; one that cannot be fetched any more is passed over.
void EditPendingPost(std::string_view key);

}  // namespace quillet
