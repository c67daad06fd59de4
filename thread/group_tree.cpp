// SPDX-License-Identifier: GPL-3.0-or-later
#include "thread/group_tree.h"

#include <unordered_set>
#include <vector>

#include "base/extensions.h"
#include "base/guarded.h"
#include "base/long_operation.h"
#include "base/prefs.h"
#include "store/chains.h"
#include "store/databases.h"
#include "store/records.h"
#include "thread/builder.h"
#include "util/mail_date.h"

namespace quillet {
namespace {

// The numbers that a walk along a chain has passed. They fall from one record to the next, which a
// comparison with the last one shows; in a damaged chain they may lead in a circle, and from the
// first one on that does not fall they are kept in a set.
class PassedNumbers {
 public:
  // False when the number was passed before.
  bool Pass(std::uint32_t number) {
    if (all_.empty() && (numbers_.empty() || number < numbers_.back())) {
      numbers_.push_back(number);
      return true;
    }
    if (all_.empty()) all_.insert(numbers_.begin(), numbers_.end());
    return all_.insert(number).second;
  }

 private:
  std::vector<std::uint32_t> numbers_;
  std::unordered_set<std::uint32_t> all_;  // from the first number on that did not fall
};

bool StoreIsSound() {
  return DatabasesOpen() && !gDatabaseErrorFlag;
}

// While the databases are closed or have failed nothing can be known to be missing. The question
// itself may show that they have.
bool KnownToBeMissing(std::string_view message_id) {
  return StoreIsSound() && !ArticleExists(message_id) && StoreIsSound();
}

// What the group's tree is built with.
struct Build {
  ThreadBuilder builder;
  bool ancestors = false;  // a parent is looked for in the whole References
};

bool AddToTree(Build& build, std::u16string_view group_name, const GDBMGroup& record) {
  const auto article = FetchArticleNames(record.messageId);
  if (article == nullptr) {
    if (KnownToBeMissing(record.messageId)) RemoveFromGroupChain(group_name, record.number);
    return true;
  }
  return build.builder.Add(
      {.messageId = record.messageId,
       .parentId = *article->parentId,
       .subject = *article->subject,
       .source = *article->source,
       .from = *article->from,
       .articleNumber = static_cast<std::int32_t>(article->articleNumber),
       .read = article->read != 0,
       .chainNumber = record.number,
       .references = build.ancestors ? std::string_view(*article->references) : std::string_view(),
       .date = ParseMailDate(*article->date).value_or(kNoDate)});
}

RunEnd ReadChain(Build& build, std::u16string_view group_name, const BuildProgress& progress) {
  PassedNumbers passed;
  for (auto record = GroupChainFirst(group_name); record; record = GroupChainNext()) {
    if (const RunEnd asked = RequestedEnd(); asked != RunEnd::kGoOn) return asked;
    if (!passed.Pass(record->number)) return RunEnd::kGoOn;
    if (progress) progress(1);
    if (!AddToTree(build, group_name, *record)) return RunEnd::kNoMemory;
  }
  return RunEnd::kGoOn;
}

ThreadOptions OptionsOfPrefs() {
  if (!gPrefs) return {};
  return {gPrefs->usethreading != 0, gPrefs->reversethread != 0};
}

}  // namespace

BuiltTree BuildNodeTree(std::u16string_view group_name, const BuildProgress& progress) {
  Build build{.builder = ThreadBuilder(OptionsOfPrefs())};
  BuiltTree built;
  if (!GuardedCritically(u"BuildNodeTree", [&] {
        build.ancestors = ReadExtensions().ancestors != 0;
        built.end = ReadChain(build, group_name, progress);
      })) {
    built.end = RunEnd::kNoMemory;
  }
  built.tree = build.builder.Finish(progress, [&] { return Ended(built.end); });
  if (built.tree == nullptr) built.end = RunEnd::kNoMemory;
  built.complete = built.end == RunEnd::kGoOn && StoreIsSound();
  return built;
}

}  // namespace quillet
