// SPDX-License-Identifier: GPL-3.0-or-later
// The composition record: an article or a mail while it is being written. Program thread only.
#pragma once

#include <memory>
#include <string>

namespace quillet {

// Where a text goes, as the user routes it.
enum class RouteMode { kPost = 0, kEmail = 1, kBoth = 2, kForward = 3 };

// Why it is written: it decides whether it can be routed elsewhere.
enum class ReplyFlag { kNew = 0, kReply = 1, kQueued = 2 };

struct PostInfo {
  std::u16string text;  // what the editor begins with; lines end with CR LF
  // Every unit of the text is a character; else there may be QuotedUnits in it
  // (post/article_text.h).
  bool characters = false;
  std::u16string subject;
  std::u16string newsgroups;  // joined by ","
  std::u16string references;
  std::u16string recipients;
  std::u16string copy_to;  // always empty; it is a field of the mail all the same
  std::string key;         // of the queued post that is edited again; empty: a new one
  ReplyFlag reply = ReplyFlag::kNew;
  RouteMode mode = RouteMode::kPost;
};

// Null after the critical report "out of memory" in "NewPostInfo".
std::unique_ptr<PostInfo> NewPostInfo();

}  // namespace quillet
