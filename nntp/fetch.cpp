// SPDX-License-Identifier: GPL-3.0-or-later
// One article: HEAD, the judgement by what the head says, BODY, the store. Two kinds of failure are
// kept apart: what the server or the killfile says against an article is for good, and it is not
// asked for again; what ends the run before the article is in the store is not the article's fault.
#include "nntp/fetch.h"

#include <algorithm>
#include <array>
#include <new>

#include "base/long_operation.h"
#include "base/prefs.h"
#include "killfile/killfile.h"
#include "nntp/auth.h"
#include "nntp/connection.h"
#include "nntp/headers.h"
#include "nntp/replies.h"
#include "port/platform.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/records.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::size_t kHeadCapacity = 10240;
constexpr std::uint64_t kBytesPerLine = 72;
constexpr std::uint64_t kRecordOverhead = 72;  // bytes on the volume beside the texts
constexpr std::string_view kTooLarge = "Quillet notification: message exceeds maximum size.\r\n";
constexpr std::string_view kNoBody = "Quillet notification: message has no body\r\n";

Part Unfinished(DownloadRun& run, RunEnd why) {
  EndRun(run, why);
  return Part::kUnfinished;
}

// Replies that say nothing about the article: the server closes (400), wants a login or encryption
// first (480, 483), does not let this user in or lacks the command (502, 503).
bool EndsDownload(std::int32_t status) {
  constexpr std::array<std::int32_t, 5> kEnds = {400, 480, 483, 502, 503};
  return std::find(kEnds.begin(), kEnds.end(), status) != kEnds.end();
}

// The server has lost the group or the place in it over a login in between: it says nothing about
// the article either.
bool HasLostItsPlace(std::int32_t status) {
  return status == 412 || status == 420;
}

// Sends HEAD or BODY and reads the status line; `text` holds what came with it. A login that the
// server asks for is given, and the command once more.
RunEnd ReadStatusOf(std::string_view command, std::string& text, const Meanwhile& meanwhile,
                    bool& logged_in) {
  const bool sent = SendCommand(command);
  meanwhile();
  if (!sent || !ReadStatusLine(text)) return RunEnd::kLost;
  const std::optional<RunEnd> login = LogInIfAsked(gConnection.status_line);
  if (!login) return RunEnd::kGoOn;
  if (*login != RunEnd::kGoOn) return *login;
  logged_in = true;
  text.clear();
  return SendCommand(command) && ReadStatusLine(text) ? RunEnd::kGoOn : RunEnd::kLost;
}

Part AskFor(DownloadRun& run, std::string command, std::string_view which, std::string& text,
            const Meanwhile& meanwhile) {
  text.clear();
  if (Ended(run.end)) return Part::kUnfinished;
  if (!which.empty()) command.append(" ").append(which);
  bool logged_in = false;
  const RunEnd asked = ReadStatusOf(command, text, meanwhile, logged_in);
  if (asked != RunEnd::kGoOn) return Unfinished(run, asked);
  const std::int32_t status = gConnection.last_status;
  if (EndsDownload(status) || (logged_in && HasLostItsPlace(status))) {
    LogError(FormatWide(u"The server ended the download: %ls\r\n", Widen(gConnection.status_line)));
    return Unfinished(run, RunEnd::kRefused);
  }
  return status >= 200 && status <= 299 ? Part::kTaken : Part::kDropped;
}

Part ReadBody(DownloadRun& run, std::string_view which, std::uint32_t number,
              std::uint32_t estimated_k, const Meanwhile& meanwhile) {
  const Part asked = AskFor(run, "BODY", which, run.body, meanwhile);
  if (asked != Part::kTaken) return asked;
  const BlockResult result = ReadMultiline(&run.body, run.body_capacity, true, number, estimated_k);
  if (Ended(run.end)) return Part::kUnfinished;
  if (result == BlockResult::kOversized) {
    run.body = kTooLarge;
  } else if (result != BlockResult::kComplete) {
    return Unfinished(run, RunEnd::kLost);
  }
  if (run.body.empty()) run.body = kNoBody;
  return Part::kTaken;
}

std::uint32_t EstimatedK(std::string_view head) {
  const std::string lines = GetHeaderValue("Lines:", head).value_or("");
  return static_cast<std::uint32_t>(std::uint64_t{LeadingNumber(lines)} * kBytesPerLine / 1024);
}

Fetched OutOfMemory(DownloadRun& run) {
  LogError(u"out of memory\r\n");
  EndRun(run, RunEnd::kNoMemory);
  return Fetched::kUnfinished;
}

// False when the chain could not be written.
bool PutOnChain(DownloadRun& run, std::size_t group, const std::string& message_id) {
  if (!AddArticleToGroup(gPrefs->groups[group], message_id)) return false;
  if (group < gReadInfo.size()) ++gReadInfo[group]->totalCount;
  if (run.members) run.members->NoteAdded(message_id);
  return true;
}

// False when the article is not in the store.
bool StoreInGroup(DownloadRun& run, AsciiArticle& article, std::size_t group) {
  if (!StoreArticle(article)) return false;
  if (run.members && run.members->TakesBack(*article.messageId)) return true;
  if (PutOnChain(run, group, *article.messageId)) return true;
  // On no chain nobody would see it, and it would be taken for a duplicate.
  DeleteArticle(*article.messageId);
  return false;
}

// What stands for the Message-ID of an article that came without one says nothing about which it
// is.
bool NamesOneArticle(const std::string& message_id) {
  return !message_id.empty() && message_id != kNoMessageId;
}

// An article that the store has comes into this group, too.
Fetched AddCrossPost(DownloadRun& run, std::size_t group, const std::string& message_id) {
  if (!run.members || !NamesOneArticle(message_id)) return Fetched::kDuplicate;
  try {
    if (run.members->Contains(message_id)) return Fetched::kDuplicate;
    if (!PutOnChain(run, group, message_id)) {
      EndRun(run, RunEnd::kStoreFailed);
      return Fetched::kUnfinished;
    }
  } catch (const std::bad_alloc&) {
    return OutOfMemory(run);
  }
  // It was read in another group.
  if (group < gReadInfo.size() && IsArticleRead(message_id)) ++gReadInfo[group]->readCount;
  ++run.stored_since_asked;
  return Fetched::kCrossPost;
}

Fetched NotTaken(Part part) {
  return part == Part::kUnfinished ? Fetched::kUnfinished : Fetched::kCounted;
}

}  // namespace

void EndRun(DownloadRun& run, RunEnd why) {
  if (run.end == RunEnd::kGoOn) run.end = why == RunEnd::kLost ? LostOrAsked() : why;
}

Part TakeHead(DownloadRun& run, std::string_view which, const Meanwhile& meanwhile) {
  const Part asked = AskFor(run, "HEAD", which, run.head, meanwhile);
  if (asked != Part::kTaken) return asked;
  const BlockResult result = ReadMultiline(&run.head, kHeadCapacity, false, 0, 0);
  if (Ended(run.end)) return Part::kUnfinished;
  if (result == BlockResult::kOversized) return Part::kDropped;
  // A head cut short may lack its Message-ID: it is not stored.
  return result == BlockResult::kComplete ? Part::kTaken : Unfinished(run, RunEnd::kLost);
}

Part TakeBody(DownloadRun& run, std::string_view which, std::uint32_t number,
              const Meanwhile& meanwhile) {
  const std::uint32_t estimated_k = EstimatedK(run.head);
  if (estimated_k > gPrefs->maxarticlesize) {
    meanwhile();
    SetProgressDetail(FormatWide(u"Skipping large article %lu (%luk)", number, estimated_k));
    run.body = kTooLarge;
    return Part::kTaken;
  }
  if (gPrefs->downloadfull != 0) return ReadBody(run, which, number, estimated_k, meanwhile);
  meanwhile();
  run.body.clear();
  return Part::kTaken;
}

void CountUsedSpace(DownloadRun& run, const AsciiArticle& article) {
  if (!run.space) return;
  const std::uint64_t used = article.body->size() + article.headers->size() + kRecordOverhead;
  run.space->free_bytes -= std::min(used, run.space->free_bytes);
}

Fetched DownloadArticle(DownloadRun& run, std::size_t group, std::uint32_t number,
                        const std::function<bool()>& before_storing) {
  const std::unique_ptr<AsciiArticle> article = NewAsciiArticle();
  if (!article) return OutOfMemory(run);
  const Part head =
      TakeHead(run, {}, [number] { SetProgressDetail(FormatWide(u"article %lu", number)); });
  if (head != Part::kTaken) return NotTaken(head);
  ExtractFields(*article, run.head);
  if (ArticleIsKilled(*gPrefs, GroupAt(group), *article)) {
    SetProgressDetail(FormatWide(u"Killed article %lu", number));
    return Fetched::kCounted;
  }
  if (ArticleExists(*article->messageId)) return AddCrossPost(run, group, *article->messageId);
  const Part body = TakeBody(
      run, {}, number, [&] { article->headers = KeptHeaders(run.head, gPrefs->keepheaders != 0); });
  if (body != Part::kTaken) return NotTaken(body);
  article->body = run.body;
  article->articleNumber = gConnection.last_article_number;
  CountUsedSpace(run, *article);
  const bool connected = before_storing();
  ++run.stored_since_asked;
  if (!StoreInGroup(run, *article, group)) {
    EndRun(run, RunEnd::kStoreFailed);
    return Fetched::kUnfinished;
  }
  if (!connected) EndRun(run, RunEnd::kLost);
  return Fetched::kCounted;
}

}  // namespace quillet
