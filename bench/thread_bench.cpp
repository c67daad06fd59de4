// SPDX-License-Identifier: GPL-3.0-or-later
// Building the tree of a group: through the store against the bare cost of walking the chain and
// fetching and parsing the same records, and in memory for groups of every bad shape against an
// ordinary one. Taken in turns; the fastest rounds are compared.
//
// usage: thread_bench [ARTICLES] [ROUNDS]; ends with 1 when a figure misses its target.

#define QUILLET_FAKE_WITHOUT_GTEST
#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/extensions.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "bench/measure.h"
#include "bench/stored_group.h"
#include "port/fake/fake_platform.h"
#include "store/chains.h"
#include "store/databases.h"
#include "store/records.h"
#include "tests/thread/forests.h"
#include "tests/thread/tree_reference.h"
#include "thread/group_tree.h"
#include "util/format.h"

namespace quillet {
namespace {

using testing::TestArticle;
using Articles = std::vector<TestArticle>;

constexpr double kStoreTarget = 1.6;
constexpr double kAncestorsTarget = 1.2;
constexpr double kShapeTarget = 3;
constexpr double kMemoryTarget = 400;
constexpr std::u16string_view kGroup = u"bench.threads";

double BytesAnArticle(const ThreadTree& tree) {
  return static_cast<double>(tree.MemoryUsed()) / tree.root().descendantCount;
}

// Every reply names all its forerunners, folded where a line would be longer than 78 characters.
// What is stored for its parent is the last one of the first line.
Articles WithReferences(Articles newest_first) {
  constexpr std::size_t kLongestLine = 78;
  constexpr std::size_t kMost = 900;  // bytes; the ones behind the first go then
  std::unordered_map<std::string, std::string> fields;
  for (auto article = newest_first.rbegin(); article != newest_first.rend(); ++article) {
    if (article->parent.empty()) continue;
    std::string& field = article->references;
    field = fields[article->parent];
    const std::size_t line = field.size() - std::min(field.rfind('\n') + 1, field.size());
    const bool folds = !field.empty() && line + 1 + article->parent.size() > kLongestLine;
    field += (folds ? "\r\n " : " ") + article->parent;
    if (field.size() > kMost) field.erase(0, field.find(' ', 1));
    fields[article->id] = field;
    const std::string first = field.substr(0, field.find('\r'));
    article->parent = first.substr(first.rfind(' ') + 1);
  }
  return newest_first;
}

// --- Through the store ---------------------------------------------------------------------------

void ReadAll(std::size_t count) {
  std::size_t read = 0;
  for (auto record = GroupChainFirst(kGroup); record; record = GroupChainNext()) {
    read += FetchArticle(record->messageId) != nullptr ? 1U : 0U;
  }
  Require(read == count, "reading");
}

void FillStore(std::u16string_view folder, const Articles& articles) {
  gDatabaseFolder = folder;
  gPlatform->files.CreateFolder(gDatabaseFolder);
  gPrefs = std::make_unique<Prefs>();
  gPrefs->usethreading = 1;
  Require(LoadDatabaseLibrary() && OpenGDBMDatabases(), "opening");
  StoreGroup(kGroup, articles);
}

// Milliseconds; `bytes` beyond the texts an article.
double BuildOnce(std::size_t count, double& bytes) {
  BuiltTree built;
  const double time = ProcessorMilliseconds([&] { built = BuildNodeTree(kGroup); });
  Require(built.complete && built.tree->root().descendantCount == count, "building");
  bytes = BytesAnArticle(*built.tree);
  return time;
}

bool MeasureStore(const Articles& articles, unsigned rounds) {
  FillStore(u"\\Bench", articles);
  std::vector<double> bare;
  std::vector<double> build;
  double bytes = 0;
  for (unsigned i = 0; i <= rounds; ++i) {  // the first one warms up
    bare.push_back(ProcessorMilliseconds([&] { ReadAll(articles.size()); }));
    build.push_back(BuildOnce(articles.size(), bytes));
  }
  CloseDatabases();
  bare.erase(bare.begin());
  build.erase(build.begin());
  const double ratio = Fastest(build) / Fastest(bare);
  std::printf("tree of %zu articles %.0f ms, bare reading %.0f ms: ratio %.2f (target %.1f)\n",
              articles.size(), Fastest(build), Fastest(bare), ratio, kStoreTarget);
  std::printf("memory beyond the texts: %.0f bytes an article (target under %.0f)\n", bytes,
              kMemoryTarget);
  return ratio <= kStoreTarget && bytes < kMemoryTarget;
}

// By whole References against stored parents.
bool MeasureAncestors(port::FakeRegistry& registry, const Articles& articles, unsigned rounds) {
  FillStore(u"\\Bench of ancestors", articles);
  std::vector<double> without;
  std::vector<double> with;
  double bytes = 0;
  for (unsigned i = 0; i <= rounds; ++i) {
    registry.PutDword(kExtensionsPath, u"ancestors", 0);
    without.push_back(BuildOnce(articles.size(), bytes));
    registry.PutDword(kExtensionsPath, u"ancestors", 1);
    with.push_back(BuildOnce(articles.size(), bytes));
  }
  CloseDatabases();
  const double ratio = Fastest(with) / Fastest(without);
  std::printf("by whole References %.0f ms, by stored parents %.0f ms: ratio %.2f (target %.1f)\n",
              Fastest(with), Fastest(without), ratio, kAncestorsTarget);
  return ratio <= kAncestorsTarget && bytes < kMemoryTarget;
}

// --- Shapes --------------------------------------------------------------------------------------

// Every article its own thread with its own subject; `change` makes something of each.
Articles Separate(std::size_t count,
                  const std::function<void(TestArticle&, std::size_t)>& change = {}) {
  Articles articles;
  for (std::size_t i = count; i > 0; --i) {
    TestArticle article{testing::Group::Id(i),
                        "",
                        FormatNarrow("The subject of article number %lu", i),
                        "news.example.org",
                        FormatNarrow("A. Writer <writer%lu@example.org>", i % 911),
                        static_cast<std::int32_t>(i),
                        false,
                        static_cast<std::uint32_t>(i)};
    if (change) change(article, i);
    articles.push_back(std::move(article));
  }
  return articles;
}

void Answer(TestArticle& article, std::size_t parent) {
  if (parent > 0) article.parent = testing::Group::Id(parent);
}

Articles Reversed(Articles articles) {
  std::reverse(articles.begin(), articles.end());
  return articles;
}

struct Shape {
  const char* name;
  Articles articles;
};

std::vector<Shape> Shapes(const Articles& ordinary) {
  const std::size_t count = ordinary.size();
  const Articles chain =
      Separate(count, [](auto& article, std::size_t i) { Answer(article, i - 1); });
  const Articles star =
      Separate(count, [](auto& article, std::size_t i) { Answer(article, i > 1 ? 1 : 0); });
  std::vector<Shape> shapes;
  shapes.push_back({"all separate", Separate(count)});
  shapes.push_back({"all of one subject", Separate(count, [](auto& article, std::size_t i) {
                      article.subject = i % 2 == 0 ? "Re: One subject" : "One subject";
                    })});
  shapes.push_back({"one chain, replies before parents", chain});
  shapes.push_back({"one chain, parents before replies", Reversed(chain)});
  shapes.push_back({"all answer one, before it", star});
  shapes.push_back({"all answer one, after it", Reversed(star)});
  shapes.push_back({"the ordinary one in reverse order", Reversed(ordinary)});
  shapes.push_back({"parents missing, from a thousand sources",
                    Separate(count, [](auto& article, std::size_t i) {
                      article.parent = FormatNarrow("<gone%lu@x.example>", i);
                      article.source = FormatNarrow("server%lu.example", i * 7919 % 1000);
                    })});
  shapes.push_back(
      {"forerunners missing, six each", Separate(count, [](auto& article, std::size_t i) {
         article.parent = FormatNarrow("<gone%lu@x.example>", i);
         for (std::size_t n = 0; n < 6; ++n) {
           article.references += FormatNarrow(" <%lu.gone%lu@x.example>", n, i);
         }
       })});
  shapes.push_back(
      {"Message-IDs alike for 60 bytes", Separate(count, [](auto& article, std::size_t i) {
         const std::string head = "<" + std::string(60, 'a');
         article.id = head + FormatNarrow("%lu@x>", i);
         article.parent = head + FormatNarrow("%lu@x>", i / 3);
       })});
  shapes.push_back({"all of one Message-ID", Separate(count, [](auto& article, std::size_t i) {
                      article.id = "<1@x>";
                      if (i % 2 == 0) article.parent = "<1@x>";
                    })});
  return shapes;
}

std::unique_ptr<ThreadTree> Build(const Articles& articles) {
  return testing::BuildTree(articles, {true, false});
}

bool MeasureShapes(const Articles& ordinary, unsigned rounds) {
  std::vector<Shape> shapes = Shapes(ordinary);
  shapes.insert(shapes.begin(), {"ordinary, in memory", ordinary});
  std::vector<std::vector<double>> times(shapes.size());
  std::vector<double> bytes(shapes.size());
  for (unsigned round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < shapes.size(); ++i) {
      std::unique_ptr<ThreadTree> tree;
      times[i].push_back(ProcessorMilliseconds([&] { tree = Build(shapes[i].articles); }));
      bytes[i] = BytesAnArticle(*tree);
    }
  }
  bool good = true;
  std::printf("%-46s %8s %8s %8s\n", "shape", "ms", "ratio", "bytes");
  for (std::size_t i = 0; i < shapes.size(); ++i) {
    const double ratio = Fastest(times[i]) / Fastest(times[0]);
    std::printf("%-46s %8.1f %8.2f %8.0f\n", shapes[i].name, Fastest(times[i]), ratio, bytes[i]);
    good = good && ratio <= kShapeTarget && bytes[i] < kMemoryTarget;
  }
  std::printf("targets: ratio %.1f, under %.0f bytes an article\n", kShapeTarget, kMemoryTarget);
  return good;
}

int Run(port::FakeRegistry& registry, unsigned count, unsigned rounds) {
  const Articles ordinary = testing::Group(1).Make(count);
  const bool shapes_good = MeasureShapes(ordinary, rounds);
  const bool store_good = MeasureStore(ordinary, rounds);
  const bool ancestors_good = MeasureAncestors(registry, WithReferences(ordinary), rounds);
  return shapes_good && store_good && ancestors_good ? 0 : 1;
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  quillet::port::FakePlatform fake;
  return quillet::Run(fake.registry, quillet::Argument(argc, argv, 1, 100000),
                      quillet::Argument(argc, argv, 2, 7));
}
