// Queued posts: article records of their own database, with `read` as the posting run's mark.
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

bool StoreAsciiGDBMPost(AsciiArticle& article);
std::unique_ptr<AsciiArticle> FetchPendingPost(std::string_view message_id);
void DeletePendingPost(std::string_view message_id);
// The first key (previous: nothing) or the one after `previous`, without its NUL.
std::optional<std::string> NextPendingPostKey(const std::optional<std::string>& previous);
std::uint32_t CountPendingPosts();
std::unique_ptr<AsciiArticle> FirstWaitingPendingPost();
void ClearPendingFlags();

}  // namespace quillet
