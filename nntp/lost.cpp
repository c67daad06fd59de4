// SPDX-License-Identifier: GPL-3.0-or-later
// What was lost had been judged when it came: the killfile does not see it again. It is stored as
// it would come today, and counts in its groups as new.
#include "nntp/lost.h"

#include <algorithm>
#include <vector>

#include "base/long_operation.h"
#include "base/prefs.h"
#include "nntp/connection.h"
#include "nntp/figures.h"
#include "nntp/headers.h"
#include "nntp/room.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/lost_articles.h"
#include "store/records.h"
#include "util/text.h"

namespace quillet {
namespace {

using Groups = std::vector<std::size_t>;  // places in the group list

// Those that the list still has.
Groups PlacesOf(const std::vector<std::string>& names) {
  Groups places;
  for (std::size_t place = 0; place < gPrefs->groups.size(); ++place) {
    const std::string name = Narrow(gPrefs->groups[place]);
    if (std::find(names.begin(), names.end(), name) != names.end()) places.push_back(place);
  }
  return places;
}

bool IsOnChain(std::size_t group, std::string_view message_id) {
  for (auto link = GroupChainFirst(gPrefs->groups[group]); link; link = GroupChainNext()) {
    if (link->messageId == message_id) return true;
  }
  return false;
}

// False when a chain could not be written. `looking`: the article may be on some of them already.
bool PutOnChains(const Groups& groups, std::string_view message_id, bool looking) {
  for (const std::size_t group : groups) {
    if (looking && IsOnChain(group, message_id)) continue;
    if (!AddArticleToGroup(gPrefs->groups[group], message_id)) return false;
    if (group >= gReadInfo.size()) continue;
    ++gReadInfo[group]->totalCount;
    if (looking && IsArticleRead(message_id)) ++gReadInfo[group]->readCount;
  }
  return true;
}

// The article as the server has it. kDropped also when it is another one.
Part Fetch(DownloadRun& run, AsciiArticle& article, const std::string& message_id) {
  const Part head = TakeHead(run, message_id, [] {});
  if (head != Part::kTaken) return head;
  ExtractFields(article, run.head);
  if (*article.messageId != message_id) return Part::kDropped;
  const Part body = TakeBody(run, message_id, gConnection.last_article_number, [&] {
    article.headers = KeptHeaders(run.head, gPrefs->keepheaders != 0);
  });
  if (body != Part::kTaken) return body;
  article.body = run.body;
  article.articleNumber = gConnection.last_article_number;
  return Part::kTaken;
}

// False when the store fails: what has come so far stays, and the next run goes on with it.
bool Store(DownloadRun& run, AsciiArticle& article, const Groups& groups) {
  CountUsedSpace(run, article);
  ++run.stored_since_asked;
  return StoreArticle(article) && PutOnChains(groups, *article.messageId, false);
}

// True when the article needs not be asked for any more.
bool BringBack(DownloadRun& run, const LostArticle& lost) {
  const Groups known = PlacesOf(lost.groups);
  // A run that was killed had stored it.
  if (ArticleExists(lost.message_id)) return PutOnChains(known, lost.message_id, true);
  if (known.empty() && !lost.groups.empty()) return true;  // of groups that are gone
  const std::unique_ptr<AsciiArticle> article = NewAsciiArticle();
  if (!article) {
    EndRun(run, RunEnd::kNoMemory);
    return false;
  }
  const Part fetched = Fetch(run, *article, lost.message_id);
  if (fetched != Part::kTaken) return fetched == Part::kDropped;
  const Groups groups = lost.groups.empty() ? PlacesOf(GroupsOfHead(run.head)) : known;
  return groups.empty() || Store(run, *article, groups);
}

void CacheCounts() {
  for (std::size_t group = 0; group < gReadInfo.size(); ++group) {
    UpdateGlobalGDBMArticleCountCache(group);
  }
}

}  // namespace

void FetchLostArticles(DownloadRun& run) {
  const std::vector<LostArticle> articles = LostArticles();
  if (articles.empty()) return;
  SetProgressTitle(u"Fetching lost articles...");
  SetProgressRange(articles.size());
  std::size_t done = 0;
  NoteLostArticle(1, articles.size());
  for (const LostArticle& article : articles) {
    if (Ended(run.end) || !run.has_room) break;
    if (BringBack(run, article)) {
      ForgetLostArticle(article.message_id);
    } else if (!Ended(run.end)) {
      EndRun(run, RunEnd::kStoreFailed);
      SayWhetherFull(run);
    }
    SetProgressPosition(++done);
    NoteLostArticle(std::min(done + 1, articles.size()), articles.size());
    AskForSpaceNowAndThen(run);
    CheckRoom(run);
  }
  CacheCounts();
  WriteLostArticles();
}

}  // namespace quillet
