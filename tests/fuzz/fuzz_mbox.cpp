// SPDX-License-Identifier: GPL-3.0-or-later
// An mbox file in pieces of any size: the lines against the whole file split at once, and then the
// import into an empty store, where every article is on the chains that its head names.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "nntp/mbox_import.h"
#include "nntp/mbox_lines.h"
#include "port/fake/fake_platform.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/databases.h"
#include "store/records.h"

namespace {

using namespace quillet;

constexpr std::u16string_view kFile = u"\\mbox";

void Require(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "fuzz_mbox: %s\n", what);
  std::abort();
}

struct Device {
  Device() {
    gDatabaseFolder = u"\\Quillet CE News";
    fake.files.CreateFolder(gDatabaseFolder);
    gPrefs = std::make_unique<Prefs>();
    Require(LoadDatabaseLibrary(), "the database library is missing");
  }
  port::FakePlatform fake;
};

std::vector<std::string> PlainLines(std::string_view file, LineEnds ends) {
  std::vector<std::string> lines;
  for (;;) {
    file.remove_prefix(std::min(file.find_first_not_of(ends.skipped), file.size()));
    if (file.empty()) return lines;
    const std::size_t end = file.find(ends.terminator);
    lines.emplace_back(file.substr(0, end));
    if (end == std::string_view::npos) return lines;
    lines.back() += "\r\n";
    file.remove_prefix(end + 1);
  }
}

void LookAtLines(Device& device, std::string_view file) {
  std::uint32_t error = 0;
  MboxReader reader{.file = device.fake.files.OpenRead(kFile, error), .ends = ImportLineEnds()};
  const std::vector<std::string> lines = PlainLines(file, reader.ends);
  std::string line;
  for (const std::string& wanted : lines) {
    const LineRead read = ReadLine(reader, line);
    Require(read != LineRead::kNothing && line == wanted, "a line");
  }
  Require(ReadLine(reader, line) == LineRead::kNothing, "the end");
  Rewind(reader);
  const bool separated = !lines.empty() && lines[0].starts_with("From ");
  Require(NextLineStartsWith(reader, "From ") == separated, "the first line");
}

void LookAtStore() {
  for (std::size_t i = 0; i < gPrefs->groups.size(); ++i) {
    std::uint32_t total = 0;
    for (auto record = GroupChainFirst(gPrefs->groups[i]); record; record = GroupChainNext()) {
      Require(ArticleExists(record->messageId), "an article of a chain is missing");
      ++total;
    }
    Require(gReadInfo.at(i)->totalCount == total, "a count");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Device device;
  const std::string_view file(reinterpret_cast<const char*>(data), size);
  *gPrefs = Prefs();
  gPrefs->numgroups = 1;
  gPrefs->groups = {u"alt.test"};
  gPrefs->checked = {1};
  DeleteDatabases(true);
  Require(OpenGDBMDatabases(), "the databases do not open");
  Require(device.fake.files.WriteFile(kFile, file), "the file");
  DetermineReturnCharacters(kFile);
  LookAtLines(device, file);
  ImportMbox(kFile);
  LookAtStore();
  device.fake.display.ForgetBoxes();
  CloseDatabases();
  return 0;
}
