// The way through the groups, one after the other: GROUP, where to start, then STAT and NEXT from
// article to article. What ends the run is noted in DownloadRun::end, and everything between units
// of work asks there; leaving a group is a Step.
//
// The number of an article is in the registry before the article is fetched. It is put back when
// the run ends before the article is done with, and tried once more after a process that was killed
// there. The server's last number is written along: a number beyond it would be taken for wrong.
#include "nntp/download.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "base/changes.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "nntp/connection.h"
#include "nntp/fetch.h"
#include "nntp/lost.h"
#include "nntp/replies.h"
#include "nntp/room.h"
#include "port/platform.h"
#include "store/bulk_store.h"
#include "store/counts.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {

std::vector<GroupIndex> gDownloadList;

namespace {

const ResetAtEnd kReset([] { gDownloadList.clear(); });

// The way through one group. Numbers wrap at 32 bits; count and remaining are signed.
struct GroupWalk {
  std::size_t group;
  std::u16string server;  // whose numbers these are
  GroupProgress progress;
  std::uint32_t first = 0;
  std::uint32_t last = 0;
  std::uint32_t wanted = 0;
  std::int32_t count = 0;
  std::int32_t remaining = 0;
  bool first_command = true;
  bool have_current = false;  // the server stands at an article, NEXT leads on from it
  bool next_sent = false;     // NEXT was sent already, its reply has not been read
};

enum class Step { kGoOn, kGroupEnds };

// Ends the run, and so the group.
Step LeaveFor(DownloadRun& run, RunEnd why) {
  EndRun(run, why);
  return Step::kGroupEnds;
}

std::uint32_t StoredIn(std::size_t group) {
  return group < gReadInfo.size() ? gReadInfo[group]->totalCount : 0;
}

bool Command(std::string_view command, CommandLogging logging = CommandLogging::kLogged) {
  return SendCommand(command, logging) && ReadResponse();
}

// What the writes of the progress say together; told to the user once a run.
void NoteSaved(DownloadRun& run, bool saved) {
  if (saved || !run.progress_saved) return;
  run.progress_saved = false;
  LogError(u"The download progress could not be saved.\r\n");
}

void SaveDownloaded(DownloadRun& run) {
  NoteSaved(run, WriteLastDownloaded(*run.key, *gPrefs));
}

void SaveOnServer(DownloadRun& run) {
  NoteSaved(run, WriteLastOnServer(*run.key, *gPrefs));
}

std::string StatCommand(std::uint32_t number) {
  return FormatNarrow("STAT %lu", number);
}

// Takes the server's numbers over and corrects what they contradict.
void UpdateServerNumbers(const GroupWalk& walk) {
  auto& [downloaded, on_server] = walk.progress;
  LogTransaction(FormatNarrow("#(IS last count:%lu first: %lu last: %lu curcount: %lu max: %lu",
                              downloaded, walk.first, walk.last, StoredIn(walk.group),
                              gPrefs->maxarticles));
  if (downloaded > on_server) {
    LogTransaction("(e)");
    downloaded = on_server;
  }
  if (on_server > walk.last) {
    LogTransaction("(rollover)");
    // Meant: so the first article itself is not fetched. The number is stored, and the captions
    // count with it; what is fetched next must not depend on the version that noticed the new
    // numbering.
    downloaded = walk.first;
  }
  on_server = walk.last;
}

std::uint32_t StartNumber(const GroupWalk& walk) {
  const std::uint32_t downloaded = walk.progress.downloaded;
  const std::uint32_t window = gPrefs->maxarticles;
  std::uint32_t base = downloaded;
  if (gPrefs->downloadnewest != 0) {
    base = std::max(walk.last < window ? walk.first - 1 : walk.last - window, downloaded);
  }
  return std::max(base + 1, walk.first);
}

std::int32_t ArticlesToGet(const GroupWalk& walk) {
  const auto available = static_cast<std::int32_t>(walk.last - walk.wanted + 1);
  const auto room = static_cast<std::int32_t>(gPrefs->maxarticles - StoredIn(walk.group));
  return std::max(std::min(std::max(available, 0), room), 0);
}

// A number that was corrected is saved together with the server's last one: each is wrong beside
// the other's former value.
void TakeServerNumbers(DownloadRun& run, const GroupWalk& walk) {
  const std::u16string& group = gPrefs->groups[walk.group];
  std::uint32_t& downloaded = walk.progress.downloaded;
  const std::uint32_t before = downloaded;
  const bool try_last_again = run.under_way.LeftBehind(walk.server, group);
  if (try_last_again && downloaded > 0) --downloaded;
  UpdateServerNumbers(walk);
  NoteSaved(run, downloaded != before ? WriteProgressNumbers(*run.key, *gPrefs)
                                      : WriteLastOnServer(*run.key, *gPrefs));
  if (try_last_again) NoteSaved(run, run.under_way.NoteTried(*run.key, walk.server, group));
}

void PlanWalk(DownloadRun& run, GroupWalk& walk) {
  walk.first = GetNumericField(gConnection.reply, 2);
  walk.last = GetNumericField(gConnection.reply, 3);
  TakeServerNumbers(run, walk);
  walk.wanted = StartNumber(walk);
  walk.count = ArticlesToGet(walk);
  walk.remaining = walk.count;
  SetProgressRange(static_cast<std::uint64_t>(std::max(walk.count, 1)));
  LogTransaction(FormatNarrow(" last: %lu; starting with %lu getting %lu)\r\n",
                              walk.progress.downloaded, walk.wanted, walk.count));
  SetProgressDetail(FormatWide(u"article %lu", walk.wanted));
}

// The wanted article is missing: walks from the group's first article to the wanted number or
// beyond it. Only numbers that grow lead there.
Step ScanForWanted(DownloadRun& run, const GroupWalk& walk, std::uint32_t& reached) {
  constexpr CommandLogging kUnlogged = CommandLogging::kUnlogged;
  reached = 0;
  if (!Command(StatCommand(walk.first), kUnlogged)) return LeaveFor(run, RunEnd::kLost);
  while (reached < walk.wanted && !Ended(run.end)) {
    if (!Command("NEXT", kUnlogged)) return LeaveFor(run, RunEnd::kLost);
    const std::string& reply = gConnection.reply;
    if (reply.empty() || reply[0] < '0' || reply[0] > '9') {
      LogTransaction("ERR:");
      return LeaveFor(run, RunEnd::kRefused);
    }
    const std::uint32_t number = GetNumericField(reply, 1);
    if (!StartsWith(reply, "2") || number <= reached) return Step::kGroupEnds;
    reached = number;
    SetProgressDetail(
        FormatWide(u"Scanning group for article %lu (found %lu)", walk.wanted, reached));
  }
  return Ended(run.end) ? Step::kGroupEnds : Step::kGoOn;
}

// Moves the server to the next article; its reply has been read.
Step MoveOn(DownloadRun& run, GroupWalk& walk) {
  if (std::exchange(walk.next_sent, false)) {
    return ReadResponse() ? Step::kGoOn : LeaveFor(run, RunEnd::kLost);
  }
  std::uint32_t target = walk.wanted;
  if (!walk.have_current && !walk.first_command) {
    const Step scanned = ScanForWanted(run, walk, target);
    if (scanned != Step::kGoOn) return scanned;
  }
  walk.first_command = false;
  const bool replied = walk.have_current ? Command("NEXT") : Command(StatCommand(target));
  return replied ? Step::kGoOn : LeaveFor(run, RunEnd::kLost);
}

// Remembers the article reached before anything of it is fetched.
void ReachArticle(DownloadRun& run, GroupWalk& walk) {
  const std::uint32_t number = GetNumericField(gConnection.reply, 1);
  NoteSaved(run, run.under_way.Add(*run.key, walk.server, gPrefs->groups[walk.group]));
  if (number > walk.progress.on_server) {
    walk.progress.on_server = number;
    SaveOnServer(run);
  }
  walk.progress.downloaded = number;
  SaveDownloaded(run);
  if (number < walk.wanted) {
    LogTransaction("e:");
    LogTransaction(gConnection.reply);
  }
  walk.wanted = number;
}

// Asks for the next article when it is certain to be wanted. The server looks it up while the last
// one is stored: that takes about as long as the way to a server nearby and back.
bool AskForNext(DownloadRun& run, GroupWalk& walk) {
  CheckRoom(run);
  if (walk.remaining <= 1 || Ended(run.end) || !run.has_room) return true;
  walk.next_sent = true;
  return SendCommand("NEXT");
}

Step TakeNextArticle(DownloadRun& run, GroupWalk& walk) {
  SetProgressPosition(static_cast<std::uint64_t>(walk.count - walk.remaining));
  const Step moved = MoveOn(run, walk);
  if (moved != Step::kGoOn) return moved;
  const std::string& reply = gConnection.reply;
  if (StartsWith(reply, "423") || StartsWith(reply, "432")) {
    SetProgressDetail(FormatWide(u"Article %lu does not exist on the server", walk.wanted));
    walk.have_current = false;
    ++walk.wanted;
    return Step::kGoOn;
  }
  if (!StartsWith(reply, "2")) return Step::kGroupEnds;
  const bool from_next = walk.have_current;
  const std::uint32_t before = walk.wanted;
  const std::uint32_t downloaded_before = walk.progress.downloaded;
  walk.have_current = true;
  ReachArticle(run, walk);
  const Fetched fetched =
      DownloadArticle(run, walk.group, walk.wanted, [&] { return AskForNext(run, walk); });
  if (fetched == Fetched::kUnfinished) {
    walk.progress.downloaded = downloaded_before;
    SaveDownloaded(run);
    if (run.end == RunEnd::kStoreFailed) SayWhetherFull(run);
    return Step::kGroupEnds;
  }
  if (fetched == Fetched::kCounted) --walk.remaining;
  // A server whose NEXT stays at an article already stored would be asked for ever.
  const bool stuck = fetched == Fetched::kDuplicate && from_next && walk.wanted <= before;
  return stuck ? Step::kGroupEnds : Step::kGoOn;
}

void WalkGroup(DownloadRun& run, GroupWalk& walk) {
  while (walk.remaining > 0 && !Ended(run.end) && run.has_room) {
    if (TakeNextArticle(run, walk) == Step::kGroupEnds) return;
    AskForSpaceNowAndThen(run);
    CheckRoom(run);
  }
  // The store was found full after NEXT had been sent: the next group must not get its reply.
  if (walk.next_sent && !Ended(run.end) && !ReadResponse()) EndRun(run, RunEnd::kLost);
}

void ReportRefusal(const GroupWalk& walk) {
  LogTransaction(FormatNarrow("#(IS last count:%lu)\r\n", walk.progress.downloaded));
  SetProgressDetail(Widen(gConnection.reply));
  LogError(FormatWide(u"%ls: server reports error ('%ls')", gPrefs->groups[walk.group],
                      gConnection.reply));
}

void VisitGroup(DownloadRun& run, GroupWalk& walk) {
  const std::u16string& name = gPrefs->groups[walk.group];
  SetProgressTitle(FormatWide(u"Downloading from group %ls", name));
  if (!Command("GROUP " + Narrow(name))) return EndRun(run, RunEnd::kLost);
  if (StartsWith(gConnection.reply, "2")) {
    PlanWalk(run, walk);
    WalkGroup(run, walk);
  } else if (StartsWith(gConnection.reply, "4")) {
    ReportRefusal(walk);
  }
}

void DownloadGroup(DownloadRun& run, GroupIndex group) {
  const ServerIndex server = CountingServer(*gPrefs);
  const std::optional<GroupProgress> progress = Progress(*gPrefs, server, group);
  if (!progress) return;
  GroupWalk walk{IndexOf(group), gPrefs->servers[IndexOf(server)], *progress};
  VisitGroup(run, walk);
  SaveOnServer(run);
  if (walk.group < gReadInfo.size()) UpdateGlobalGDBMArticleCountCache(walk.group);
}

}  // namespace

RunEnd DownloadNews() {
  DownloadRun run;
  run.key = gPlatform->registry.Create(kRegistryPath);
  if (!run.key) {
    ReportCriticalError(u"unable to create registry key", u"DownloadNews");
    return RunEnd::kStoreFailed;
  }
  run.under_way.Read(*run.key);
  // However the download ends, articles may have come.
  NoteChange(Change::kStore);
  const BulkStore bulk;
  AskForSpace(run);
  run.body_capacity = std::uint32_t{gPrefs->maxarticlesize * 1024};
  FetchLostArticles(run);
  for (const GroupIndex group : gDownloadList) {
    if (Ended(run.end)) break;
    DownloadGroup(run, group);
  }
  NoteSaved(run, run.under_way.End(*run.key));
  return run.end;
}

}  // namespace quillet
