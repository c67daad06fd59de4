// SPDX-License-Identifier: GPL-3.0-or-later
// Cross-posted articles that the user deleted in one group, while a chain record of another still
// names them: that is no loss, and they must not be asked for again. Only for store/.
//
// Their Message-IDs are kept in a small file beside the databases, in the form of the list of lost
// articles, until the chains have been put in order.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

// The article is about to be deleted by the user: notes it when more than one chain record names
// it. The chains are read once for that.
void NoteDeletion(std::string_view message_id);
// The article was put on a chain: it is there again.
void NoteChained(std::string_view message_id);

// Whether the user deleted the article.
bool WasDeleted(const std::string& message_id);
// No chain record names a deleted article any more.
void ForgetDeletions();
// Writes what has been noted. True when nothing is left to write.
bool WriteDeletions();
// Other files are about to be opened.
void ReleaseDeletions();

}  // namespace quillet
