// SPDX-License-Identifier: GPL-3.0-or-later
// Kills writers at random moments, many of them, and looks after each kill whether the store that
// the next opening makes of it holds what it must. Exits 1 when one did not.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <string>

#include "base/prefs_registry.h"
#include "base/reset.h"
#include "store/compression.h"
#include "store/databases.h"
#include "tests/kill/deeds.h"
#include "tests/kill/expected_store.h"
#include "tests/kill/store_writer.h"

namespace quillet {
namespace {

constexpr int kKillsOfAProfile = 120;
constexpr std::uint32_t kProfileSizes[] = {20, 120, 350, 800};

struct Options {
  int kills = 0;
  std::uint32_t seed = std::random_device{}();
  std::string keep;  // where the files of a store that is wrong are kept; empty: nowhere
};

struct Totals {
  int kills = 0;
  int in_opening = 0;
  int lost = 0;
  int came_back = 0;
  int wrong = 0;
};

// One store, from its first opening on, and all the writers that are killed in it.
class Profile {
 public:
  Profile(const Options& options, std::uint32_t seed, Totals& totals)
      : options_(options), seed_(seed), totals_(totals), random_(seed) {
    compress_ = Below(3) == 0;
    expected_ = ExpectedStore(Below(4) != 0);
    articles_ = kProfileSizes[Below(std::size(kProfileSizes))];
    SetKillPreferences(compress_);
    fake_.files.CreateFolder(gDatabaseFolder);
    folder_ = fake_.files.NativePath(gDatabaseFolder);
  }
  Profile(const Profile&) = delete;
  Profile& operator=(const Profile&) = delete;
  ~Profile() { ResetProgram(); }

  void Run(int kills) {
    if (!LoadDatabaseLibrary()) return Complain("the database library is missing");
    LoadCompressionLibrary();
    for (int i = 0; i < kills && good_; ++i) Round();
  }

 private:
  std::uint32_t Below(std::size_t limit) { return static_cast<std::uint32_t>(random_() % limit); }

  void Round() {
    plan_ = {static_cast<Work>(Below(kWorkCount)), static_cast<std::uint32_t>(random_()),
             articles_};
    ++totals_.kills;
    if (!KillAWriter()) return;
    KeepAsKilled();
    // Now and then the openings after it are killed too.
    while (Below(6) == 0) KillAnOpening();
    if (!Child([this] { OpenAndClose(fake_, log_); })) return;
    FoundStore found = ReadStore(folder_);
    Compare(found, false);
    totals_.lost += static_cast<int>(found.lost.size());
    CountReturned(found);
    expected_.Settle(found);
    if (!found.lost.empty()) Connect(found);
  }

  void Connect(const FoundStore& found) {
    for (const auto& [id, groups] : found.lost) {
      const auto number = static_cast<std::uint32_t>(std::strtoul(id.c_str() + 1, nullptr, 10));
      const auto article = expected_.articles().find(number);
      if (article == expected_.articles().end()) continue;
      expected_.Apply({Deed::kStore, article->second.group, true, number});
    }
    if (!Child([this] { FetchLostArticles(fake_, log_, expected_); })) return;
    const FoundStore complete = ReadStore(folder_);
    Compare(complete, true);
    expected_.Settle(complete);
  }

  // Deletions that the last whole point does not know may be undone; they are counted.
  void CountReturned(const FoundStore& found) {
    for (const auto& [number, article] : expected_.articles()) {
      if (article.state != ExpectedStore::State::kDeleted) continue;
      if (found.articles.count(KillIdOf(number)) != 0) ++totals_.came_back;
    }
  }

  pid_t Fork(const std::function<void()>& work) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) std::abort();
    if (child != 0) return child;
    work();
    _exit(kChildDone);
  }

  // In the opening at a moment within as long as it takes, or a while after it.
  bool KillAWriter() {
    ClearLog(log_);
    const bool in_opening = Below(5) == 0;
    const pid_t child = Fork([this] { WriteUntilKilled(fake_, log_, expected_, plan_); });
    int status = 0;
    if (in_opening) {
      ++totals_.in_opening;
      usleep(Below(open_microseconds_ + open_microseconds_ / 4 + 1));
    } else {
      while (log_.open_microseconds == 0) {
        if (waitpid(child, &status, WNOHANG) != 0) return Ended(status);
        usleep(50);
      }
      open_microseconds_ = log_.open_microseconds;
      usleep(Below(Below(3) == 0 ? 20000 : 3000));
    }
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    if (!WIFSIGNALED(status)) return Ended(status);
    for (std::uint32_t i = 0; i < log_.count; ++i) expected_.Apply(log_.entries[i]);
    return true;
  }

  bool Ended(int status) {
    if (WIFSIGNALED(status)) {
      Complain("the process died by signal " + std::to_string(WTERMSIG(status)));
    } else if (WEXITSTATUS(status) != kChildDone) {
      Complain("the process gave up: " + std::string(log_.complaint));
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == kChildDone;
  }

  void KillAnOpening() {
    const pid_t child = Fork([this] { OpenAndClose(fake_, log_); });
    usleep(Below(open_microseconds_ * 2 + 2000));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
  }

  bool Child(const std::function<void()>& work) {
    log_.complaint[0] = '\0';
    int status = 0;
    waitpid(Fork(work), &status, 0);
    return Ended(status);
  }

  void Compare(const FoundStore& found, bool nothing_lost) {
    for (const std::string& line : expected_.Differences(found, nothing_lost)) Complain(line);
  }

  void KeepAsKilled() {
    if (options_.keep.empty()) return;
    std::filesystem::remove_all(AsKilled());
    std::filesystem::create_directories(options_.keep);
    std::filesystem::copy(folder_, AsKilled());
  }
  std::string AsKilled() const {
    return options_.keep + "/" + std::to_string(seed_) + " as killed";
  }

  void Complain(const std::string& line) {
    if (good_) TellWhere();
    good_ = false;
    ++complaints_;
    if (complaints_ <= 20) std::printf("  %s\n", line.c_str());
    if (complaints_ == 1) {
      ++totals_.wrong;
      KeepAsFound();
    }
  }

  void TellWhere() {
    std::printf("seed %u: wrong after %d kills, work %s, about %u articles%s%s; deeds:", seed_,
                totals_.kills, NameOf(plan_.work), articles_, compress_ ? ", compressed" : "",
                expected_.headers_kept() ? "" : ", without heads");
    const std::uint32_t count = log_.count;
    for (std::uint32_t i = count > 4 ? count - 4 : 0; i < count; ++i) {
      const Entry& entry = log_.entries[i];
      std::printf(" %s %u%s", NameOf(entry.deed), entry.number, entry.done ? "," : " (begun)");
    }
    std::printf("\n");
  }

  void KeepAsFound() {
    if (options_.keep.empty()) return;
    const std::string place = options_.keep + "/" + std::to_string(seed_) + " as found";
    std::filesystem::remove_all(place);
    std::filesystem::create_directories(options_.keep);
    std::filesystem::copy(folder_, place);
    std::printf("  kept in %s\n", place.c_str());
  }

  const Options& options_;
  std::uint32_t seed_;
  Totals& totals_;
  std::mt19937 random_;
  port::FakePlatform fake_;
  DeedLog& log_ = SharedLog();
  ExpectedStore expected_{true};
  WriterPlan plan_;
  std::string folder_;
  std::uint32_t articles_ = 0;
  std::uint32_t open_microseconds_ = 3000;
  bool compress_ = false;
  bool good_ = true;
  int complaints_ = 0;
};

int Usage() {
  std::fputs("usage: quillet-kill-store [--seed NUMBER] [--keep FOLDER] KILLS\n", stderr);
  return 2;
}

bool ReadOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    const bool takes_value = word == "--seed" || word == "--keep";
    if (takes_value && i + 1 == argc) return false;
    if (word == "--seed") {
      options.seed = static_cast<std::uint32_t>(std::strtoul(argv[++i], nullptr, 10));
    } else if (word == "--keep") {
      options.keep = argv[++i];
    } else {
      options.kills = std::atoi(argv[i]);
    }
  }
  return options.kills > 0;
}

int RunAll(const Options& options) {
  std::printf("seed %u\n", options.seed);
  Totals totals;
  for (std::uint32_t number = 0; totals.kills < options.kills && totals.wrong < 20; ++number) {
    Profile profile(options, options.seed + number, totals);
    profile.Run(std::min(kKillsOfAProfile, options.kills - totals.kills));
    if (number % 10 == 9) {
      std::printf("%d kills so far\n", totals.kills);
      std::fflush(stdout);
    }
  }
  std::printf(
      "%d kills, %d of them while opening; %d articles lost and fetched again, %d late "
      "deletions undone; %d stores wrong\n",
      totals.kills, totals.in_opening, totals.lost, totals.came_back, totals.wrong);
  return totals.wrong == 0 ? 0 : 1;
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  quillet::Options options;
  if (!quillet::ReadOptions(argc, argv, options)) return quillet::Usage();
  return quillet::RunAll(options);
}
