// SPDX-License-Identifier: GPL-3.0-or-later
// Which articles are named more than once is told by the hashes of their ids: one that is taken for
// another costs a line in the file.
#include "store/cross_posts.h"

#include <functional>
#include <optional>
#include <unordered_set>
#include <utility>

#include "base/long_operation.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/database_files.h"
#include "store/device_path.h"
#include "store/group_record.h"
#include "store/lost_articles.h"

namespace quillet {
namespace {

constexpr std::uint64_t kLongestFile = 16 << 20;

using Hashes = std::unordered_set<std::size_t>;

// The ids on the chains of the open files.
struct ChainedIds {
  Hashes once;
  Hashes more_often;

  void Add(std::string_view id) {
    const std::size_t hash = std::hash<std::string_view>()(id);
    if (!once.insert(hash).second) more_often.insert(hash);
  }
};

struct Deletions {
  std::u16string path;  // of the file; empty: not read yet
  std::unordered_set<std::string> ids;
  bool changed = false;  // since the file was written
};

std::optional<ChainedIds> gChained;
Deletions gDeletions;

const ResetAtEnd kReset(ReleaseDeletions);

std::u16string ListPath() {
  return PathIn(gDatabaseFolder, kDeletedCrossPostsName);
}

Deletions& List() {
  // An opening of other files has released it.
  if (!gDeletions.path.empty()) return gDeletions;
  gDeletions = {ListPath(), {}, false};
  const auto text = gPlatform->files.ReadFile(gDeletions.path, kLongestFile);
  for (LostArticle& article : ParseLostArticles(text.value_or(""))) {
    gDeletions.ids.insert(std::move(article.message_id));
  }
  return gDeletions;
}

const ChainedIds& Chained() {
  if (gChained) return *gChained;
  gChained.emplace();
  constexpr DatabaseIndex kGroups = DatabaseIndex::kNewsgroups;
  for (auto key = FirstKey(kGroups); key; key = NextKey(kGroups, *key)) {
    const HeldValue value = FetchHeldValue(kGroups, *key);
    const auto record = value ? ParseGroupRecord(value.view()) : std::nullopt;
    if (record && !record->message_id.empty()) gChained->Add(record->message_id);
  }
  return *gChained;
}

}  // namespace

void NoteDeletion(std::string_view message_id) {
  if (message_id.empty()) return;
  const std::size_t hash = std::hash<std::string_view>()(message_id);
  if (!Chained().more_often.contains(hash)) return;
  Deletions& list = List();
  if (list.ids.size() >= kMostLostArticles) return;
  if (!list.ids.insert(std::string(message_id)).second) return;
  list.changed = true;
  // A run of many writes them at its end.
  if (!OperationRunning()) WriteDeletions();
}

void NoteChained(std::string_view message_id) {
  if (gChained) gChained->Add(message_id);
  Deletions& list = List();
  if (!list.ids.empty() && list.ids.erase(std::string(message_id)) != 0) list.changed = true;
}

bool WasDeleted(const std::string& message_id) {
  return List().ids.contains(message_id);
}

void ForgetDeletions() {
  Deletions& list = List();
  if (list.ids.empty()) return;
  list.ids.clear();
  list.changed = true;
}

bool WriteDeletions() {
  if (!gDeletions.changed || gDeletions.path != ListPath()) return true;
  port::Files& files = gPlatform->files;
  bool written = false;
  if (gDeletions.ids.empty()) {
    written = files.Delete(gDeletions.path) || !files.FileSize(gDeletions.path);
  } else {
    std::vector<LostArticle> articles;
    for (const std::string& id : gDeletions.ids) articles.push_back({id, {}});
    written = files.WriteFile(gDeletions.path, SerializeLostArticles(articles));
  }
  if (written) gDeletions.changed = false;
  return written;
}

void ReleaseDeletions() {
  gChained.reset();
  gDeletions = {};
}

}  // namespace quillet
