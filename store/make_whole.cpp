// SPDX-License-Identifier: GPL-3.0-or-later
// First all of it is read and judged in memory, then the list of lost articles is made safe, and
// only then the files are changed, where they differ from what they should be.
#include "store/make_whole.h"

#include <algorithm>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/long_operation.h"
#include "base/prefs.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/article_source.h"
#include "store/chains.h"
#include "store/compression.h"
#include "store/counts.h"
#include "store/cross_posts.h"
#include "store/database_files.h"
#include "store/group_record.h"
#include "store/kept_chains.h"
#include "store/lost_articles.h"
#include "store/record_strings.h"
#include "store/stored_article.h"
#include "util/little_endian.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr int kReadOnly = GDBM_READER | GDBM_NOLOCK | GDBM_CLOEXEC;
constexpr std::uint64_t kSteps = 5;
constexpr std::size_t kReadOffset = 4;

// An article that no chain names.
struct LooseArticle {
  std::string message_id;
  std::uint32_t number = 0;  // on its server
  std::vector<std::string> groups;
};

// What lies under a key of the articles file.
struct StoredKey {
  const KeptChain* chain = nullptr;  // on which it was seen last
  bool is_article = false;           // else a count
  bool is_read = false;
};

struct Pass {
  std::unordered_map<std::string, StoredKey> articles;  // by what stands before the NUL of a key
  KeptChains chains;
  std::vector<LostArticle> lost;
  std::vector<LooseArticle> loose;
  std::vector<std::string> taken_out;
  std::vector<std::uint32_t> removed;  // numbers of chain records that go
  bool good = true;
};

std::uint64_t SizeOf(const std::u16string& path) {
  return gPlatform->files.FileSize(path).value_or(0);
}

// Closed when there is none.
GdbmFile OpenCopy(const std::u16string& path) {
  if (path.empty()) return {};
  return GdbmFile::Open(gPlatform->files.NativePath(path), kReadOnly, 0, 0);
}

bool ReadArticleKeys(Pass& pass) {
  constexpr DatabaseIndex kArticles = DatabaseIndex::kArticles;
  GdbmFile& file = DatabaseFile(kArticles);
  for (auto key = file.FirstKey(SizeOf(DatabasePath(kArticles))); key; key = file.NextKey(*key)) {
    if (!key->ends_with('\0')) continue;
    const HeldValue value = file.FetchHeld(*key);
    if (!value) return false;
    StoredKey stored;
    stored.is_article = IsArticleValue(value.view());
    stored.is_read = stored.is_article && GetU32(value.view(), kReadOffset) != 0;
    pass.articles.emplace(key->substr(0, key->size() - 1), stored);
  }
  return file.WalkComplete();
}

bool ReadChains(Pass& pass, const std::u16string& copy_path) {
  constexpr DatabaseIndex kGroups = DatabaseIndex::kNewsgroups;
  GdbmFile copy = OpenCopy(copy_path);
  const std::uint64_t size = SizeOf(DatabasePath(kGroups));
  pass.chains = ReadKeptChains(DatabaseFile(kGroups), size, copy, size + SizeOf(copy_path));
  return pass.chains.complete;
}

std::vector<std::string> ListedGroups() {
  std::vector<std::string> groups;
  if (!gPrefs) return groups;
  for (const std::u16string& group : gPrefs->groups) groups.push_back(NarrowGroupName(group));
  return groups;
}

// Looks at the links of one chain: what names an article for the first time stays.
void JudgeChain(Pass& pass, const std::string& group, KeptChain& chain, bool listed) {
  std::vector<ChainLink> kept;
  kept.reserve(chain.links.size());
  for (ChainLink& link : chain.links) {
    const auto article = pass.articles.find(link.message_id);
    const bool there = article != pass.articles.end();
    if (there && article->second.chain != &chain) {
      article->second.chain = &chain;
      kept.push_back(std::move(link));
      continue;
    }
    if (!link.stored) continue;
    pass.removed.push_back(link.number);
    const bool missing = !there && listed && !link.message_id.empty();
    if (missing && !WasDeleted(link.message_id)) {
      pass.lost.push_back({std::move(link.message_id), {group}});
    }
  }
  chain.links = std::move(kept);
}

void JudgeChains(Pass& pass) {
  const std::vector<std::string> listed = ListedGroups();
  for (auto& [name, chain] : pass.chains.groups) {
    JudgeChain(pass, name, chain, std::ranges::find(listed, name) != listed.end());
  }
}

// The one chain with a gap; nothing when there is none or more than one.
std::vector<std::string> ChainWithGap(const Pass& pass) {
  std::vector<std::string> groups;
  for (const auto& [name, chain] : pass.chains.groups) {
    if (chain.has_gap) groups.push_back(name);
  }
  if (groups.size() != 1) groups.clear();
  return groups;
}

// Whether the value under the key is an article that can be read now.
bool ReadLoose(const std::string& id, AsciiArticle& article) {
  const auto value = FetchValue(DatabaseIndex::kArticles, StringKey(id));
  if (!value || !IsArticleValue(*value)) return false;
  constexpr std::uint32_t kCompressedFormat = 2;
  if (GetU32(*value, 0) == kCompressedFormat && !BindCompressionLibrary()) return false;
  return ParseArticle(*value, article, false);
}

// A chain with a gap has lost its record of the article, if it is one that the article names; an
// article that no chain has named yet goes to all of those.
std::vector<std::string> GroupsOf(std::string_view head, const std::vector<std::string>& with_gap) {
  std::vector<std::string> groups = GroupsOfHead(head);
  if (with_gap.empty()) return groups;
  const bool names_it = std::ranges::find(groups, with_gap.front()) != groups.end();
  return groups.empty() || names_it ? with_gap : groups;
}

// An import leaves an article without groups on no chain: there it belongs, and no server has it.
bool ImportedIntoNoGroup(const AsciiArticle& article) {
  return article.source == kImportedSource &&
         FindNoCase(*article.headers, "Newsgroups:") == std::string_view::npos;
}

void JudgeLooseArticles(Pass& pass, ChainsFile chains) {
  const std::vector<std::string> with_gap = ChainWithGap(pass);
  for (const auto& [id, stored] : pass.articles) {
    AsciiArticle article;
    const bool is_loose = stored.is_article && stored.chain == nullptr;
    if (!is_loose || !ReadLoose(id, article) || ImportedIntoNoGroup(article)) continue;
    LooseArticle loose{id, article.articleNumber, GroupsOf(*article.headers, with_gap)};
    if (!loose.groups.empty()) {
      pass.loose.push_back(std::move(loose));
      continue;
    }
    if (chains == ChainsFile::kNew) continue;
    pass.taken_out.push_back(id);
    pass.lost.push_back({id, {}});
  }
  // The order in which they came from the server, as far as it can be told.
  std::ranges::sort(pass.loose, {}, [](const LooseArticle& article) {
    return std::pair(article.number, std::string_view(article.message_id));
  });
}

void AttachLoose(Pass& pass) {
  std::set<std::string> changed;
  for (const LooseArticle& article : pass.loose) {
    for (const std::string& group : article.groups) {
      if (pass.chains.counter == 0) break;  // the numbers have gone all the way round
      pass.chains.groups[group].links.push_back(
          {pass.chains.counter++, 0, 0, article.message_id, false});
      changed.insert(group);
    }
  }
  for (const std::string& group : changed) SortLinks(pass.chains.groups[group]);
}

void Put(Pass& pass, std::string_view key, std::string_view value) {
  if (!StoreValue(DatabaseIndex::kNewsgroups, key, value, StoreMode::kReplace)) pass.good = false;
}

void WriteChain(Pass& pass, const std::string& group, const KeptChain& chain) {
  std::uint32_t previous = 0;
  for (std::size_t i = 0; i < chain.links.size(); ++i) {
    const ChainLink& link = chain.links[i];
    const std::uint32_t next = i + 1 < chain.links.size() ? chain.links[i + 1].number : 0;
    if (!link.stored || link.previous != previous || link.next != next) {
      Put(pass, NumberKey(link.number),
          SerializeGroupRecord({previous, next, group, link.message_id}));
    }
    previous = link.number;
  }
  const std::uint32_t newest = chain.links.empty() ? 0 : chain.links.front().number;
  if (chain.head.value_or(0) == newest) return;
  Put(pass, StringKey(group), SerializeGroupRecord({0, newest, group, {}}));
}

void WriteChains(Pass& pass) {
  // The counter first: a number that is in use is never handed out.
  if (pass.chains.counter != pass.chains.stored_counter && pass.chains.counter > 1) {
    std::string counter;
    AppendU32(counter, pass.chains.counter);
    Put(pass, kCounterKey, counter);
  }
  for (const auto& [name, chain] : pass.chains.groups) WriteChain(pass, name, chain);
}

// Only what no link leads to any more, and only when all links are as they should be.
void RemoveLeftOvers(Pass& pass) {
  if (!pass.good) return;
  for (const std::uint32_t number : pass.removed) {
    if (!DeleteValue(DatabaseIndex::kNewsgroups, NumberKey(number))) pass.good = false;
  }
  for (const std::string& id : pass.taken_out) {
    if (!DeleteArticle(id)) pass.good = false;
  }
  if (pass.good) ForgetDeletions();
}

void RestorePosts(Pass& pass, const std::u16string& copy_path) {
  constexpr DatabaseIndex kPosts = DatabaseIndex::kPendingPosts;
  GdbmFile copy = OpenCopy(copy_path);
  const std::uint64_t size = SizeOf(DatabasePath(kPosts)) + SizeOf(copy_path);
  for (auto key = copy.FirstKey(size); key; key = copy.NextKey(*key)) {
    const HeldValue value = copy.FetchHeld(*key);
    if (!value || ValueExists(kPosts, *key)) continue;
    if (!StoreValue(kPosts, *key, value.view(), StoreMode::kInsert)) pass.good = false;
  }
}

// Those that were cached may be older than the chains.
void CacheAllCounts(const Pass& pass) {
  if (!gPrefs) return;
  for (const std::u16string& group : gPrefs->groups) {
    const auto chain = pass.chains.groups.find(NarrowGroupName(group));
    std::uint32_t read = 0;
    std::uint32_t total = 0;
    if (chain != pass.chains.groups.end()) {
      total = static_cast<std::uint32_t>(chain->second.links.size());
      for (const ChainLink& link : chain->second.links) {
        const auto article = pass.articles.find(link.message_id);
        if (article != pass.articles.end() && article->second.is_read) ++read;
      }
    }
    CacheCounts(group, read, total);
  }
}

}  // namespace

WholeOutcome MakeStoreWhole(const std::u16string& chains_copy, const std::u16string& posts_copy,
                            ChainsFile chains) {
  Pass pass;
  SetProgressRange(kSteps);
  if (!ReadArticleKeys(pass)) return WholeOutcome::kNotWhole;
  SetProgressPosition(1);
  if (!ReadChains(pass, chains_copy)) return WholeOutcome::kNotWhole;
  SetProgressPosition(2);
  JudgeChains(pass);
  JudgeLooseArticles(pass, chains);
  SetProgressPosition(3);
  // Without the list nothing is taken away: what would be lost stays where it was found.
  if (!pass.lost.empty() && !AddLostArticles(pass.lost)) pass.good = false;
  AttachLoose(pass);
  WriteChains(pass);
  RemoveLeftOvers(pass);
  SetProgressPosition(4);
  RestorePosts(pass, posts_copy);
  CacheAllCounts(pass);
  return pass.good ? WholeOutcome::kWhole : WholeOutcome::kNotWhole;
}

}  // namespace quillet
