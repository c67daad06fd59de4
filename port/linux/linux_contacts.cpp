// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/linux_contacts.h"

#include <dirent.h>
#include <glib.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <set>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "port/linux/address_book.h"
#include "port/linux/native_files.h"
#include "port/linux/profile.h"
#include "port/linux/vcard.h"
#include "util/text.h"

namespace quillet::port {
namespace {

// What is beyond these is left out.
constexpr int kDeepestFolder = 4;
constexpr std::size_t kMostFiles = 100'000;
constexpr std::uint64_t kLongestFile = 32ULL * 1024 * 1024;
constexpr std::uint64_t kMostBytes = 256ULL * 1024 * 1024;
constexpr std::size_t kMostContacts = 200'000;
constexpr std::uint64_t kLongestConfig = 1024 * 1024;

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

struct FreeText {
  void operator()(char* text) const { g_free(text); }
};
using GlibText = std::unique_ptr<char, FreeText>;

// What two texts have in common that differ in case only. With `for_order` the letters come first
// and their marks after them, so that accents do not tear names apart.
std::string Folded(std::u16string_view text, bool for_order) {
  std::string utf8 = ToUtf8(text);
  if (utf8.size() == text.size()) {  // ASCII, as most are
    std::ranges::transform(utf8, utf8.begin(), [](char c) { return ToLowerAscii(c); });
    return utf8;
  }
  const GlibText folded(g_utf8_casefold(utf8.data(), static_cast<gssize>(utf8.size())));
  if (!folded) return utf8;
  if (!for_order) return folded.get();
  const GlibText apart(g_utf8_normalize(folded.get(), -1, G_NORMALIZE_DEFAULT));
  return apart ? apart.get() : folded.get();
}

bool EndsWithNoCase(std::string_view name, std::string_view suffix) {
  return name.size() >= suffix.size() &&
         StartsWithNoCase(name.substr(name.size() - suffix.size()), suffix);
}

class Collector {
 public:
  // All cards in the folder and those below it.
  void AddFolder(const std::string& folder, int depth = 0);
  // The address books of each profile below it.
  void AddProfiles(const std::string& folder);

  std::optional<std::vector<Contact>> Take();

 private:
  void AddCards(const std::string& file);
  void AddBooks(const std::string& profile);
  void Add(std::vector<Contact> contacts);

  std::vector<Contact> contacts_;
  std::unordered_set<std::string> addresses_;  // folded
  std::set<std::pair<dev_t, ino_t>> folders_;  // seen: links may lead in circles
  std::size_t files_ = 0;
  std::uint64_t bytes_ = 0;
  bool any_read_ = false;
};

struct Entry {
  std::string name;
  bool is_file = false;  // for sure; else it has to be looked at
};

// By name; nothing when the folder cannot be read.
std::optional<std::vector<Entry>> ListFolder(const std::string& path) {
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
  if (!folder) return std::nullopt;
  std::vector<Entry> entries;
  while (const dirent* entry = readdir(folder.get())) {
    if (entry->d_name[0] == '.' || entries.size() >= kMostFiles) continue;
    entries.push_back({entry->d_name, entry->d_type == DT_REG});
  }
  std::ranges::sort(entries, {}, &Entry::name);
  return entries;
}

bool IsFolder(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

void Collector::AddFolder(const std::string& folder, int depth) {
  struct stat status {};
  if (depth > kDeepestFolder || stat(folder.c_str(), &status) != 0) return;
  if (!S_ISDIR(status.st_mode) || !folders_.insert({status.st_dev, status.st_ino}).second) return;
  const auto entries = ListFolder(folder);
  if (!entries) return;
  any_read_ = true;
  for (const Entry& entry : *entries) {
    const std::string path = folder + "/" + entry.name;
    if (EndsWithNoCase(entry.name, ".vcf") || EndsWithNoCase(entry.name, ".vcard")) {
      AddCards(path);
    } else if (!entry.is_file && IsFolder(path)) {
      AddFolder(path, depth + 1);
    }
  }
}

void Collector::AddCards(const std::string& file) {
  if (files_ >= kMostFiles || bytes_ >= kMostBytes) return;
  const auto text = ReadBoundedFile(file, kLongestFile);
  if (!text) return;
  ++files_;
  bytes_ += text->size();
  Add(ReadVcards(*text));
}

void Collector::AddProfiles(const std::string& folder) {
  for (const Entry& entry : ListFolder(folder).value_or(std::vector<Entry>())) {
    const std::string path = folder + "/" + entry.name;
    if (!entry.is_file && IsFolder(path)) AddBooks(path);
  }
}

void Collector::AddBooks(const std::string& profile) {
  for (const Entry& entry : ListFolder(profile).value_or(std::vector<Entry>())) {
    const std::string_view name = entry.name;
    const bool is_book = name == "abook.sqlite" || name == "history.sqlite" ||
                         (StartsWith(name, "abook-") && EndsWith(name, ".sqlite"));
    if (!is_book) continue;
    auto contacts = ReadAddressBook(profile + "/" + entry.name);
    if (!contacts) continue;
    any_read_ = true;
    Add(std::move(*contacts));
  }
}

void Collector::Add(std::vector<Contact> contacts) {
  for (Contact& contact : contacts) {
    if (contacts_.size() >= kMostContacts) return;
    std::erase_if(contact.addresses, [&](const std::u16string& address) {
      return !addresses_.insert(Folded(address, false)).second;
    });
    if (!contact.addresses.empty()) contacts_.push_back(std::move(contact));
  }
}

std::optional<std::vector<Contact>> Collector::Take() {
  if (!any_read_) return std::nullopt;
  struct Placed {
    bool nameless;
    std::string last;
    std::string first;
    std::size_t at;
    auto operator<=>(const Placed&) const = default;  // NOLINT(modernize-use-nullptr)
  };
  std::vector<Placed> order;
  for (std::size_t i = 0; i < contacts_.size(); ++i) {
    const Contact& contact = contacts_[i];
    order.push_back({contact.last.empty() && contact.first.empty(), Folded(contact.last, true),
                     Folded(contact.first, true), i});
  }
  std::ranges::sort(order);
  std::vector<Contact> sorted;
  for (const Placed& placed : order) {
    Contact& contact = contacts_[placed.at];
    // One person in two books.
    const bool same = !sorted.empty() && !placed.nameless && sorted.back().last == contact.last &&
                      sorted.back().first == contact.first;
    if (same) {
      std::ranges::move(contact.addresses, std::back_inserter(sorted.back().addresses));
    } else {
      sorted.push_back(std::move(contact));
    }
  }
  return sorted;
}

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kAround = " \t\r\"'";
  const std::size_t first = text.find_first_not_of(kAround);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kAround) - first + 1);
}

// The folders in a configuration's lines "path = FOLDER".
std::vector<std::string> FoldersNamedIn(const std::string& config) {
  std::vector<std::string> folders;
  const auto text = ReadBoundedFile(config, kLongestConfig);
  std::string_view rest = text ? std::string_view(*text) : std::string_view();
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    const std::size_t equals = line.find('=');
    if (equals == line.npos || Trimmed(line.substr(0, equals)) != "path") continue;
    std::string folder(Trimmed(line.substr(equals + 1)));
    if (StartsWith(folder, "~/")) folder.replace(0, 1, HomeFolder());
    if (StartsWith(folder, "/") && folder.find('\0') == folder.npos) folders.push_back(folder);
  }
  return folders;
}

}  // namespace

LinuxContacts::LinuxContacts(std::string data_folder) : data_folder_(std::move(data_folder)) {}

std::optional<std::vector<Contact>> LinuxContacts::ReadAll() {
  Collector collector;
  collector.AddFolder(data_folder_ + "/contacts");
  collector.AddFolder(HomeFolder() + "/.contacts");
  collector.AddFolder(DataHome() + "/contacts");
  collector.AddFolder(DataHome() + "/vdirsyncer");
  for (const char* config : {"/khard/khard.conf", "/vdirsyncer/config"}) {
    for (const std::string& folder : FoldersNamedIn(ConfigHome() + config)) {
      collector.AddFolder(folder);
    }
  }
  for (const char* folder : {"/.thunderbird", "/.mozilla-thunderbird"}) {
    collector.AddProfiles(HomeFolder() + folder);
  }
  return collector.Take();
}

}  // namespace quillet::port
