// SPDX-License-Identifier: GPL-3.0-or-later
// The thread view of a large group: looking through all articles against fetching them, opening and
// looking through a group of many languages against one in ASCII, rows and labels for the display,
// and marking and deleting in one chain of replies against an ordinary group. Figures are processor
// time.
//
// usage: view_bench [ARTICLES] [ROUNDS]; ends with 1 when a figure misses its target.

#define QUILLET_FAKE_WITHOUT_GTEST
#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "base/long_operation.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/subscriptions.h"
#include "base/upward_calls.h"
#include "bench/measure.h"
#include "bench/stored_group.h"
#include "port/fake/fake_platform.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/databases.h"
#include "store/deletion.h"
#include "store/records.h"
#include "tests/thread/forests.h"
#include "tests/thread/tree_reference.h"
#include "thread/deletion.h"
#include "thread/labels.h"
#include "thread/marking.h"
#include "thread/moves.h"
#include "thread/search.h"
#include "thread/view.h"
#include "util/format.h"

namespace quillet {
namespace {

using testing::TestArticle;
using Articles = std::vector<TestArticle>;

constexpr double kSearchTarget = 1.3;
constexpr double kMixedSearchTarget = 2.5;
constexpr double kMixedOpeningTarget = 1.15;
constexpr double kLabelsTarget = 50;  // milliseconds
constexpr double kChainTarget = 2;

// Takes rows and labels and shows nothing.
class BlindTree final : public port::TreeView {
 public:
  std::size_t taken = 0;

  void CreateTree(std::u16string_view /*name*/, std::u16string_view /*font*/, int) override {}
  bool TreeCreated() override { return true; }
  void SetTreeFont(std::u16string_view /*font*/, int) override {}
  void FillTree(std::vector<port::TreeRow> rows) override { taken = rows.size(); }
  void ReplaceSubtree(port::TreeItem, std::vector<port::TreeRow> rows) override {
    taken = rows.size();
  }
  void SetLabels(std::vector<port::TreeLabel> labels) override { taken = labels.size(); }
  void SelectItem(port::TreeItem) override {}
  port::TreeItem SelectedItem() override { return 0; }
  void SetCaption(std::u16string_view) override {}
  void FocusTree() override {}
};

struct Device {
  port::FakePlatform fake;
  BlindTree tree;
  port::Platform platform{{fake.display, fake.display, fake.display, fake.display, fake.display,
                           tree, fake.display, fake.display, fake.display},
                          fake.queues,
                          fake.registry,
                          fake.sockets,
                          fake.libraries,
                          fake.files,
                          fake.clock,
                          fake.shell,
                          fake.scheduler,
                          fake.dialler,
                          fake.mail,
                          fake.contacts,
                          fake.security,
                          fake.secrets};
};

// The round that was disturbed least.
double Fastest(unsigned rounds, const std::function<void()>& work) {
  double fastest = ProcessorMilliseconds(work);
  for (unsigned i = 0; i < rounds; ++i) fastest = std::min(fastest, ProcessorMilliseconds(work));
  return fastest;
}

// --- A group -------------------------------------------------------------------------------------

// Every second article read, each the answer to the one before.
Articles Chain(Articles articles) {
  for (std::size_t i = 0; i < articles.size(); ++i) {
    articles[i].id = "<chain" + articles[i].id.substr(1);
    articles[i].parent =
        i + 1 < articles.size() ? "<chain" + articles[i + 1].id.substr(1) : std::string();
    articles[i].read = i % 2 == 0;
  }
  return articles;
}

// The same threads with other Message-IDs.
Articles Mixed(Articles articles, const char* name) {
  for (TestArticle& article : articles) {
    article.id.insert(1, name);
    if (!article.parent.empty()) article.parent.insert(1, name);
  }
  return InOtherLanguages(std::move(articles));
}

void Show(std::size_t group) {
  gReading.group = GroupAt(group);
  ShowThreadView();
  Require(gReading.tree != nullptr, "building");
}

// --- Figures -------------------------------------------------------------------------------------

bool Report(const char* what, double figure, const char* unit, double target) {
  std::printf("%-58s %8.2f%s (target %.1f)\n", what, figure, unit, target);
  return figure <= target;
}

// Subjects and authors are decoded to be gathered and shown.
bool MeasureOpening(std::size_t ascii, std::size_t mixed, unsigned rounds) {
  const auto open = [](std::size_t group) {
    return [group] {
      BuildThreadList(GroupAt(group), 100000);
      Require(gReading.tree != nullptr, "opening");
    };
  };
  std::vector<double> plain, decoded;
  for (unsigned i = 0; i <= rounds + 2; ++i) {  // in turns; the first ones warm up
    plain.push_back(ProcessorMilliseconds(open(ascii)));
    decoded.push_back(ProcessorMilliseconds(open(mixed)));
  }
  const double bare = quillet::Fastest(plain);
  std::printf("opening in ASCII: %.0f ms\n", bare);
  return Report("opening, 30 % of names encoded, against ASCII", quillet::Fastest(decoded) / bare,
                "", kMixedOpeningTarget);
}

struct SearchKind {
  const char* body;
  const char* all;
  std::u16string_view wanted;
  double target;
};

bool MeasureSearch(const SearchKind& kind, unsigned rounds) {
  std::size_t bytes = 0;
  const auto fetch = [&] {
    for (Node* node = NextArticle(gReading.tree->root()); node != nullptr;
         node = NextArticle(*node)) {
      bytes += FetchArticle(node->messageId)->body->size();
    }
  };
  const auto search = [&kind](bool headers) {
    return [&kind, headers] {
      Require(
          SearchForward(nullptr, {std::u16string(kind.wanted), false, false, headers}) == nullptr,
          "searching");
    };
  };
  const double bare = Fastest(rounds, fetch);
  const double body = Fastest(rounds, search(false));
  const double all = Fastest(rounds, search(true));
  std::printf("fetching %u articles: %.0f ms\n", gReading.tree->root().descendantCount, bare);
  const bool good = Report(kind.body, body / bare, "", kind.target);
  return Report(kind.all, all / bare, "", kind.target) && good;
}

bool MeasureLabels(BlindTree& tree, unsigned rounds) {
  Node& root = gReading.tree->root();
  const double rows = Fastest(rounds, [&] { BuildTreeView(root, false); });
  std::printf("%zu rows\n", tree.taken);
  const double none = Fastest(rounds, [&] { RefreshThreadLabels(root); });
  double all = 0;
  for (unsigned i = 0; i <= rounds; ++i) {
    for (Node* node = &root; node != nullptr; node = NextNode(*node)) node->read ^= 1U;
    const double round = ProcessorMilliseconds([&] { RefreshThreadLabels(root); });
    all = i == 0 ? round : std::min(all, round);
  }
  Require(tree.taken > root.descendantCount, "refreshing");
  bool good = Report("rows of the whole tree", rows, " ms", kLabelsTarget);
  good = Report("refresh without a change", none, " ms", kLabelsTarget) && good;
  return Report("refresh of every label", all, " ms", kLabelsTarget) && good;
}

bool MeasureShapes(int ordinary, int chain) {
  const auto mark = [](int group) {
    Show(group);
    return ProcessorMilliseconds([] { MarkNode(gReading.tree->root(), false); }) +
           ProcessorMilliseconds([] { MarkNode(gReading.tree->root(), true); });
  };
  const auto remove = [](int group) {
    Show(group);
    // Every second one, from every depth.
    bool read = false;
    for (Node* node = &gReading.tree->root(); node != nullptr; node = NextNode(*node)) {
      if (node->kind == NodeKind::kArticle) node->read = (read = !read) ? 1 : 0;
    }
    const double cost = ProcessorMilliseconds(
        [group] { DeleteArticlesOf(true, GroupAt(static_cast<std::size_t>(group))); });
    Require(gReading.tree->root().descendantCount > 0, "deleting");
    return cost;
  };
  const double marking = mark(ordinary);
  bool good = Report("marking one chain of replies against an ordinary group",
                     mark(chain) / marking, "", kChainTarget);
  const double removing = remove(ordinary);
  return Report("deleting in one chain of replies against an ordinary group",
                remove(chain) / removing, "", kChainTarget) &&
         good;
}

int Run(Device& device, unsigned count, unsigned rounds) {
  gPlatform = &device.platform;
  gDatabaseFolder = u"\\Bench";
  gPlatform->files.CreateFolder(gDatabaseFolder);
  gPrefs = std::make_unique<Prefs>();
  gPrefs->usethreading = 1;
  gPrefs->groups = {u"bench.ordinary", u"bench.chain", u"bench.mixed", u"bench.names"};
  gPrefs->numgroups = 4;
  Require(LoadDatabaseLibrary() && OpenGDBMDatabases(), "opening");
  const Articles ordinary = testing::Group(1).Make(count);
  StoreGroup(gPrefs->groups[0], ordinary);
  StoreGroup(gPrefs->groups[1], Chain(ordinary));
  StoreGroup(gPrefs->groups[2], Mixed(ordinary, "mixed"), Bodies::kMixed);
  StoreGroup(gPrefs->groups[3], Mixed(ordinary, "names"));
  for (const std::u16string& group : gPrefs->groups) {
    DeleteValue(DatabaseIndex::kArticles, GroupKey(group));  // counted before the articles came
  }
  CountArticles();
  gUpwardCalls.shown_tree = {GroupOfShownTree, DeleteReadOfShownTree, ClearThreadView};
  bool good = MeasureOpening(0, 3, rounds);
  Show(2);
  good = MeasureSearch({"mixed: search in the bodies against fetching",
                        "mixed: search in headers and bodies against fetching", u"something more",
                        kMixedSearchTarget},
                       rounds) &&
         good;
  good = MeasureSearch({"mixed: search in the bodies, no ASCII",
                        "mixed: search in headers and bodies, no ASCII",
                        u"s\u00F6m\u00E9thing m\u00F6re", kMixedSearchTarget},
                       rounds) &&
         good;
  Show(0);
  good = MeasureSearch(
             {"search in the bodies against fetching",
              "search in headers and bodies against fetching", u"something more", kSearchTarget},
             rounds) &&
         good;
  good = MeasureLabels(device.tree, rounds) && good;
  good = MeasureShapes(0, 1) && good;
  ClearThreadView();
  CloseDatabases();
  return good ? 0 : 1;
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  quillet::Device device;
  return quillet::Run(device, quillet::Argument(argc, argv, 1, 100000),
                      quillet::Argument(argc, argv, 2, 3));
}
