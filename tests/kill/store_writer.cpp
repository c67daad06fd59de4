// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kill/store_writer.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <random>

#include "base/long_operation.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "port/fake/fake_platform.h"
#include "store/bulk_store.h"
#include "store/chains.h"
#include "store/compression.h"
#include "store/counts.h"
#include "store/databases.h"
#include "store/deletion.h"
#include "store/maintenance.h"
#include "store/pending_posts.h"
#include "store/records.h"
#include "util/text.h"
#if __has_include("store/whole_points.h")
#include "store/lost_articles.h"
#include "store/whole_points.h"
#define QUILLET_HAS_WHOLE_POINTS
#endif

namespace quillet {
namespace {

[[noreturn]] void GiveUp(DeedLog& log, const std::string& why) {
  std::snprintf(log.complaint, sizeof log.complaint, "%s", why.c_str());
  _exit(kChildGaveUp);
}

void OpenOrGiveUp(DeedLog& log, port::FakePlatform& fake) {
  const bool open = OpenGDBMDatabases();
  std::string told;
  for (const auto& box : fake.display.boxes()) told += " " + ToUtf8(box.text);
  if (!told.empty()) GiveUp(log, "told at the opening:" + told);
  if (!open) GiveUp(log, "the databases do not open");
}

AsciiArticle ArticleOf(std::uint32_t number, std::uint32_t group, bool headers_kept) {
  AsciiArticle article;
  article.messageId = KillIdOf(number);
  article.headers = KillHeadersOf(group, headers_kept);
  article.body = KillBodyOf(number);
  article.subject = "s";
  article.articleNumber = number;
  article.reserved1 = 1;
  return article;
}

class Writer {
 public:
  Writer(DeedLog& log, ExpectedStore expected, const WriterPlan& plan)
      : log_(log), expected_(std::move(expected)), plan_(plan), random_(plan.seed) {}

  void Open(port::FakePlatform& fake) {
    const auto start = std::chrono::steady_clock::now();
    Entry& opening = Begin({Deed::kOpen, 0, false, 0});
    OpenOrGiveUp(log_, fake);
    CollectStored();
    End(opening);
    const auto took = std::chrono::steady_clock::now() - start;
    log_.open_microseconds = static_cast<std::uint32_t>(std::max<std::int64_t>(
        1, std::chrono::duration_cast<std::chrono::microseconds>(took).count()));
  }

  [[noreturn]] void WorkForEver() {
    const BulkStore bulk;
    while (log_.count < DeedLog::kCapacity) Step();
    for (;;) pause();
  }

  // As after each group of a download; whatever follows may close the files.
  void WriteCounts() {
    for (std::size_t group = 0; group < gReadInfo.size(); ++group) {
      UpdateGlobalGDBMArticleCountCache(group);
    }
  }

  void Do(Deed deed) {
    switch (deed) {
      case Deed::kOpen:
        return;
      case Deed::kStore:
        return Store();
      case Deed::kDelete:
        return Delete();
      case Deed::kMark:
        return Mark();
      case Deed::kDeleteRead:
        return DeleteRead();
      case Deed::kDeleteAll:
        return DeleteAll();
      case Deed::kEmpty:
        return Empty();
      case Deed::kWhole:
        return SayWhole();
      case Deed::kPost:
        return Post();
      case Deed::kUnpost:
        return Unpost();
      case Deed::kCompact:
        return Compact();
      case Deed::kConvert:
        return Convert(Below(2) != 0);
      case Deed::kCompress:
      case Deed::kUncompress:
        return Convert(deed == Deed::kCompress);
      case Deed::kPurge:
        return Purge();
    }
  }

 private:
  struct Stored {
    std::uint32_t number;
    std::uint8_t group;
    std::uint32_t chain;
  };

  // The entry is told before and after: a writer that is killed in between has begun it.
  Entry& Begin(const Entry& entry) {
    const std::uint32_t at = log_.count;
    log_.entries[at] = entry;
    asm volatile("" ::: "memory");  // the entry is whole before it counts
    log_.count = at + 1;
    return log_.entries[at];
  }
  void End(Entry& entry) {
    asm volatile("" ::: "memory");
    entry.done = true;
    expected_.Apply(entry);
  }

  std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }
  static const std::u16string& GroupName(std::uint8_t group) { return gPrefs->groups[group]; }

  void CollectStored() {
    stored_.clear();
    for (std::uint8_t group = 0; group < kKillGroupCount; ++group) {
      for (auto record = GroupChainFirst(GroupName(group)); record; record = GroupChainNext()) {
        const auto number =
            static_cast<std::uint32_t>(std::strtoul(record->messageId.c_str() + 1, nullptr, 10));
        stored_.push_back({number, group, record->number});
      }
    }
  }

  void Step() {
    if (Below(20) == 0) WriteCounts();
    switch (plan_.work) {
      case Work::kStoring:
        return StoreMostly(80);
      case Work::kDeleting:
        return StoreMostly(20);
      case Work::kMarking:
        return Below(10) == 0 ? StoreMostly(50) : Mark();
      case Work::kMixed:
        return Mix();
      case Work::kPosting:
        return ChangeQueue();
      case Work::kMaintaining:
        return Maintain();
    }
  }

  // That many of a hundred steps store, while there are not too many or too few articles.
  void StoreMostly(std::uint32_t share) {
    const bool few = stored_.size() < plan_.articles / 2;
    const bool many = stored_.size() > plan_.articles * 3 / 2;
    if (few || (!many && Below(100) < share)) {
      Store();
    } else {
      Delete();
    }
    if (Below(60) == 0) SayWhole();
  }

  void Mix() {
    switch (Below(40)) {
      case 0:
        return DeleteRead();
      case 1:
        return SayWhole();
      case 2:
        return ChangeQueue();
      default:
        return Below(3) == 0 ? Mark() : StoreMostly(50);
    }
  }

  void Maintain() {
    switch (Below(8)) {
      case 0:
        return Compact();
      case 1:
        return Convert(Below(2) != 0);
      case 2:
        return DeleteAll();
      case 3:
        if (Below(12) == 0) return Purge();
        return Below(4) == 0 ? Empty() : DeleteRead();
      default:
        for (int i = 0; i < 10 && log_.count < DeedLog::kCapacity; ++i) Mix();
    }
  }

  void Store() {
    const std::uint32_t number = expected_.next_article();
    const auto group = static_cast<std::uint8_t>(Below(kKillGroupCount));
    Entry& entry = Begin({Deed::kStore, group, false, number});
    AsciiArticle article = ArticleOf(number, group, expected_.headers_kept());
    if (!StoreArticle(article)) GiveUp(log_, "an article was not stored");
    if (!AddArticleToGroup(GroupName(group), *article.messageId)) {
      GiveUp(log_, "an article was not chained");
    }
    ++gReadInfo[group]->totalCount;
    End(entry);
    stored_.push_back({number, group, GroupChainFirst(GroupName(group))->number});
  }

  void Delete() {
    if (stored_.empty()) return;
    std::swap(stored_[Below(static_cast<std::uint32_t>(stored_.size()))], stored_.back());
    const Stored which = stored_.back();
    stored_.pop_back();
    const bool read = IsArticleRead(KillIdOf(which.number));
    const auto record = ReadChainRecord(which.chain);
    if (!record) GiveUp(log_, "a chain record is not there");
    Entry& entry = Begin({Deed::kDelete, which.group, false, which.number});
    if (!DeleteGroupArticle(which.group, *record, read)) GiveUp(log_, "an article was not deleted");
    End(entry);
  }

  void Mark() {
    if (stored_.empty()) return;
    const Stored& which = stored_[Below(static_cast<std::uint32_t>(stored_.size()))];
    const auto read = static_cast<std::uint8_t>(Below(3) != 0);
    Entry& entry = Begin({Deed::kMark, read, false, which.number});
    SetArticleReadById(KillIdOf(which.number), nullptr, read != 0, which.group);
    End(entry);
  }

  void SayWhole() {
    WriteCounts();
#ifdef QUILLET_HAS_WHOLE_POINTS
    Entry& entry = Begin({Deed::kWhole, 0, false, 0});
    if (!StoreIsWhole()) GiveUp(log_, "the store is not whole");
    End(entry);
#endif
  }

  void DeleteRead() {
    const auto group = static_cast<std::uint8_t>(Below(kKillGroupCount));
    Entry& entry = Begin({Deed::kDeleteRead, group, false, 0});
    DeleteArticlesOf(true, GroupAt(group));
    End(entry);
    CollectStored();
  }

  void DeleteAll() {
    const auto group = static_cast<std::uint8_t>(Below(kKillGroupCount));
    Entry& entry = Begin({Deed::kDeleteAll, group, false, 0});
    DeleteArticlesOf(false, GroupAt(group));
    End(entry);
    CollectStored();
  }

  void Empty() {
    WriteCounts();
    Entry& entry = Begin({Deed::kEmpty, 0, false, 0});
    DeleteCheckedArticles(false);
    End(entry);
    CollectStored();
  }

  void ChangeQueue() {
    const std::size_t queued = Queued().size();
    if (queued < 5 || (queued < 80 && Below(2) == 0)) {
      Post();
    } else {
      Unpost();
    }
  }

  std::vector<std::uint32_t> Queued() const {
    std::vector<std::uint32_t> queued;
    for (const auto& [number, state] : expected_.posts()) {
      if (state == ExpectedStore::State::kStored) queued.push_back(number);
    }
    return queued;
  }

  void Post() {
    const std::uint32_t number = expected_.next_post();
    AsciiArticle post = ArticleOf(number, 0, false);
    post.messageId = KillPostIdOf(number);
    Entry& entry = Begin({Deed::kPost, 0, false, number});
    if (!StoreAsciiGDBMPost(post)) GiveUp(log_, "a post was not stored");
    End(entry);
  }

  void Unpost() {
    const std::vector<std::uint32_t> queued = Queued();
    if (queued.empty()) return;
    const std::uint32_t number = queued[Below(static_cast<std::uint32_t>(queued.size()))];
    Entry& entry = Begin({Deed::kUnpost, 0, false, number});
    DeletePendingPost(KillPostIdOf(number));
    End(entry);
  }

  void Compact() {
    WriteCounts();
    Entry& entry = Begin({Deed::kCompact, 0, false, 0});
    CompactDatabases();
    if (!DatabasesOpen()) GiveUp(log_, "not open after compaction");
    End(entry);
  }

  void Purge() {
    WriteCounts();
    Entry& entry = Begin({Deed::kPurge, 0, false, 0});
    if (!PurgeDatabases()) GiveUp(log_, "not purged");
    End(entry);
    CollectStored();
  }

  void Convert(bool compress) {
    WriteCounts();
    const auto form = static_cast<std::uint8_t>(compress ? 1 : 0);
    Entry& entry = Begin({Deed::kConvert, form, false, 0});
    CompressAllArticles(compress);
    if (!DatabasesOpen()) GiveUp(log_, "not open after conversion");
    End(entry);
  }

  DeedLog& log_;
  ExpectedStore expected_;
  WriterPlan plan_;
  std::mt19937 random_;
  std::vector<Stored> stored_;
};

#ifdef QUILLET_HAS_WHOLE_POINTS
void AddToGroup(std::string_view group, const std::string& message_id) {
  const auto place = std::find(std::begin(kKillGroups), std::end(kKillGroups), group);
  const auto index = static_cast<std::size_t>(place - std::begin(kKillGroups));
  if (index >= gReadInfo.size()) return;
  if (!AddArticleToGroup(gPrefs->groups[index], message_id)) return;
  ++gReadInfo[index]->totalCount;
  UpdateGlobalGDBMArticleCountCache(index);
}
#endif

}  // namespace

const char* NameOf(Work work) {
  static constexpr std::array<const char*, kWorkCount> kNames = {
      "storing", "deleting", "marking", "mixed", "posting", "maintaining"};
  return kNames[static_cast<std::size_t>(work)];
}

void WriteUntilKilled(port::FakePlatform& fake, DeedLog& log, ExpectedStore expected,
                      const WriterPlan& plan) {
  Writer writer(log, std::move(expected), plan);
  writer.Open(fake);
  writer.WorkForEver();
}

void CarryOut(port::FakePlatform& fake, DeedLog& log, ExpectedStore expected,
              const DeedPlan& plan) {
  Writer writer(log, std::move(expected), {Work::kMixed, plan.seed, 0});
  writer.Open(fake);
  if (plan.ready) plan.ready();
  for (const Deed deed : plan.deeds) writer.Do(deed);
  writer.WriteCounts();
  if (plan.close) CloseDatabases();
  _exit(kChildDone);
}

void OpenAndClose(port::FakePlatform& fake, DeedLog& log) {
  OpenOrGiveUp(log, fake);
  CloseDatabases();
  _exit(kChildDone);
}

void FetchLostArticles(port::FakePlatform& fake, DeedLog& log, const ExpectedStore& expected) {
  OpenOrGiveUp(log, fake);
#ifdef QUILLET_HAS_WHOLE_POINTS
  for (const LostArticle& lost : LostArticles()) {
    const auto number =
        static_cast<std::uint32_t>(std::strtoul(lost.message_id.c_str() + 1, nullptr, 10));
    const auto which = expected.articles().find(number);
    if (which == expected.articles().end()) GiveUp(log, "lost, and never there");
    AsciiArticle article = ArticleOf(number, which->second.group, expected.headers_kept());
    if (!StoreArticle(article)) GiveUp(log, "a lost article was not stored");
    std::vector<std::string> groups = lost.groups;
    if (groups.empty()) groups = GroupsOfHead(KillHeadersOf(which->second.group, true));
    for (const std::string& group : groups) AddToGroup(group, lost.message_id);
    if (!ForgetLostArticle(lost.message_id)) GiveUp(log, "a lost article was not forgotten");
  }
#else
  static_cast<void>(expected);
#endif
  CloseDatabases();
  _exit(kChildDone);
}

void SetKillPreferences(bool compress) {
  gPrefs = std::make_unique<Prefs>();
  gPrefs->numgroups = kKillGroupCount;
  for (const std::string_view group : kKillGroups) gPrefs->groups.push_back(Widen(group));
  gPrefs->checked.assign(kKillGroupCount, 1);
  gPrefs->maxstore = 100;
  gPrefs->usecompression = compress ? 1 : 0;
  gDatabaseFolder = u"\\Quillet CE News";
}

}  // namespace quillet
