// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kill/store_reader.h"

#include <bzlib.h>
#include <gdbm.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string_view>

namespace quillet {
namespace {

using Records = std::map<std::string, std::string>;

constexpr std::size_t kSlack = 4;
const std::string kCounterKey = "\xFF";
const std::string kRoomKey("\0room", 5);
const std::string kLostName = "Quillet lost articles";

std::uint32_t Word(std::string_view bytes, std::size_t offset) {
  std::uint32_t word = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    word |= std::uint32_t{static_cast<unsigned char>(bytes[offset + i])} << (8 * i);
  }
  return word;
}

std::string TakeString(const datum& bytes) {
  std::string taken;
  if (bytes.dptr != nullptr) taken.assign(bytes.dptr, static_cast<std::size_t>(bytes.dsize));
  std::free(bytes.dptr);  // NOLINT: the library allocates it
  return taken;
}

std::string Shown(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    if (byte > 31 && byte < 127) {
      text += c;
    } else {
      text.append("\\x").append(1, kDigits[byte / 16]).append(1, kDigits[byte % 16]);
    }
  }
  return text;
}

// The strings of a block, each of which ends with a NUL.
std::vector<std::string> SplitStrings(std::string_view block) {
  std::vector<std::string> strings;
  for (std::size_t end = block.find('\0'); end != block.npos; end = block.find('\0')) {
    strings.emplace_back(block.substr(0, end));
    block.remove_prefix(end + 1);
  }
  return strings;
}

class StoreReader {
 public:
  explicit StoreReader(std::string folder) : folder_(std::move(folder)) {}

  FoundStore Read() {
    ReadArticles();
    ReadNewsgroups();
    ReadPosts();
    ReadLostArticles();
    CompareCounts();
    LookAtNames();
    return std::move(found_);
  }

 private:
  void Fault(const std::string& text) { found_.faults.push_back(text); }

  // All records of a file. The library's walk ends in silence at a record that it cannot find
  // again, hence the look at how many it counts.
  Records ReadFile(const std::string& name) {
    Records records;
    const std::string path = folder_ + "/" + name;
    GDBM_FILE file = gdbm_open(path.c_str(), 0, GDBM_READER, 0, nullptr);
    if (file == nullptr) {
      Fault(name + " cannot be opened: " + gdbm_strerror(gdbm_errno));
      return records;
    }
    gdbm_count_t count = 0;
    if (gdbm_count(file, &count) != 0) Fault(name + " cannot be counted");
    gdbm_count_t walked = 0;
    for (datum key = gdbm_firstkey(file); key.dptr != nullptr && walked <= count; ++walked) {
      const datum next = gdbm_nextkey(file, key);
      const datum value = gdbm_fetch(file, key);
      if (value.dptr == nullptr) Fault(name + " has an unreadable record");
      const std::string key_text = TakeString(key);
      if (!records.emplace(key_text, TakeString(value)).second) {
        Fault(name + " has twice the key " + Shown(key_text));
      }
      key = next;
    }
    if (walked != count) {
      Fault(name + " counts " + std::to_string(count) + " records and shows " +
            std::to_string(walked));
    }
    gdbm_close(file);
    return records;
  }

  static std::optional<std::string> Expanded(std::string_view value) {
    if (value.size() < 24 + kSlack || Word(value, 20) > 1U << 26) return std::nullopt;
    std::string text(Word(value, 20), '\0');
    auto length = static_cast<unsigned>(text.size());
    std::string packed(value.substr(24, value.size() - 24 - kSlack));
    if (BZ2_bzBuffToBuffDecompress(text.data(), &length, packed.data(),
                                   static_cast<unsigned>(packed.size()), 0, 0) != BZ_OK ||
        length != text.size()) {
      return std::nullopt;
    }
    return text;
  }

  std::optional<FoundArticle> ParseArticle(const std::string& id, std::string_view value) {
    if (value.size() < 20 + kSlack || Word(value, 0) < 1 || Word(value, 0) > 2) return std::nullopt;
    std::optional<std::string> block;
    if (Word(value, 0) == 1) block = value.substr(20, value.size() - 20 - kSlack);
    if (Word(value, 0) == 2) block = Expanded(value);
    if (!block) return std::nullopt;
    const std::vector<std::string> strings = SplitStrings(*block);
    if (strings.size() != 9 || strings[0] != id) return std::nullopt;
    return FoundArticle{strings[1], strings[2], Word(value, 16), Word(value, 4) != 0};
  }

  void TakeArticle(std::map<std::string, FoundArticle>& into, const std::string& key,
                   const std::string& value) {
    const std::string id = key.substr(0, key.size() - 1);
    if (auto article = ParseArticle(id, value)) {
      into.emplace(id, std::move(*article));
    } else {
      Fault("no article is under the key " + Shown(key));
    }
  }

  void ReadArticles() {
    for (const auto& [key, value] : ReadFile("Quillet articles.gdb")) {
      if (key == kRoomKey) continue;
      if (key.empty() || key.back() != '\0') {
        Fault("the articles have the key " + Shown(key));
      } else if (value.size() == 12) {
        found_.counts[key.substr(0, key.size() - 1)] = {Word(value, 4), Word(value, 8)};
      } else {
        TakeArticle(found_.articles, key, value);
      }
    }
  }

  void ReadPosts() {
    for (const auto& [key, value] : ReadFile("Quillet pending posts.gdb")) {
      TakeArticle(found_.posts, key, value);
    }
  }

  // "%" and two digits stand for bytes that would end a word or a line.
  static std::string Unescaped(const std::string& word) {
    std::string text;
    for (std::size_t i = 0; i < word.size(); ++i) {
      if (word[i] == '%' && i + 2 < word.size()) {
        text += static_cast<char>(std::strtoul(word.substr(i + 1, 2).c_str(), nullptr, 16));
        i += 2;
      } else {
        text += word[i];
      }
    }
    return text;
  }

  // "ID GROUP GROUP..." in each line.
  void ReadLostArticles() {
    std::ifstream file(folder_ + "/" + kLostName, std::ios::binary);
    std::string line;
    while (std::getline(file, line)) {
      std::istringstream words(line);
      std::string id;
      words >> id;
      if (id.empty() || file.eof()) Fault("the list of lost articles has the line " + Shown(line));
      auto& groups = found_.lost[Unescaped(id)];
      for (std::string group; words >> group;) groups.insert(Unescaped(group));
    }
  }

  struct Links {
    std::uint32_t previous = 0;
    std::uint32_t next = 0;
    std::string group;
    std::string message_id;
  };

  std::optional<Links> ParseLinks(std::string_view value) {
    if (value.size() < 12 + 2 + kSlack || Word(value, 0) != 1) return std::nullopt;
    const auto strings = SplitStrings(value.substr(12, value.size() - 12 - kSlack));
    if (strings.size() != 2) return std::nullopt;
    return Links{Word(value, 4), Word(value, 8), strings[0], strings[1]};
  }

  void ReadNewsgroups() {
    std::map<std::string, std::uint32_t> heads;
    std::uint32_t counter = 1;
    for (const auto& [key, value] : ReadFile("Quillet newsgroups.gdb")) {
      if (key == kCounterKey && value.size() == 4) {
        counter = Word(value, 0);
        continue;
      }
      const auto links = ParseLinks(value);
      if (!links) {
        Fault("no chain record and no head is under the key " + Shown(key));
      } else if (!links->message_id.empty() && key.size() == 4) {
        chain_records_[Word(key, 0)] = *links;
      } else if (links->message_id.empty() && key == links->group + '\0') {
        heads[links->group] = links->next;
      } else {
        Fault("the record under the key " + Shown(key) + " belongs elsewhere");
      }
    }
    for (const auto& [group, newest] : heads) WalkChain(group, newest);
    for (const auto& [number, links] : chain_records_) {
      if (on_chain_.count(number) == 0) FaultAt(links.group, number, "is on no chain");
      if (number >= counter) FaultAt(links.group, number, "is not below the counter");
    }
    for (const auto& [id, article] : found_.articles) {
      if (chained_ids_.count(id) == 0) Fault("article " + id + " is on no chain");
    }
  }

  void FaultAt(const std::string& group, std::uint32_t number, const std::string& text) {
    Fault("chain record " + std::to_string(number) + " of " + group + " " + text);
  }

  void WalkChain(const std::string& group, std::uint32_t newest) {
    auto& chain = found_.chains[group];
    std::set<std::string> ids;
    std::uint32_t newer = 0;
    for (std::uint32_t number = newest; number != 0;) {
      const auto record = chain_records_.find(number);
      if (record == chain_records_.end()) return FaultAt(group, number, "is not there");
      if (!on_chain_.insert(number).second) return FaultAt(group, number, "is met twice");
      const Links& links = record->second;
      if (links.group != group) return FaultAt(group, number, "is of " + links.group);
      if (newer != 0 && number >= newer) FaultAt(group, number, "stands behind a lower one");
      if (links.previous != newer) FaultAt(group, number, "does not name the one before it");
      if (!ids.insert(links.message_id).second) FaultAt(group, number, "names an article again");
      if (found_.articles.count(links.message_id) == 0) {
        FaultAt(group, number, "names " + links.message_id + ", which is not there");
      }
      chained_ids_.insert(links.message_id);
      chain.push_back({number, links.message_id});
      newer = number;
      number = links.next;
    }
  }

  void CompareCounts() {
    for (const auto& [group, counts] : found_.counts) {
      const auto& chain = found_.chains[group];
      std::uint32_t read = 0;
      for (const FoundChainRecord& record : chain) {
        const auto article = found_.articles.find(record.message_id);
        if (article != found_.articles.end() && article->second.read) ++read;
      }
      if (counts == std::pair{read, static_cast<std::uint32_t>(chain.size())}) continue;
      Fault(group + " has " + std::to_string(read) + "/" + std::to_string(chain.size()) +
            " and counts " + std::to_string(counts.first) + "/" + std::to_string(counts.second));
    }
  }

  void LookAtNames() {
    static const std::set<std::string> kExpected = {
        "Quillet articles.gdb",        "Quillet newsgroups.gdb",
        "Quillet pending posts.gdb",   kLostName,
        "Quillet newsgroups.gdb.copy", "Quillet pending posts.gdb.copy"};
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
      const std::string name = entry.path().filename();
      if (kExpected.count(name) == 0) Fault("the file \"" + name + "\" was left behind");
    }
  }

  std::string folder_;
  FoundStore found_;
  std::map<std::uint32_t, Links> chain_records_;
  std::set<std::uint32_t> on_chain_;
  std::set<std::string> chained_ids_;
};

}  // namespace

FoundStore ReadStore(const std::string& folder) {
  return StoreReader(folder).Read();
}

}  // namespace quillet
