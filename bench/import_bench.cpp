// SPDX-License-Identifier: GPL-3.0-or-later
// The import of an mbox file against the bare library calls that store the same records, taken in
// turns; then that of an archive with a new group in every message.
//
// usage: import_bench [ARTICLES] [ROUNDS] [GROUPS]; ends with 1 when a target is missed.

#define QUILLET_FAKE_WITHOUT_GTEST
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "bench/measure.h"
#include "bench/raw_store.h"
#include "nntp/mbox_import.h"
#include "nntp/mbox_lines.h"
#include "port/fake/fake_platform.h"
#include "port/linux/linux_registry.h"
#include "store/counts.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr double kTarget = 1.6;
constexpr std::u16string_view kGroup = u"bench.import";
constexpr std::u16string_view kFile = u"\\archive";

// Bodies from 0.4 to 3.6 kB, as in the store's own benchmark.
std::string Body(unsigned number) {
  std::string body;
  for (std::size_t left = 400 + number * 7919U % 3200; left > 0;) {
    const std::size_t line = std::min<std::size_t>(left, 71);
    body += std::string(line, static_cast<char>('a' + number % 26)) + "\n";
    left -= line;
  }
  return body;
}

std::string Message(unsigned number, std::string_view group) {
  return FormatNarrow(
             "From writer@example.org Sat Nov 21 12:00:00 2026\n"
             "Path: news.example.org!news.example.net!not-for-mail\n"
             "From: A. Writer <writer@example.org>\n"
             "Newsgroups: %s\n"
             "Subject: Re: the price of an imported article\n"
             "Date: Sat, 21 Nov 2026 12:00:00 +0000\n"
             "Message-ID: <%lu.bench@news.example>\n"
             "References: <%lu.bench@news.example>\n"
             "Lines: 20\n\n",
             group, number, number / 2) +
         Body(number) + "\n";
}

void WriteFile(unsigned count, bool one_group) {
  std::string file;
  for (unsigned i = 0; i < count; ++i) {
    file += Message(i, one_group ? Narrow(kGroup) : FormatNarrow("bench.group.%lu", i));
  }
  Require(gPlatform->files.WriteFile(kFile, file), "writing the file");
}

double Seconds(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double TimeImport(unsigned count) {
  DeleteDatabases(true);
  Require(OpenGDBMDatabases(), "opening");
  const auto start = std::chrono::steady_clock::now();
  DetermineReturnCharacters(kFile);
  Require(ImportMbox(kFile), "importing");
  const double time = Seconds(start);
  Require(gReadInfo[0]->totalCount == count, "an article a message");
  return time;
}

// What the import has stored, newest first on its chain.
std::vector<AsciiArticle> StoredArticles() {
  std::vector<AsciiArticle> articles;
  for (auto record = GroupChainFirst(kGroup); record; record = GroupChainNext()) {
    articles.push_back(*FetchArticle(record->messageId));
  }
  std::reverse(articles.begin(), articles.end());
  return articles;
}

double TimeRaw(const std::vector<RawArticle>& articles) {
  CloseDatabases();
  const auto start = std::chrono::steady_clock::now();
  StoreRaw(articles, kGroup);
  return Seconds(start);
}

bool MeasureImport(unsigned count, unsigned rounds) {
  WriteFile(count, true);
  TimeImport(count);
  const std::vector<RawArticle> raw_articles = MakeRaw(StoredArticles(), kGroup);
  std::vector<double> import, raw;
  for (unsigned i = 0; i < rounds; ++i) {
    raw.push_back(TimeRaw(raw_articles));
    import.push_back(TimeImport(count));
  }
  const double ratio = Median(import) / Median(raw);
  std::printf("import %.2f us, raw calls %.2f us an article: ratio %.2f (target %.1f)\n",
              Median(import) / count * 1e6, Median(raw) / count * 1e6, ratio, kTarget);
  return ratio <= kTarget;
}

// Every group is in the registry before the next article comes.
void MeasureGroups(unsigned count) {
  WriteFile(count, false);
  DeleteDatabases(true);
  Require(OpenGDBMDatabases(), "opening");
  const auto start = std::chrono::steady_clock::now();
  Require(ImportMbox(kFile), "importing");
  Require(gPrefs->numgroups == count + 1, "a group a message");
  std::printf("import of %u articles in as many new groups: %.1f s\n", count, Seconds(start));
}

int Run(unsigned count, unsigned rounds, unsigned groups) {
  gDatabaseFolder = u"\\Bench";
  gPlatform->files.CreateFolder(gDatabaseFolder);
  gPrefs = std::make_unique<Prefs>();
  gPrefs->numgroups = 1;
  gPrefs->groups = {std::u16string(kGroup)};
  gPrefs->checked = {1};
  Require(LoadDatabaseLibrary(), "binding the library");
  const bool fast = MeasureImport(count, rounds);
  MeasureGroups(groups);
  CloseDatabases();
  return fast ? 0 : 1;
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  using namespace quillet;
  port::FakePlatform fake;
  const std::string folder = fake.files.data_folder();
  std::filesystem::create_directories(folder);
  port::LinuxRegistry registry(folder + "/registry.db");
  port::Platform platform{fake.display.Services(), fake.queues,  registry,   fake.sockets,
                          fake.libraries,          fake.files,   fake.clock, fake.shell,
                          fake.scheduler,          fake.dialler, fake.mail,  fake.contacts,
                          fake.security,           fake.secrets};
  gPlatform = &platform;
  const int status = Run(Argument(argc, argv, 1, 20000), Argument(argc, argv, 2, 5),
                         Argument(argc, argv, 3, 2000));
  ResetProgram();
  gPlatform = &fake.platform;
  return status;
}
