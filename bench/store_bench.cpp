// SPDX-License-Identifier: GPL-3.0-or-later
// The store path against the library under it: what an article costs from the record in memory to
// the counted chain, beside the bare library calls with the same keys and sizes, taken in turns.
//
// Then the opening after a writer that was killed.
//
// usage: store_bench [ARTICLES] [ROUNDS] [ARTICLES LEFT]; ends with 1 when a target is missed.

#define QUILLET_FAKE_WITHOUT_GTEST
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "bench/measure.h"
#include "bench/raw_store.h"
#include "port/fake/fake_platform.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/database_files.h"
#include "store/databases.h"
#include "store/make_whole.h"
#include "store/records.h"
#include "store/whole_points.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr double kTarget = 1.5;
constexpr std::u16string_view kGroup = u"bench.store";

// Bodies from 0.4 to 3.6 kB: with the headers 2.4 kB on average.
std::size_t BodyLength(unsigned number) {
  return 400 + number * 7919U % 3200;
}

AsciiArticle MakeArticle(unsigned number) {
  AsciiArticle article;
  article.messageId = FormatNarrow("<%lu.bench@news.example>", number);
  article.headers = std::string(180, 'h');
  article.body = std::string(BodyLength(number), 'b');
  article.parentId = FormatNarrow("<%lu.bench@news.example>", number / 2);
  article.subject = "Re: the price of a stored article";
  article.from = "A. Writer <writer@example.org>";
  article.reserved1 = 1;
  article.articleNumber = number;
  article.source = "news.example.org";
  article.date = "Sat, 21 Nov 2026 12:00:00 +0000";
  article.replyTo = article.from;
  return article;
}

double Microseconds(std::chrono::steady_clock::duration time, unsigned articles) {
  return std::chrono::duration<double, std::micro>(time).count() / articles;
}

// The whole path, with the counting of the end of a download.
double TimeStore(const std::vector<AsciiArticle>& articles) {
  DeleteDatabases(true);
  Require(OpenGDBMDatabases(), "opening");
  const auto start = std::chrono::steady_clock::now();
  for (const AsciiArticle& article : articles) {
    AsciiArticle copy = article;
    Require(StoreArticle(copy), "storing");
    Require(AddArticleToGroup(kGroup, *copy.messageId), "chaining");
    ++gReadInfo[0]->totalCount;
  }
  UpdateGlobalGDBMArticleCountCache(0);
  const auto time = std::chrono::steady_clock::now() - start;
  Require(CountGroupArticles(kGroup, false) == articles.size(), "counting");
  CloseDatabases();
  return Microseconds(time, static_cast<unsigned>(articles.size()));
}

double TimeRaw(const std::vector<RawArticle>& articles) {
  const auto start = std::chrono::steady_clock::now();
  StoreRaw(articles, kGroup);
  return Microseconds(std::chrono::steady_clock::now() - start,
                      static_cast<unsigned>(articles.size()));
}

// The opening after a writer that was killed: the recovery of the files and the pass that makes
// them whole. Some chain records have gone. Whether the pass met its target.
bool TimeOpeningAfterKill(unsigned count) {
  constexpr double kMostSeconds = 3;
  constexpr std::uint32_t kLost = 100;
  DeleteDatabases(true);
  Require(OpenGDBMDatabases(), "opening");
  for (unsigned i = 0; i < count; ++i) {
    AsciiArticle article = MakeArticle(i);
    Require(StoreArticle(article), "storing");
    Require(AddArticleToGroup(kGroup, *article.messageId), "chaining");
  }
  Require(StoreIsWhole(), "making a copy");
  for (std::uint32_t i = 1; i <= kLost; ++i) {
    Require(DeleteValue(DatabaseIndex::kNewsgroups, NumberKey(i * (count / kLost))), "deleting");
  }
  for (const auto index :
       {DatabaseIndex::kArticles, DatabaseIndex::kNewsgroups, DatabaseIndex::kPendingPosts}) {
    DatabaseFile(index).Close();
  }
  const auto start = std::chrono::steady_clock::now();
  Require(OpenGDBMDatabases(), "opening");
  const double all = Microseconds(std::chrono::steady_clock::now() - start, 1) / 1e6;
  Require(CountGroupArticles(kGroup, false) == count, "a chain that is whole");
  const auto pass_start = std::chrono::steady_clock::now();
  Require(MakeStoreWhole({}, {}, ChainsFile::kKept) == WholeOutcome::kWhole, "the pass");
  const double pass = Microseconds(std::chrono::steady_clock::now() - pass_start, 1) / 1e6;
  CloseDatabases();
  std::printf("opening after a kill, %u articles: %.2f s, of which the pass %.2f s (target %.0f)\n",
              count, all, pass, kMostSeconds);
  return pass <= kMostSeconds;
}

int Run(unsigned count, unsigned rounds, unsigned left_by_kill) {
  gDatabaseFolder = u"\\Bench";
  gPlatform->files.CreateFolder(gDatabaseFolder);
  gPrefs = std::make_unique<Prefs>();
  gPrefs->numgroups = 1;
  gPrefs->groups = {std::u16string(kGroup)};
  Require(LoadDatabaseLibrary(), "binding the library");
  std::vector<AsciiArticle> articles;
  for (unsigned i = 0; i < count; ++i) articles.push_back(MakeArticle(i));
  const std::vector<RawArticle> raw_articles = MakeRaw(articles, kGroup);
  std::vector<double> store, raw;
  for (unsigned i = 0; i < rounds; ++i) {
    raw.push_back(TimeRaw(raw_articles));
    store.push_back(TimeStore(articles));
  }
  const double ratio = Median(store) / Median(raw);
  std::printf("store path %.2f us, raw calls %.2f us an article: ratio %.2f (target %.1f)\n",
              Median(store), Median(raw), ratio, kTarget);
  const bool soon = TimeOpeningAfterKill(left_by_kill);
  return ratio <= kTarget && soon ? 0 : 1;
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  quillet::port::FakePlatform fake;
  return quillet::Run(quillet::Argument(argc, argv, 1, 20000), quillet::Argument(argc, argv, 2, 5),
                      quillet::Argument(argc, argv, 3, 100000));
}
