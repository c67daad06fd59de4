// SPDX-License-Identifier: GPL-3.0-or-later
// The counts of a group come from its 12-byte cache when that can be right, else from a walk along
// its chain. Every change of a read flag goes to the stored article first, then to the node with
// those above it, then to the counts and their cache: a store that refuses leaves those as they
// are.
#include "store/counts.h"

#include <algorithm>
#include <utility>

#include "base/guarded.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/records.h"
#include "base/reset.h"
#include "base/wait_cursor.h"
#include "store/chains.h"
#include "store/databases.h"
#include "store/node.h"
#include "store/stored_article.h"
#include "util/little_endian.h"
#include "util/text.h"

namespace quillet {

std::vector<std::unique_ptr<ReadInfo>> gReadInfo;

namespace {

const ResetAtEnd kReset([] { gReadInfo.clear(); });

constexpr std::uint32_t kCacheFormat = 1;
constexpr std::size_t kCacheLength = 12;

bool StoreCache(const ReadInfo& info) {
  const std::string key = GroupKey(info.groupName);
  // An article that came before the group may have its name for a Message-ID. It stays, and the
  // group is counted along its chain at every start.
  const HeldValue old = FetchHeldValue(DatabaseIndex::kArticles, key);
  if (old && IsArticleValue(old.view())) return true;
  std::string value;
  for (const std::uint32_t word : {kCacheFormat, info.readCount, info.totalCount}) {
    AppendU32(value, word);
  }
  return InsertOrReplaceValue(DatabaseIndex::kArticles, key, value);
}

void StoreCacheOrReport(const ReadInfo& info, std::u16string_view location) {
  if (!StoreCache(info)) ReportError(u"Error storing cached newsgroup counts.", location);
}

// False when there is no cached pair, or one that cannot be right.
bool TakeCached(ReadInfo& info) {
  const auto value = FetchValue(DatabaseIndex::kArticles, GroupKey(info.groupName));
  if (!value || value->size() != kCacheLength) return false;
  info.readCount = GetU32(*value, 4);
  info.totalCount = GetU32(*value, 8);
  return info.readCount <= info.totalCount;
}

bool ReserveReadInfo(std::size_t groups) {
  gReadInfo.clear();
  return GuardedCritically(u"CountArticles", [groups] { gReadInfo.reserve(groups); });
}

void SetNodeRead(Node& node, bool read) {
  node.read = read ? 1 : 0;
  for (Node* above = node.parent; above != nullptr; above = above->parent) {
    above->readDescendantCount += read ? 1U : ~0U;
    UpdateReadOfGathering(*above);
  }
}

void AdjustReadCount(std::size_t group_index, bool read) {
  if (group_index >= gReadInfo.size()) return;
  // A count that was wrong may fall below 0 and wrap: it is then larger than the total, and counted
  // anew at the next start.
  gReadInfo[group_index]->readCount += read ? 1U : ~0U;
  UpdateGlobalGDBMArticleCountCache(group_index);
}

}  // namespace

std::unique_ptr<ReadInfo> NewReadInfoPtr() {
  return NewRecord<ReadInfo>(u"NewReadInfoPtr");
}

void CountArticles() {
  const WaitCursor wait;
  const std::size_t groups = gPrefs ? gPrefs->groups.size() : 0;
  if (!ReserveReadInfo(groups)) return;
  for (std::size_t i = 0; i < groups; ++i) {
    auto info = NewReadInfoPtr();
    if (!info) return;
    PopulateReadArticlesInfo(*info, gPrefs->groups[i]);
    gReadInfo.push_back(std::move(info));
  }
}

void CacheCounts(std::u16string_view group_name, std::uint32_t read, std::uint32_t total) {
  ReadInfo info{std::u16string(group_name), read, total};
  StoreCache(info);
}

void ForgetCachedCounts(std::u16string_view group_name) {
  const std::string key = GroupKey(group_name);
  const HeldValue value = FetchHeldValue(DatabaseIndex::kArticles, key);
  // An article may have the name of the group for its Message-ID.
  if (value && value.view().size() == kCacheLength) DeleteValue(DatabaseIndex::kArticles, key);
}

void PopulateReadArticlesInfo(ReadInfo& info, std::u16string_view group_name) {
  info.groupName = group_name;
  if (TakeCached(info)) return;
  info.totalCount = CountGroupArticles(group_name, false);
  info.readCount = CountGroupArticles(group_name, true);
  StoreCacheOrReport(info, u"PopulateReadArticlesInfo");
}

void UpdateGlobalGDBMArticleCountCache(std::size_t group_index) {
  if (group_index >= gReadInfo.size()) return;
  StoreCacheOrReport(*gReadInfo[group_index], u"UpdateGlobalGDBMArticleCountCache");
}

std::string StoredMessageId(std::string_view message_id) {
  const std::string_view id = UntilNul(message_id);
  const auto is_id = [id](const std::u16string& group) {
    return group.size() == id.size() && NarrowGroupName(group) == id;
  };
  const bool taken = gPrefs && std::ranges::any_of(gPrefs->groups, is_id);
  return taken ? '<' + std::string(id) + '>' : std::string(message_id);
}

std::uint32_t CountGroupArticles(std::u16string_view group_name, bool only_read) {
  std::uint32_t count = 0;
  for (auto record = GroupChainFirst(group_name); record; record = GroupChainNext()) {
    if (!only_read || IsArticleRead(record->messageId)) ++count;
  }
  return count;
}

void SetArticleReadById(std::string_view message_id, Node* node, bool read,
                        std::size_t group_index) {
  if (message_id.empty()) return;
  const auto article = FetchArticle(message_id);
  if (article) SetArticleRead(*article, node, read, group_index);
}

void SetArticleRead(AsciiArticle& article, Node* node, bool read, std::size_t group_index) {
  if (article.messageId.value_or("").empty()) return;
  const bool was_read = (node != nullptr ? node->read : article.read) != 0;
  article.read = read ? 1 : 0;
  if (!StoreArticle(article) || was_read == read) return;
  if (node != nullptr) SetNodeRead(*node, read);
  AdjustReadCount(group_index, read);
}

bool SetNodeReadAlone(Node& node, bool read, std::size_t group_index) {
  const bool was_read = node.read != 0;
  if (node.messageId.empty()) return true;
  if (was_read == read && IsArticleRead(node.messageId) == read) return true;
  const auto article = FetchArticle(node.messageId);
  if (!article || article->messageId.value_or("").empty()) return true;
  article->read = read ? 1 : 0;
  if (!StoreArticle(*article)) return false;
  if (was_read == read) return true;
  node.read = article->read;
  AdjustReadCount(group_index, read);
  return true;
}

}  // namespace quillet
