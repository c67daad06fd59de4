// SPDX-License-Identifier: GPL-3.0-or-later
// Compressing a whole store against bare calls of both libraries with the same data: every record
// read, its texts compressed, and written into a new file. Taken in turns; then the way back.
//
// usage: compression_bench [ARTICLES] [ROUNDS]; ends with 1 when a target is missed.

#define QUILLET_FAKE_WITHOUT_GTEST
#include <bzlib.h>

#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "bench/measure.h"
#include "bench/raw_store.h"
#include "port/fake/fake_platform.h"
#include "store/compression.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr double kTarget = 1.15;
constexpr std::u16string_view kGroup = u"bench.compression";
constexpr std::size_t kHeader = 20;
constexpr std::size_t kSlack = 4;

// Words of a few letters, some of them often, as text has them.
std::string Text(std::mt19937& random, std::size_t length) {
  std::string text;
  while (text.size() < length) {
    const auto word = static_cast<unsigned>(random() % 400 * (random() % 400) / 400);
    for (unsigned i = 0; i < 2 + word % 7; ++i) {
      text.push_back(static_cast<char>('a' + (word * 31 + i * i * 7) % 26));
    }
    text += random() % 12 == 0 ? "\r\n" : " ";
  }
  return text;
}

void FillStore(unsigned count) {
  std::mt19937 random(1);
  for (unsigned i = 0; i < count; ++i) {
    AsciiArticle article;
    article.messageId = FormatNarrow("<%lu.bench@news.example>", i);
    article.headers = "Path: news.example.org!not-for-mail\r\nNewsgroups: bench.compression";
    article.body = Text(random, 400 + i * 7919U % 3200);
    article.subject = "Re: the price of a compressed article";
    article.from = "A. Writer <writer@example.org>";
    Require(StoreArticle(article) && AddArticleToGroup(kGroup, *article.messageId), "storing");
  }
}

double Seconds(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double TimeConversion(bool compress) {
  const auto start = std::chrono::steady_clock::now();
  CompressAllArticles(compress);
  const double time = Seconds(start);
  const auto first =
      FetchValue(DatabaseIndex::kArticles, std::string("<0.bench@news.example>\0", 23));
  Require(first && first->front() == (compress ? 2 : 1), "a converted article");
  return time;
}

std::string BareCompressed(const datum& value) {
  const auto length = static_cast<std::size_t>(value.dsize) - kHeader - kSlack;
  std::string stored(kHeader + 4 + length + length / 100 + 601 + kSlack, '\0');
  auto room = static_cast<unsigned>(stored.size() - kHeader - 4 - kSlack);
  Require(BZ2_bzBuffToBuffCompress(stored.data() + kHeader + 4, &room, value.dptr + kHeader,
                                   static_cast<unsigned>(length), 1, 0, 0) == BZ_OK,
          "compressing");
  stored.resize(kHeader + 4 + room + kSlack);
  return stored;
}

void Store(GDBM_FILE file, datum key, const std::string& value) {
  const datum data{const_cast<char*>(value.data()), static_cast<int>(value.size())};
  Require(gdbm_store(file, key, data, GDBM_INSERT) == 0, "gdbm_store");
}

// The databases are closed.
double TimeBare() {
  const std::string path = gPlatform->files.NativePath(DatabasePath(DatabaseIndex::kArticles));
  const auto start = std::chrono::steady_clock::now();
  const RawFile from(path, GDBM_READER);
  const RawFile to(path + ".bare", GDBM_NEWDB);
  for (datum key = gdbm_firstkey(from.get()); key.dptr != nullptr;) {
    const datum value = gdbm_fetch(from.get(), key);
    const bool is_article = static_cast<std::size_t>(value.dsize) > kHeader + kSlack;
    Store(to.get(), key,
          is_article ? BareCompressed(value)
                     : std::string(value.dptr, static_cast<std::size_t>(value.dsize)));
    std::free(value.dptr);
    const datum next = gdbm_nextkey(from.get(), key);
    std::free(std::exchange(key, next).dptr);
  }
  return Seconds(start);
}

int Run(unsigned count, unsigned rounds) {
  gDatabaseFolder = u"\\Bench";
  gPlatform->files.CreateFolder(gDatabaseFolder);
  gPrefs = std::make_unique<Prefs>();
  gPrefs->numgroups = 1;
  gPrefs->groups = {std::u16string(kGroup)};
  Require(LoadDatabaseLibrary() && OpenGDBMDatabases() && BindCompressionLibrary(), "opening");
  FillStore(count);
  std::vector<double> compress, uncompress, bare;
  for (unsigned i = 0; i < rounds; ++i) {
    CloseDatabases();
    bare.push_back(TimeBare());
    Require(OpenGDBMDatabases(), "opening");
    compress.push_back(TimeConversion(true));
    uncompress.push_back(TimeConversion(false));
  }
  CloseDatabases();
  const double ratio = Median(compress) / Median(bare);
  std::printf("compressing %.2f s, bare calls %.2f s for %u articles: ratio %.2f (target %.2f)\n",
              Median(compress), Median(bare), count, ratio, kTarget);
  std::printf("uncompressing %.2f s\n", Median(uncompress));
  return ratio <= kTarget ? 0 : 1;
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  quillet::port::FakePlatform fake;
  const int status =
      quillet::Run(quillet::Argument(argc, argv, 1, 20000), quillet::Argument(argc, argv, 2, 3));
  quillet::ResetProgram();
  return status;
}
