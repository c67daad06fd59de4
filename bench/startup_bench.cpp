// SPDX-License-Identifier: GPL-3.0-or-later
// Start-up with 1,000 groups: a store of 100,000 articles with cached counts beside an empty store,
// taken in turns in one run. Measured twice: the whole process (the scripted front, from its start
// to its end), and for information the program alone, from its entry to the waiting window, without
// loading, display and toolkit.
//
// usage: startup_bench QUILLET-SCRIPT [ARTICLES] [ROUNDS]; ends with 1 when the ratio of the
// process is above the target.

#define QUILLET_FAKE_WITHOUT_GTEST
#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "app/startup.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/subscriptions.h"
#include "bench/measure.h"
#include "port/fake/fake_display.h"
#include "port/linux/linux_platform.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/databases.h"
#include "store/records.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr double kTarget = 2.0;
constexpr unsigned kGroups = 1000;

// One run of the whole program on the services of Linux, with a display that has no pixels.
class Run {
 public:
  explicit Run(const std::string& folder)
      : services_(Prepared(folder), u"", port::OwnExecutable()), display_(services_.queues) {
    services_.Attach(display_.Services());
  }
  void StartAndWait() {
    thread_ = std::thread([] { RunQuillet(); });
    if (!services_.queues.WaitIdle(thread_.get_id(), 60000)) std::exit(2);
  }
  void End() {
    display_.CloseMainWindow();
    thread_.join();
  }

 private:
  static port::Profile Prepared(const std::string& folder) {
    port::Profile profile = port::LocateProfile(folder);
    if (!port::PrepareProfile(profile).empty()) std::exit(2);
    return profile;
  }
  port::LinuxServices services_;
  port::FakeDisplay display_;
  std::thread thread_;
};

std::u16string GroupName(unsigned number) {
  return FormatWide(u"bench.group.%u", number);
}

void AddArticle(unsigned number) {
  const std::size_t group = number % kGroups;
  AsciiArticle article;
  article.messageId = FormatNarrow("<%u@bench.example>", number);
  article.headers = std::string(200, 'h');
  article.body = std::string(1200, 'b');
  if (!StoreArticle(article) ||
      !AddArticleToGroup(GroupName(number % kGroups), *article.messageId)) {
    std::exit(2);
  }
  ++gReadInfo[group]->totalCount;
}

void MakeProfile(const std::string& folder, unsigned articles) {
  Run run(folder);
  ReadPreferences();
  AddServer(*gPrefs, {.name = u"news.example.org"});  // or it would begin with Quick Setup
  for (unsigned i = 0; i < kGroups; ++i) AddGroup(*gPrefs, GroupName(i));
  WritePreferences();
  if (!LoadDatabaseLibrary() || !OpenGDBMDatabases()) std::exit(2);
  for (unsigned i = 0; i < articles; ++i) AddArticle(i);
  for (unsigned i = 0; i < kGroups; ++i) UpdateGlobalGDBMArticleCountCache(i);
  CloseDatabases();
}

template <class Work>
double Milliseconds(const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

double ProgramMs(const std::string& folder) {
  Run run(folder);
  const double ms = Milliseconds([&] { run.StartAndWait(); });
  run.End();
  return ms;
}

double ProcessMs(const std::string& script, const std::string& folder) {
  const std::string command =
      "printf 'wait\\nclose\\n' | '" + script + "' --profile '" + folder + "' > /dev/null";
  return Milliseconds([&] {
    if (std::system(command.c_str()) != 0) std::exit(2);
  });
}

// Prints one line; the ratio.
double Compare(const char* what, const std::string& root, int rounds,
               const std::function<double(const std::string& folder)>& measure) {
  std::vector<double> empty;
  std::vector<double> full;
  for (int i = 0; i < rounds; ++i) {
    empty.push_back(measure(root + "/empty"));
    full.push_back(measure(root + "/full"));
  }
  const double ratio = Median(full) / Median(empty);
  std::printf("%-42s empty %7.1f ms, full %7.1f ms, ratio %.2f", what, Median(empty), Median(full),
              ratio);
  return ratio;
}

int Main(const std::string& script, unsigned articles, int rounds) {
  char name[] = "/tmp/quillet-startup-XXXXXX";
  if (mkdtemp(name) == nullptr) return 2;
  const std::string root = name;
  MakeProfile(root + "/empty", 0);
  MakeProfile(root + "/full", articles);
  const double ratio =
      Compare("start-up, 1,000 groups, whole process:", root, rounds,
              [&](const std::string& folder) { return ProcessMs(script, folder); });
  std::printf(" (target <= %.1f)\n", kTarget);
  Compare("  the program alone:", root, rounds, ProgramMs);
  std::printf("\n");
  std::filesystem::remove_all(root);
  return ratio <= kTarget ? 0 : 1;
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: startup_bench QUILLET-SCRIPT [ARTICLES] [ROUNDS]\n");
    return 2;
  }
  const auto argument = [&](int at, int usual) { return argc > at ? std::atoi(argv[at]) : usual; };
  return quillet::Main(argv[1], static_cast<unsigned>(argument(2, 100000)), argument(3, 9));
}
