// One article: HEAD, the judgement by what the head says, BODY, the store. A text cut short by a
// lost connection and a store that refuses end the run, but what is under way is carried to its end
// first: the head that came is still used, the space still counted.
#include "nntp/fetch.h"

#include <algorithm>

#include "base/long_operation.h"
#include "base/prefs.h"
#include "killfile/killfile.h"
#include "nntp/connection.h"
#include "nntp/headers.h"
#include "nntp/replies.h"
#include "port/platform.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/records.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr std::size_t kHeadCapacity = 10240;
constexpr std::uint64_t kBytesPerLine = 72;
constexpr std::uint64_t kRecordOverhead = 72;  // bytes on the volume beside the texts
constexpr std::string_view kTooLarge = "Quillet notification: message exceeds maximum size.\r\n";
constexpr std::string_view kNoBody = "Quillet notification: message has no body\r\n";

enum class Part { kTaken, kDropped, kRunEnds };

// Sends HEAD or BODY and reads the status line; `text` holds what came with it.
Part AskFor(DownloadRun& run, std::string_view command, std::string& text) {
  text.clear();
  if (!SendCommand(command) || !ReadStatusLine(text)) {
    EndRun(run, RunEnd::kLost);
    return Part::kRunEnds;
  }
  const bool good = gConnection.last_status >= 200 && gConnection.last_status <= 299;
  return good ? Part::kTaken : Part::kDropped;
}

Part ReadHead(DownloadRun& run) {
  const Part asked = AskFor(run, "HEAD", run.head);
  if (asked != Part::kTaken) return asked;
  const BlockResult result = ReadMultiline(&run.head, kHeadCapacity, false, 0, 0);
  if (Ended(run.end) || result == BlockResult::kOversized) return Part::kDropped;
  // A head cut short by a lost connection is still used, and the run ends after it.
  if (result != BlockResult::kComplete) EndRun(run, RunEnd::kLost);
  return Part::kTaken;
}

Part ReadBody(DownloadRun& run, std::uint32_t number, std::uint32_t estimated_k) {
  const Part asked = AskFor(run, "BODY", run.body);
  if (asked != Part::kTaken) return asked;
  const BlockResult result = ReadMultiline(&run.body, run.body_capacity, true, number, estimated_k);
  if (Ended(run.end)) return Part::kDropped;
  if (result == BlockResult::kOversized) {
    run.body = kTooLarge;
  } else if (result != BlockResult::kComplete) {
    EndRun(run, RunEnd::kLost);
    return Part::kDropped;
  }
  if (run.body.empty()) run.body = kNoBody;
  return Part::kTaken;
}

std::uint32_t EstimatedK(std::string_view head) {
  const std::string lines = GetHeaderValue("Lines:", head).value_or("");
  return static_cast<std::uint32_t>(std::uint64_t{LeadingNumber(lines)} * kBytesPerLine / 1024);
}

Part TakeBody(DownloadRun& run, std::uint32_t number, std::uint32_t estimated_k) {
  if (estimated_k > gPrefs->maxarticlesize) {
    SetProgressDetail(FormatWide(u"Skipping large article %lu (%luk)", number, estimated_k));
    run.body = kTooLarge;
    return Part::kTaken;
  }
  if (gPrefs->downloadfull != 0) return ReadBody(run, number, estimated_k);
  run.body.clear();
  return Part::kTaken;
}

void StoreInGroup(DownloadRun& run, AsciiArticle& article, std::size_t group) {
  if (!StoreArticle(article)) {
    EndRun(run, RunEnd::kStoreFailed);
    return;
  }
  if (!AddArticleToGroup(gPrefs->groups[group], *article.messageId)) {
    EndRun(run, RunEnd::kStoreFailed);
    DeleteArticle(*article.messageId);
    return;
  }
  if (group < gReadInfo.size()) ++gReadInfo[group]->totalCount;
}

void CountUsedSpace(DownloadRun& run, const AsciiArticle& article) {
  if (!run.space) return;
  const std::uint64_t used = article.body->size() + article.headers->size() + kRecordOverhead;
  run.space->free_bytes -= std::min(used, run.space->free_bytes);
}

Fetched Counted(Part part) {
  return part == Part::kRunEnds ? Fetched::kRunEnds : Fetched::kCounted;
}

}  // namespace

void EndRun(DownloadRun& run, RunEnd why) {
  if (run.end == RunEnd::kGoOn) run.end = why;
}

Fetched DownloadArticle(DownloadRun& run, std::size_t group, std::uint32_t number,
                        const std::function<bool()>& before_storing) {
  const std::unique_ptr<AsciiArticle> article = NewAsciiArticle();
  if (!article) {
    LogError(u"out of memory\r\n");
    EndRun(run, RunEnd::kNoMemory);
    return Fetched::kRunEnds;
  }
  const Part head = ReadHead(run);
  if (head != Part::kTaken) return Counted(head);
  const std::uint32_t estimated_k = EstimatedK(run.head);
  article->headers = run.head;
  ExtractHeaders(*article, gPrefs->keepheaders != 0);
  if (ArticleIsKilled(*gPrefs, GroupAt(group), *article)) {
    SetProgressDetail(FormatWide(u"Killed article %lu", number));
    return Fetched::kCounted;
  }
  if (ArticleExists(*article->messageId)) return Fetched::kDuplicate;
  const Part body = TakeBody(run, number, estimated_k);
  if (body != Part::kTaken) return Counted(body);
  article->body = run.body;
  article->articleNumber = gConnection.last_article_number;
  CountUsedSpace(run, *article);
  const bool connected = before_storing();
  StoreInGroup(run, *article, group);
  if (connected) return Fetched::kCounted;
  EndRun(run, RunEnd::kLost);
  return Fetched::kRunEnds;
}

}  // namespace quillet
