// The keys are taken before the walk: a store changes the order of the keys. An abort ends the run
// between two posts and in every wait. While the server waits for a text, or has a part of it, the
// connection is then closed without QUIT, which would be a line of that text: a text without its
// end is thrown away by the server, and the post stays in the queue.
#include "nntp/post_queue.h"

#include <algorithm>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "base/extensions.h"
#include "base/long_operation.h"
#include "base/upward_calls.h"
#include "nntp/connection.h"
#include "nntp/post_id.h"
#include "nntp/post_text.h"
#include "nntp/replies.h"
#include "store/pending_posts.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

using Keys = std::vector<std::string>;

constexpr std::u16string_view kEnd = u"\r\n";

Keys QueuedKeys() {
  Keys keys;
  for (auto key = NextPendingPostKey({}); key; key = NextPendingPostKey(key)) keys.push_back(*key);
  return keys;
}

// A reply holds its own line end as well: the next line of the log is an empty one.
RunEnd Refuse(std::u16string_view problem) {
  LogError(FormatWide(problem, gConnection.reply, kEnd));
  return RunEnd::kRefused;
}

void ShowPost(const AsciiArticle& post) {
  try {
    SetProgressDetail(FormatWide(u"Posting article '%s'", *post.subject));
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

RunEnd AskToPost() {
  if (!SendCommand("POST") || !ReadResponse()) {
    return AbortRequested() ? DropText() : RunEnd::kLost;
  }
  if (StartsWith(gConnection.reply, "3")) return RunEnd::kGoOn;
  // Meant: the wording. Users and their helpers know this line.
  return Refuse(
      u"An error occurred while posting articles. I send POST, and the server replied: %ls%ls");
}

// Nothing when memory runs out.
std::optional<std::string> TextOf(AsciiArticle& post, const std::string& message_id) {
  try {
    const std::string body = WrapPostBody(*std::move(post.body));
    return BuildPostText(*post.headers, body, HasMessageId(*post.headers) ? "" : message_id);
  } catch (const std::bad_alloc&) {
    LogError(u"Quillet ran out of memory while posting articles. Skipping queued articles.\r\n");
    return std::nullopt;
  }
}

RunEnd SendText(AsciiArticle& post, const std::string& message_id) {
  const std::optional<std::string> text = TextOf(post, message_id);
  if (!text) return RunEnd::kNoMemory;
  if (AbortRequested()) return DropText();
  if (!gConnection.wire.Send(*text)) {
    if (AbortRequested()) return DropText();
    LogLoss();
    return RunEnd::kLost;
  }
  return ReadResponse() ? RunEnd::kGoOn : LostOrAsked();
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

RunEnd JudgeReply(const std::string& key, bool knows_attempts) {
  if (StartsWith(gConnection.reply, "2")) {
    DeletePendingPost(key);
    return RunEnd::kGoOn;
  }
  if (knows_attempts && SaysDuplicate(gConnection.reply)) {
    LogTransaction("The server has this article already: it leaves the queue.\r\n");
    DeletePendingPost(key);
    return RunEnd::kGoOn;
  }
  MarkPostRefused(key, Widen(gConnection.reply));
  if (StartsWith(gConnection.reply, "441")) {
    Refuse(u"Article rejected by server: %ls%ls");
    return RunEnd::kGoOn;
  }
  return Refuse(StartsWith(gConnection.reply, "440")
                    ? u"The server is not accepting posts: %ls%ls"
                    : u"An error occurred while posting articles: %ls%ls");
}

// The way of one post, which leaves the queue or stays there. `parts`: of the Message-ID that it
// is given, if it is to have one.
RunEnd PostOne(const std::string& key, const std::optional<PostIdParts>& parts) {
  const std::unique_ptr<AsciiArticle> post = FetchPendingPost(key);
  // After a POST the server would wait for a text that is not there.
  if (!post) return RunEnd::kGoOn;
  if (up::IsBeingEdited(key)) {
    // Else two versions of it would go out.
    LogError(
        FormatWide(u"The article '%s' is being edited and was not posted.\r\n", *post->subject));
    return RunEnd::kGoOn;
  }
  ShowPost(*post);
  if (const RunEnd end = AskToPost(); end != RunEnd::kGoOn) return end;
  const RunEnd end = SendText(*post, parts ? MessageIdLine(*parts, key) : "");
  return end == RunEnd::kGoOn ? JudgeReply(key, parts.has_value()) : end;
}

}  // namespace

RunEnd PostQueuedArticles() {
  const Keys keys = QueuedKeys();
  if (keys.empty()) return RunEnd::kGoOn;
  if (!gConnection.posting_allowed) {
    LogError(u"The news server does not allow posting. Skipping queued posts.\r\n");
    return RunEnd::kGoOn;
  }
  SetProgressTitle(u"Posting queued articles");
  SetProgressRange(keys.size());
  std::optional<PostIdParts> parts;
  std::optional<ManyPosts> many;
  if (ReadExtensions().postmessageids) {
    parts = TakePostIdParts();
    // A post that a kill brings back is known to the server.
    many.emplace();
  }
  RunEnd end = RunEnd::kGoOn;
  for (std::size_t i = 0; i < keys.size() && !Ended(end); ++i) {
    SetProgressPosition(i + 1);
    end = PostOne(keys[i], parts);
  }
  return end;
}

}  // namespace quillet
