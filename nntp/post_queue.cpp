// SPDX-License-Identifier: GPL-3.0-or-later
// The keys are taken before the walk: a store changes the order of the keys. What the store has to
// do is done while the server works: a post is fetched while it takes the one before, and that one
// is deleted while it answers the next POST. An abort ends the run
// between two posts and in every wait. While the server waits for a text, or has a part of it, the
// connection is then closed without QUIT, which would be a line of that text: a text without its
// end is thrown away by the server, and the post stays in the queue.
//
// A connection that takes a lost one's place sends what no server has had a text of. The one whose
// reply was lost goes out again where its Message-ID keeps it from being there twice.
#include "nntp/post_queue.h"

#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/extensions.h"
#include "base/long_operation.h"
#include "base/upward_calls.h"
#include "mime/shown_text.h"
#include "nntp/auth.h"
#include "nntp/character_text.h"
#include "nntp/connection.h"
#include "nntp/figures.h"
#include "nntp/post_id.h"
#include "nntp/post_text.h"
#include "nntp/replies.h"
#include "nntp/run_memory.h"
#include "store/pending_posts.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

using Keys = std::vector<std::string>;

constexpr std::u16string_view kEnd = u"\r\n";

// A post whose turn comes.
struct Outgoing {
  std::size_t place = 0;  // from 1
  std::string key;
  std::unique_ptr<AsciiArticle> post;  // null: there is no more
  std::u16string left_out;  // lines of the error log for those that were passed over before it
};

struct Posting {
  Keys keys;
  std::size_t taken = 0;             // of the keys
  std::size_t done_before = 0;       // by connections of this run that were lost
  std::optional<PostIdParts> parts;  // of the Message-IDs, if the posts are given any
  bool counts_characters = false;    // in lines that are not plain ASCII; else bytes
  Outgoing next;
  std::optional<std::string> delivered;  // the key of a post that is still in the queue
};

Keys QueuedKeys() {
  Keys keys;
  for (auto key = NextPendingPostKey({}); key; key = NextPendingPostKey(key)) {
    if (!gRun.posts_done.contains(*key)) keys.push_back(*key);
  }
  return keys;
}

// It is not sent again by a later connection of this run.
void NoteDone(const std::string& key) {
  if (gRun.retries != 0) gRun.posts_done.insert(key);
}

// A reply holds its own line end as well: the next line of the log is an empty one.
RunEnd Refuse(std::u16string_view problem) {
  LogError(FormatWide(problem, gConnection.reply, kEnd));
  return RunEnd::kRefused;
}

void ShowPost(const AsciiArticle& post) {
  try {
    SetProgressDetail(FormatWide(u"Posting article '%s'", ShownHeader(*post.subject)));
  } catch (const std::bad_alloc&) {
    SetProgressDetail(u"Posting article");
  }
}

// What the server has of the text has no end, and gets none.
RunEnd DropText() {
  LogTransaction("Ended before the article was sent whole. It stays in the queue.\r\n");
  gConnection.wire.Close();
  return RequestedEnd();
}

bool HasNumber(std::string_view text, std::string_view number) {
  const auto is_digit = [&](std::size_t at) {
    return at < text.size() && text[at] >= '0' && text[at] <= '9';
  };
  for (std::size_t at = 0; (at = text.find(number, at)) != std::string_view::npos; ++at) {
    if (!is_digit(at + number.size()) && (at == 0 || !is_digit(at - 1))) return true;
  }
  return false;
}

// The server has had this Message-ID before: an earlier attempt of which the reply was lost.
bool SaysDuplicate(std::string_view reply) {
  if (!StartsWith(reply, "441") && !StartsWith(reply, "435")) return false;
  return HasNumber(reply, "435") || reply.find("uplicate") != std::string_view::npos;
}

// Nothing when memory runs out.
std::optional<std::string> TextOf(const Posting& run, Outgoing& current) {
  AsciiArticle& post = *current.post;
  try {
    const bool gets_id = run.parts && !HasMessageId(*post.headers);
    const std::string id = gets_id ? MessageIdLine(*run.parts, current.key) : "";
    if (run.counts_characters && HasCharacters(*post.headers, *post.body)) {
      return BuildCharacterPost(*post.headers, *post.body, id);
    }
    const std::string body = WrapPostBody(*std::move(post.body));
    return BuildPostText(*post.headers, body, id);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

// A post that the server has, and the queue too.
void Settle(Posting& run) {
  if (run.delivered) DeletePendingPost(*run.delivered);
  run.delivered.reset();
}

void NoteDelivered(Posting& run, const std::string& key) {
  NotePosted();
  NoteDone(key);
  run.delivered = key;
  // Only a server that knows a second attempt makes a kill in between harmless.
  if (!run.parts) Settle(run);
}

// The next post that can be sent. After a POST for one that cannot be fetched the server would wait
// for a text that is not there.
Outgoing TakeNext(Posting& run) {
  Outgoing next;
  while (run.taken < run.keys.size()) {
    next.key = run.keys[run.taken++];
    next.place = run.taken;
    next.post = FetchPendingPost(next.key);
    if (!next.post) continue;
    if (!up::IsBeingEdited(next.key)) break;
    // Else two versions of it would go out.
    next.left_out += FormatWide(u"The article '%s' is being edited and was not posted.\r\n",
                                ShownHeader(*next.post->subject));
    NoteDone(next.key);
    next.post.reset();
  }
  return next;
}

RunEnd AskToPost(Posting& run, Outgoing& current, std::optional<std::string>& text) {
  bool sent = SendCommand("POST");
  Settle(run);
  if (sent) text = TextOf(run, current);
  if (!sent || !ReadResponse()) return AbortRequested() ? DropText() : RunEnd::kLost;
  if (const std::optional<RunEnd> login = LogInIfAsked(gConnection.reply)) {
    if (*login != RunEnd::kGoOn) return *login;
    sent = SendCommand("POST");
    if (!sent || !ReadResponse()) return AbortRequested() ? DropText() : RunEnd::kLost;
  }
  if (StartsWith(gConnection.reply, "3")) return RunEnd::kGoOn;
  // Meant: the wording. Users and their helpers know this line.
  return Refuse(
      u"An error occurred while posting articles. I send POST, and the server replied: %ls%ls");
}

// The server has the text, or a part of it, and what became of it is not known.
RunEnd LeaveUnknown(const Posting& run, const Outgoing& post) {
  if (const RunEnd asked = RequestedEnd(); asked != RunEnd::kGoOn) return asked;
  if (run.parts || gRun.retries == 0) return RunEnd::kLost;
  NoteDone(post.key);
  LogError(
      FormatWide(u"It is not known whether the article '%ls' was posted. It stays in the "
                 u"queue.\r\n",
                 ShownHeader(*post.post->subject)));
  return RunEnd::kLost;
}

RunEnd SendText(Posting& run, const Outgoing& current, const std::optional<std::string>& text) {
  if (!text) {
    LogError(u"Quillet ran out of memory while posting articles. Skipping queued articles.\r\n");
    return RunEnd::kNoMemory;
  }
  if (AbortRequested()) return DropText();
  if (!gConnection.wire.Send(*text)) {
    if (AbortRequested()) return DropText();
    LogLoss();
    return LeaveUnknown(run, current);
  }
  run.next = TakeNext(run);
  return ReadResponse() ? RunEnd::kGoOn : LeaveUnknown(run, current);
}

RunEnd JudgeReply(Posting& run, const std::string& key) {
  if (StartsWith(gConnection.reply, "2")) {
    NoteDelivered(run, key);
    return RunEnd::kGoOn;
  }
  if (run.parts && SaysDuplicate(gConnection.reply)) {
    LogTransaction("The server has this article already: it leaves the queue.\r\n");
    NoteDelivered(run, key);
    return RunEnd::kGoOn;
  }
  NoteDone(key);
  MarkPostRefused(key, Widen(gConnection.reply));
  if (StartsWith(gConnection.reply, "441")) {
    Refuse(u"Article rejected by server: %ls%ls");
    return RunEnd::kGoOn;
  }
  return Refuse(StartsWith(gConnection.reply, "440")
                    ? u"The server is not accepting posts: %ls%ls"
                    : u"An error occurred while posting articles: %ls%ls");
}

RunEnd PostOne(Posting& run) {
  Outgoing current = std::exchange(run.next, {});
  LogError(current.left_out);
  if (!current.post) return RunEnd::kGoOn;
  SetProgressPosition(current.place);
  NotePosting(run.done_before + current.place, run.done_before + run.keys.size());
  ShowPost(*current.post);
  std::optional<std::string> text;
  RunEnd end = AskToPost(run, current, text);
  if (end == RunEnd::kGoOn) end = SendText(run, current, text);
  return end == RunEnd::kGoOn ? JudgeReply(run, current.key) : end;
}

RunEnd PostAll(Posting& run) {
  RunEnd end = RunEnd::kGoOn;
  run.next = TakeNext(run);
  while (!Ended(end) && (run.next.post || !run.next.left_out.empty())) end = PostOne(run);
  Settle(run);
  return end;
}

}  // namespace

RunEnd PostQueuedArticles() {
  Posting run;
  run.keys = QueuedKeys();
  run.done_before = gRun.posts_done.size();
  if (run.keys.empty()) return RunEnd::kGoOn;
  if (!gConnection.posting_allowed) {
    if (!std::exchange(gRun.said_no_posting, gRun.retries != 0)) {
      LogError(u"The news server does not allow posting. Skipping queued posts.\r\n");
    }
    return RunEnd::kGoOn;
  }
  SetProgressTitle(u"Posting queued articles");
  // The bar is a post ahead: it stands at the one that is being sent.
  SetProgressRange(run.keys.size(), RangeCovers::kRoughly);
  const Extensions extensions = ReadExtensions();
  run.counts_characters = extensions.postcharsets != 0;
  if (!extensions.postmessageids) return PostAll(run);
  run.parts = TakePostIdParts();
  // Posts that a kill brings back are known to the server.
  const ManyPosts many;
  return PostAll(run);
}

}  // namespace quillet
