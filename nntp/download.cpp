// SPDX-License-Identifier: GPL-3.0-or-later
// The way through the groups, one after the other: GROUP, where to start, then STAT and NEXT from
// article to article. What ends the run is noted in DownloadRun::end, and everything between units
// of work asks there; leaving a group is a Step.
//
// The number of an article is in the registry before the article is fetched. It is put back when
// the run ends before the article is done with, and tried once more after a process that was killed
// there. A connection that takes a lost one's place passes the groups over that are done with and
// goes on in the one under way. The server's last number is written along: a number beyond it would
// be taken for wrong.
#include "nntp/download.h"

#include <cstdint>
#include <utility>

#include "base/changes.h"
#include "base/extensions.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "nntp/connection.h"
#include "nntp/converse.h"
#include "nntp/fetch.h"
#include "nntp/figures.h"
#include "nntp/group_walk.h"
#include "nntp/lost.h"
#include "nntp/replies.h"
#include "nntp/room.h"
#include "nntp/run_memory.h"
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

std::string StatCommand(std::uint32_t number) {
  return FormatNarrow("STAT %lu", number);
}

// The wanted article is missing: walks from the group's first article to the wanted number or
// beyond it. Only numbers that grow lead there.
Step ScanForWanted(DownloadRun& run, const GroupWalk& walk, std::uint32_t& reached) {
  constexpr CommandLogging kUnlogged = CommandLogging::kUnlogged;
  reached = 0;
  RunEnd end = Converse(StatCommand(walk.first), kUnlogged);
  if (end != RunEnd::kGoOn) return LeaveFor(run, end);
  while (reached < walk.wanted && !Ended(run.end)) {
    end = Converse("NEXT", kUnlogged);
    if (end != RunEnd::kGoOn) return LeaveFor(run, end);
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
    const RunEnd end = FinishConversing("NEXT");
    return end == RunEnd::kGoOn ? Step::kGoOn : LeaveFor(run, end);
  }
  std::uint32_t target = walk.wanted;
  if (!walk.have_current && !walk.first_command) {
    const Step scanned = ScanForWanted(run, walk, target);
    if (scanned != Step::kGoOn) return scanned;
  }
  walk.first_command = false;
  const RunEnd end = Converse(walk.have_current ? "NEXT" : StatCommand(target));
  return end == RunEnd::kGoOn ? Step::kGoOn : LeaveFor(run, end);
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
    walk.have_current = false;
    SaveDownloaded(run);
    if (run.end == RunEnd::kStoreFailed) SayWhetherFull(run);
    return Step::kGroupEnds;
  }
  if (fetched == Fetched::kCounted) --walk.remaining;
  if (fetched == Fetched::kCrossPost) ++walk.cross_posts;
  ++walk.handled;
  // A server whose NEXT stays at an article already stored would be asked for ever.
  const bool stuck = fetched == Fetched::kDuplicate && from_next && walk.wanted <= before;
  return stuck ? Step::kGroupEnds : Step::kGoOn;
}

// A walk that goes on behind an article it is done with: the server is led there, so that NEXT goes
// on from it. When that article has gone, the next number is looked for.
void ReturnToCurrent(DownloadRun& run, GroupWalk& walk) {
  if (!walk.have_current) return;
  walk.have_current = false;
  const RunEnd end = Converse(StatCommand(walk.wanted));
  // Lost again: still done with it.
  if (end != RunEnd::kGoOn || StartsWith(gConnection.reply, "2")) walk.have_current = true;
  if (end != RunEnd::kGoOn) return EndRun(run, end);
  if (!walk.have_current) ++walk.wanted;
}

void WalkGroup(DownloadRun& run, GroupWalk& walk) {
  if (walk.remaining > 0 && run.has_room) ReturnToCurrent(run, walk);
  while (walk.remaining > 0 && !Ended(run.end) && run.has_room) {
    const Step taken = TakeNextArticle(run, walk);
    NoteWalk(walk);
    if (taken == Step::kGroupEnds) return;
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
  const RunEnd end = Converse("GROUP " + Narrow(name));
  if (end != RunEnd::kGoOn) return EndRun(run, end);
  if (StartsWith(gConnection.reply, "2")) {
    PlanWalk(run, walk, gRun.download.walk);
    NotePlan(walk);
    WalkGroup(run, walk);
  } else if (StartsWith(gConnection.reply, "4")) {
    ReportRefusal(walk);
  }
}

// For the connection that comes after this one.
void RememberWalk(const DownloadRun& run, const GroupWalk& walk) {
  DownloadMemory& memory = gRun.download;
  if (run.end != RunEnd::kLost) {
    memory.walk.reset();
    ++memory.groups_done;
  } else if (walk.planned) {
    memory.walk = {walk.wanted, walk.have_current, walk.progress.downloaded,
                   walk.count,  walk.remaining,    walk.cross_posts};
  }
}

void DownloadGroup(DownloadRun& run, GroupIndex group) {
  const ServerIndex server = CountingServer(*gPrefs);
  const std::optional<GroupProgress> progress = Progress(*gPrefs, server, group);
  if (!progress) {
    ++gRun.download.groups_done;
    return;
  }
  GroupWalk walk{IndexOf(group), gPrefs->servers[IndexOf(server)], *progress};
  if (run.cross_posts) run.members.emplace(gPrefs->groups[walk.group]);
  NoteGroup(gRun.download.groups_done);
  VisitGroup(run, walk);
  RememberWalk(run, walk);
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
  run.cross_posts = ReadExtensions().crossposts != 0;
  run.body_capacity = std::uint32_t{gPrefs->maxarticlesize * 1024};
  DownloadMemory& memory = gRun.download;
  run.has_room = memory.has_room;
  run.progress_saved = memory.progress_saved;
  FetchLostArticles(run);
  while (memory.groups_done < gDownloadList.size() && !Ended(run.end)) {
    DownloadGroup(run, gDownloadList[memory.groups_done]);
  }
  NoteSaved(run, run.under_way.End());
  if (!run.has_room) NoteStoreFull();
  memory.has_room = run.has_room;
  memory.progress_saved = run.progress_saved;
  if (run.end != RunEnd::kLost || gRun.retries == 0) memory = {};
  return run.end;
}

}  // namespace quillet
