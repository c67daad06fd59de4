// The way through the groups, one after the other: GROUP, where to start, then STAT and NEXT from
// article to article. What ends the run is noted in DownloadRun::end, and everything between units
// of work asks there; leaving a group is a Step.
//
// The number of an article is in the registry before the article is fetched. It is put back when
// the run ends before the article is done with, and tried once more after a process that was killed
// there. The server's last number is written along: a number beyond it would be taken for wrong.
#include "nntp/download.h"

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
#include "nntp/group_walk.h"
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

enum class Step { kGoOn, kGroupEnds };

// Ends the run, and so the group.
Step LeaveFor(DownloadRun& run, RunEnd why) {
  EndRun(run, why);
  return Step::kGroupEnds;
}

bool Command(std::string_view command, CommandLogging logging = CommandLogging::kLogged) {
  return SendCommand(command, logging) && ReadResponse();
}

std::string StatCommand(std::uint32_t number) {
  return FormatNarrow("STAT %lu", number);
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
  NoteSaved(run, run.under_way.Add(walk.server, gPrefs->groups[walk.group]));
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
  run.under_way.Read();
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
  NoteSaved(run, run.under_way.End());
  return run.end;
}

}  // namespace quillet
