// SPDX-License-Identifier: GPL-3.0-or-later
// How many articles of each group are stored and how many of them are read: in memory, one ReadInfo
// a group in the order of the group list, cached in the articles database. Program thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "store/records.h"

namespace quillet {

struct ReadInfo {
  std::u16string groupName;
  std::uint32_t readCount = 0;
  std::uint32_t totalCount = 0;
};

std::unique_ptr<ReadInfo> NewReadInfoPtr();

extern std::vector<std::unique_ptr<ReadInfo>> gReadInfo;

void CountArticles();
// Caches counts that were taken elsewhere. One that cannot be written is left to the next
// CountArticles.
void CacheCounts(std::u16string_view group_name, std::uint32_t read, std::uint32_t total);
// The group is counted along its chain the next time.
void ForgetCachedCounts(std::u16string_view group_name);
void PopulateReadArticlesInfo(ReadInfo& info, std::u16string_view group_name);
void UpdateGlobalGDBMArticleCountCache(std::size_t group_index);
// The Message-ID under which an article is stored: as it came, but in angle brackets where it is
// the name of a subscribed group, since the group's cached counts have that key.
std::string StoredMessageId(std::string_view message_id);
std::uint32_t CountGroupArticles(std::u16string_view group_name, bool only_read);
// `node` may be null. An index beyond the array changes the article only.
void SetArticleReadById(std::string_view message_id, Node* node, bool read,
                        std::size_t group_index);
void SetArticleRead(AsciiArticle& article, Node* node, bool read, std::size_t group_index);
// One step of marking many: as SetArticleReadById for the node's article, but the counts of the
// nodes above are left to the caller, who makes them anew once at the end. False when the article
// could not be stored.
bool SetNodeReadAlone(Node& node, bool read, std::size_t group_index);

}  // namespace quillet
