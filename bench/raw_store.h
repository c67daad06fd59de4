// SPDX-License-Identifier: GPL-3.0-or-later
// The bare calls of the database library that the store is measured against: the same keys and
// values, all bytes made beforehand.
#pragma once

#include <gdbm.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/chains.h"
#include "store/databases.h"
#include "store/records.h"
#include "util/little_endian.h"

namespace quillet {

class RawFile {
 public:
  // New and empty, at the place of the database.
  explicit RawFile(DatabaseIndex index)
      : RawFile(gPlatform->files.NativePath(DatabasePath(index)), GDBM_NEWDB) {}
  RawFile(const std::string& path, int mode)
      : file_(gdbm_open(path.c_str(), 0, mode | GDBM_FAST, 0664, nullptr)) {
    Require(file_ != nullptr, "gdbm_open");
  }
  RawFile(const RawFile&) = delete;
  RawFile& operator=(const RawFile&) = delete;
  ~RawFile() { gdbm_close(file_); }

  GDBM_FILE get() const { return file_; }
  void Store(const std::string& key, const std::string& value) {
    Require(gdbm_store(file_, Datum(key), Datum(value), GDBM_REPLACE) == 0, "gdbm_store");
  }
  void Fetch(const std::string& key) { std::free(gdbm_fetch(file_, Datum(key)).dptr); }

 private:
  static datum Datum(const std::string& bytes) {
    return {const_cast<char*>(bytes.data()), static_cast<int>(bytes.size())};
  }
  GDBM_FILE file_;
};

inline std::string NumberKey(unsigned number) {
  std::string key;
  AppendU32(key, number);
  return key;
}

// An article in a group, as it is stored.
struct RawArticle {
  std::string key, value, number_key, older_key, chain;
};

inline std::vector<RawArticle> MakeRaw(const std::vector<AsciiArticle>& articles,
                                       std::u16string_view group_name) {
  std::vector<RawArticle> raw;
  for (unsigned i = 0; i < articles.size(); ++i) {
    AsciiArticle copy = articles[i];
    const GDBMGroup group{0, i, i + 1, std::u16string(group_name), *copy.messageId};
    raw.push_back({*copy.messageId + '\0', *SerializeArticle(copy, SerializeMode::kPlain),
                   NumberKey(i + 1), NumberKey(i), SerializeGroup(group)});
  }
  return raw;
}

// The calls that store them all, one after another, with the count of the group at the end.
inline void StoreRaw(const std::vector<RawArticle>& articles, std::u16string_view group_name) {
  RawFile article_file(DatabaseIndex::kArticles);
  RawFile group_file(DatabaseIndex::kNewsgroups);
  const std::string head_key = GroupKey(group_name);
  const std::string head(12 + head_key.size() + 1 + 4, 'h');
  const std::string counter_key = "\xFF";
  for (const RawArticle& article : articles) {
    article_file.Store(article.key, article.value);
    group_file.Fetch(head_key);
    group_file.Fetch(counter_key);
    group_file.Store(counter_key, article.number_key);
    group_file.Store(article.number_key, article.chain);
    group_file.Store(head_key, head);
    group_file.Fetch(article.older_key);
    group_file.Store(article.older_key, article.chain);
  }
  article_file.Store(head_key, std::string(12, 'c'));
}

}  // namespace quillet
