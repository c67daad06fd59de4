// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/pending_posts.h"

#include "base/app_messages.h"
#include "base/messages.h"
#include "base/reset.h"
#include "port/clock.h"
#include "port/platform.h"
#include "store/databases.h"
#include "store/record_strings.h"
#include "store/refusals.h"
#include "store/stored_article.h"
#include "store/whole_points.h"
#include "util/little_endian.h"

namespace quillet {
namespace {

constexpr DatabaseIndex kPosts = DatabaseIndex::kPendingPosts;
constexpr std::size_t kMarkOffset = 4;
constexpr std::uint64_t kLongestUnsafe = 1000;  // milliseconds, while a ManyPosts lives

// While a ManyPosts lives.
struct Many {
  std::uint64_t safe_since = 0;  // when the queue was made safe last
  bool refusals = true;          // whether any post has a reply to forget
};
std::optional<Many> gMany;

const ResetAtEnd kReset([] { gMany.reset(); });

void MakeSafe() {
  if (gMany) {
    const std::uint64_t now = gPlatform->clock.Ticks();
    if (now - gMany->safe_since < kLongestUnsafe) return;
    gMany->safe_since = now;
  }
  StoreIsWhole();
}

void NoteNewPost() {
  ++gPendingPostCount;
  PostToMainWindow(kUserPostQueued);
}

bool FailToStore() {
  ReportError(u"Error inserting GDBM post.", u"StoreAsciiGDBMPost");
  return false;
}

std::optional<std::string> WithoutNul(std::optional<std::string> key) {
  if (key && !key->empty() && key->back() == '\0') key->pop_back();
  return key;
}

// True when the record under the key was marked and no longer is.
bool ClearMark(std::string_view key) {
  auto value = FetchValue(kPosts, key);
  if (!value || !IsArticleValue(*value) || GetU32(*value, kMarkOffset) != 1) return false;
  PutU32(*value, kMarkOffset, 0);
  return StoreValue(kPosts, key, *value, StoreMode::kReplace);
}

}  // namespace

bool StoreAsciiGDBMPost(AsciiArticle& article) {
  const auto value = SerializeArticle(article, SerializeMode::kByPreference);
  if (!value) return FailToStore();
  const std::string key = StringKey(*article.messageId);
  if (StoreValue(kPosts, key, *value, StoreMode::kInsert)) {
    NoteNewPost();
  } else if (!StoreValue(kPosts, key, *value, StoreMode::kReplace)) {
    return FailToStore();
  }
  // Also of a new one: a kill may have come between an earlier post of that key and its refusal.
  ForgetRefusal(*article.messageId);
  // No server has it yet.
  StoreIsWhole();
  return true;
}

bool MarkPostRefused(std::string_view message_id, std::u16string_view reply) {
  const std::unique_ptr<AsciiArticle> post = FetchPendingPost(message_id);
  if (!post) return true;
  post->read = 1;
  const auto value = SerializeArticle(*post, SerializeMode::kByPreference);
  if (!value || !StoreValue(kPosts, StringKey(message_id), *value, StoreMode::kReplace)) {
    return FailToStore();
  }
  KeepRefusal(message_id, reply);
  if (gMany) gMany->refusals = true;
  MakeSafe();
  return true;
}

std::unique_ptr<AsciiArticle> FetchPendingPost(std::string_view message_id) {
  return FetchArticleRecord(kPosts, StringKey(message_id));
}

void DeletePendingPost(std::string_view message_id) {
  if (!DeleteValue(kPosts, StringKey(message_id))) return;
  if (gPendingPostCount > 0) --gPendingPostCount;
  if (!gMany || gMany->refusals) ForgetRefusal(message_id);
  // So that it does not come back from the copy.
  MakeSafe();
  PostToMainWindow(kUserRefreshCounts);
}

std::optional<std::string> NextPendingPostKey(const std::optional<std::string>& previous) {
  return WithoutNul(previous ? NextKey(kPosts, StringKey(*previous)) : FirstKey(kPosts));
}

std::uint32_t CountPendingPosts() {
  std::uint32_t count = 0;
  for (auto key = FirstKey(kPosts); key; key = NextKey(kPosts, *key)) ++count;
  return count;
}

std::unique_ptr<AsciiArticle> FirstWaitingPendingPost() {
  // Only the first one is looked at, on purpose: behind a post in progress none is handed out.
  const auto key = FirstKey(kPosts);
  if (!key) return nullptr;
  auto post = FetchArticleRecord(kPosts, *key);
  if (post && post->read != 0) post.reset();
  return post;
}

void ClearPendingFlags() {
  auto key = FirstKey(kPosts);
  while (key) {
    // A store may reorder the iteration, so the walk begins anew after one.
    key = ClearMark(*key) ? FirstKey(kPosts) : NextKey(kPosts, *key);
  }
}

ManyPosts::ManyPosts() {
  gMany = {gPlatform->clock.Ticks(), AnyRefusals()};
}

ManyPosts::~ManyPosts() {
  gMany.reset();
  if (FirstKey(kPosts)) {
    StoreIsWhole();
  } else {
    DropCopyOfEmptyQueue();
  }
}

}  // namespace quillet
