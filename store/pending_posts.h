// SPDX-License-Identifier: GPL-3.0-or-later
// Queued posts: article records of their own database, with `read` as the mark of those that a
// server has refused.
//
// Keys that are strings include their terminating NUL. Program thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "store/records.h"

namespace quillet {

// A new post is counted and told to the main window; one that is queued already is replaced, and
// what a server answered to it is forgotten. False after the report "Error inserting GDBM post.".
bool StoreAsciiGDBMPost(AsciiArticle& article);
// Null when it is absent or cannot be read.
std::unique_ptr<AsciiArticle> FetchPendingPost(std::string_view message_id);
// With what a server answered to it.
void DeletePendingPost(std::string_view message_id);
// Sets the mark of a post that a server refused and keeps the reply. It is stored in the form that
// `usecompression` asks for; nothing happens when it cannot be fetched. False after the same report
// as above.
bool MarkPostRefused(std::string_view message_id, std::u16string_view reply);
// The first key (previous: nothing) or the one after `previous`, without its NUL.
std::optional<std::string> NextPendingPostKey(const std::optional<std::string>& previous);
std::uint32_t CountPendingPosts();
// The first post in the order of the keys; null also when that one is marked.
std::unique_ptr<AsciiArticle> FirstWaitingPendingPost();
// Marks of exactly 1 become 0.
void ClearPendingFlags();

// While one lives, deletions and marks are made safe together, once a second and at its end: for
// many in a row. What a kill brings back in between, or the loss of power after a queue was
// emptied, must be known for sent by whoever sends it again. One at a time.
class ManyPosts {
 public:
  ManyPosts();
  ~ManyPosts();
  ManyPosts(const ManyPosts&) = delete;
  ManyPosts& operator=(const ManyPosts&) = delete;
};

}  // namespace quillet
