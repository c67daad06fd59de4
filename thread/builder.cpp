// SPDX-License-Identifier: GPL-3.0-or-later
// While articles are read each is linked to a parent read before it; the rest is done in Finish:
// one sort, then a second look for the parents of those still at the top level, then the lists of
// siblings by the sorted order, at last the subject nodes. Links are places in the rows of a Forest
// until then.
#include "thread/builder.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/guarded.h"
#include "base/records.h"
#include "thread/ancestors.h"
#include "thread/forest.h"
#include "thread/gathering.h"
#include "thread/subjects.h"

namespace quillet {
namespace {

// What else is needed of an article till the end, beside its node and its place in the forest.
struct Entry {
  std::uint64_t key = 0;        // source by first appearance, number
  std::uint64_t subject = 0;    // SubjectHash of those at the top level after the reading
  std::string_view parentId;    // of these, too
  std::string_view references;  // and this, when they name more than that
  bool decode_subject = false;  // it is not compared as it is stored
};

// Signed numbers in the order of unsigned ones.
std::uint32_t SignedOrder(std::int32_t number) {
  return static_cast<std::uint32_t>(number) ^ 0x80000000U;
}

// The sources of a group, each kept once.
struct Sources {
  std::vector<std::string_view> names;  // in the order of first appearance
  std::unordered_map<std::string_view, std::uint32_t> numbers;
  std::uint32_t last = 0;  // neighbours mostly have the same

  // The source's place in `names`.
  std::uint32_t NumberOf(ThreadTree& tree, std::string_view source);
  // By that place: the place in byte order.
  std::vector<std::uint64_t> Ranks() const;
};

std::uint32_t Sources::NumberOf(ThreadTree& tree, std::string_view source) {
  if (!names.empty() && names[last] == source) return last;
  const auto known = numbers.find(source);
  if (known != numbers.end()) return last = known->second;
  const auto number = static_cast<std::uint32_t>(names.size());
  names.push_back(tree.KeepText(source));
  numbers.emplace(names.back(), number);
  return last = number;
}

std::vector<std::uint64_t> Sources::Ranks() const {
  std::vector<std::uint32_t> sorted(names.size());
  for (std::uint32_t i = 0; i < sorted.size(); ++i) sorted[i] = i;
  std::sort(sorted.begin(), sorted.end(),
            [&](std::uint32_t a, std::uint32_t b) { return names[a] < names[b]; });
  std::vector<std::uint64_t> ranks(names.size());
  for (std::size_t rank = 0; rank < sorted.size(); ++rank) ranks[sorted[rank]] = rank;
  return ranks;
}

// Neighbours in the order of reading often have these alike.
std::string_view KeepOr(ThreadTree& tree, std::string_view& last, std::string_view text) {
  if (text != last) last = tree.KeepText(text);
  return last;
}

}  // namespace

struct ThreadBuilder::State {
  ThreadOptions options;
  std::unique_ptr<ThreadTree> tree;
  Forest forest;
  std::vector<Entry> entries;
  Sources sources;
  TextBlocks parent_ids, decoded_subjects;
  KeptReferences references;
  std::string_view last_subject, last_from;
  bool broken = false;  // memory ran out

  void Add(const ThreadEntry& added);
  void KeepTexts(Node& node, const ThreadEntry& added, std::uint32_t source);
  Place PlaceOf(std::string_view message_id) const;
  Place PlaceOfParent(const ThreadEntry& added) const;
  Place NearestAncestor(const Entry& entry) const;
  void LinkToAncestor(Place place);
  std::vector<SortKey> Order() const;
  std::vector<Place> FindLateParents() const;
  void LinkLateParents(const std::vector<SortKey>& order, const BuildProgress& progress,
                       const BuildAborted& aborted);
  void NumberItems();
  void MakeItemsUnique();
  void LinkNodes(const Rows& rows);
  Thread ThreadAt(Place top);
  std::vector<Thread> ListThreads(const Rows& rows);
};

// --- Reading -------------------------------------------------------------------------------------

// Until the end a node's treeItem is its place.
Place ThreadBuilder::State::PlaceOf(std::string_view message_id) const {
  const Node* node = tree->FindNodeByMessageId(message_id);
  return node != nullptr ? node->treeItem : kNoPlace;
}

void ThreadBuilder::State::KeepTexts(Node& node, const ThreadEntry& added, std::uint32_t source) {
  node.messageId = tree->KeepText(added.messageId);
  node.subject = KeepOr(*tree, last_subject, added.subject);
  node.source = sources.names[source];
  node.from = KeepOr(*tree, last_from, added.from);
}

// While articles are read only the nearest forerunner is looked for: those beyond it may be there
// before it is.
Place ThreadBuilder::State::PlaceOfParent(const ThreadEntry& added) const {
  const std::string_view nearest = Ancestors(added.references, added.parentId).Next();
  // Its own Message-ID would find the article itself, being entered last.
  return nearest == added.messageId ? kNoPlace : PlaceOf(nearest);
}

// Whatever can fail for want of memory comes first, so that an article is in wholly or not at all.
void ThreadBuilder::State::Add(const ThreadEntry& added) {
  Node* node = tree->NewNode(NodeKind::kArticle);
  if (node == nullptr) {
    broken = true;
    return;
  }
  const std::uint32_t source = sources.NumberOf(*tree, added.source);
  KeepTexts(*node, added, source);
  node->articleNumber = added.articleNumber;
  node->read = added.read ? 1 : 0;
  node->chainNumber = added.chainNumber;
  node->date = added.date;
  node->treeItem = forest.count();
  Entry entry;
  entry.key = std::uint64_t{source} << 32 | SignedOrder(added.articleNumber);
  Place parent = kNoPlace;
  if (options.usethreading) {
    parent = PlaceOfParent(added);
    if (parent == kNoPlace) {
      entry.parentId = parent_ids.Keep(added.parentId);
      entry.references = references.Keep(added.references, added.parentId);
      // To decode it is left to the end: most of these get a parent yet.
      entry.decode_subject = !IsComparedAsStored(added.subject);
      if (!entry.decode_subject) {
        entry.subject = SubjectHash(SubjectWithoutReplyMarks(added.subject));
      }
    }
  }
  MakeRoomInForest(forest);
  entries.push_back(entry);
  tree->index().Enter(*node);
  AddToForest(forest, parent, added.read);
}

// --- Order and late parents ----------------------------------------------------------------------

// By source, then number, ascending or descending.
std::vector<SortKey> ThreadBuilder::State::Order() const {
  const std::vector<std::uint64_t> ranks = sources.Ranks();
  std::vector<SortKey> order(forest.count());
  for (Place place = 0; place < order.size(); ++place) {
    const std::uint64_t key = entries[place].key;
    const std::uint64_t ranked = ranks[key >> 32] << 32 | (key & 0xFFFFFFFF);
    order[place] = {options.reversethread ? ~ranked : ranked, place};
  }
  std::sort(order.begin(), order.end(), [](const SortKey& a, const SortKey& b) {
    return a.key != b.key ? a.key < b.key : a.place < b.place;
  });
  return order;
}

// Replies are mostly read before what they answer, so those still at the top level are looked for
// again in the complete index.
std::vector<Place> ThreadBuilder::State::FindLateParents() const {
  std::vector<Place> parents(forest.count(), kNoPlace);
  if (!options.usethreading) return parents;
  for (Place place = 0; place < parents.size(); ++place) {
    if (forest.parent[place] == kNoPlace) parents[place] = NearestAncestor(entries[place]);
  }
  return parents;
}

Place ThreadBuilder::State::NearestAncestor(const Entry& entry) const {
  Ancestors ancestors(entry.references, entry.parentId);
  std::string_view id = ancestors.Next();
  Place place = PlaceOf(id);
  while (place == kNoPlace && !id.empty()) place = PlaceOf(id = ancestors.Next());
  return place;
}

// The nearest one that is neither the article itself nor below it.
void ThreadBuilder::State::LinkToAncestor(Place place) {
  Ancestors ancestors(entries[place].references, entries[place].parentId);
  for (std::string_view id = ancestors.Next(); !id.empty(); id = ancestors.Next()) {
    const Place parent = PlaceOf(id);
    if (parent != kNoPlace && LinkLate(forest, place, parent)) return;
  }
}

// In the order in which they stand at the top level: of a circle, which link would close it depends
// on that.
void ThreadBuilder::State::LinkLateParents(const std::vector<SortKey>& order,
                                           const BuildProgress& progress,
                                           const BuildAborted& aborted) {
  const std::vector<Place> parents = FindLateParents();
  for (const SortKey& key : order) {
    if (forest.parent[key.place] != kNoPlace) continue;
    if (options.usethreading && aborted()) return;
    const Place parent = parents[key.place];
    if (parent != kNoPlace && !LinkLate(forest, key.place, parent)) LinkToAncestor(key.place);
    progress(forest.size[key.place]);
  }
}

// --- Nodes ---------------------------------------------------------------------------------------

// An article's item is its chain number. Only a damaged chain gives numbers that do not fall.
void ThreadBuilder::State::NumberItems() {
  std::uint32_t last = kSubjectItem;
  bool falling = true;
  for (Place place = 0; place < forest.count(); ++place) {
    Node& node = tree->Article(place);
    falling = falling && node.chainNumber != 0 && node.chainNumber < last;
    last = node.chainNumber;
    node.treeItem = node.chainNumber;
  }
  if (!falling) MakeItemsUnique();
}

// The first article of a number keeps it, the others get numbers that are free.
void ThreadBuilder::State::MakeItemsUnique() {
  std::unordered_set<std::uint32_t> used;
  for (Place place = 0; place < forest.count(); ++place) {
    std::uint32_t& item = tree->Article(place).treeItem;
    if (item >= kSubjectItem || item == 0 || !used.insert(item).second) item = 0;
  }
  std::uint32_t free = kSubjectItem - 1;
  for (Place place = 0; place < forest.count(); ++place) {
    std::uint32_t& item = tree->Article(place).treeItem;
    if (item != 0) continue;
    while (!used.insert(free).second) --free;
    item = free--;
  }
}

// Those at the top level are linked by GatherThreads.
void ThreadBuilder::State::LinkNodes(const Rows& rows) {
  const auto node_at = [&](Place place) {
    return place == kNoPlace ? nullptr : &tree->Article(place);
  };
  for (Place place = 0; place < forest.count(); ++place) {
    Node& node = tree->Article(place);
    node.firstChild = node_at(rows.first[place]);
    node.descendantCount = rows.below[place];
    node.readDescendantCount = rows.read_below[place];
    if (forest.parent[place] == kNoPlace) continue;
    node.parent = node_at(forest.parent[place]);
    node.nextSibling = node_at(rows.next[place]);
    node.previousSibling = node_at(rows.previous[place]);
  }
  Node& root = tree->root();
  root.descendantCount = rows.below[rows.root()];
  root.readDescendantCount = rows.read_below[rows.root()];
  UpdateReadOfGathering(root);
}

Thread ThreadBuilder::State::ThreadAt(Place top) {
  Node& node = tree->Article(top);
  Thread thread{.top = &node, .subject = {}, .hash = entries[top].subject};
  if (entries[top].decode_subject) {
    thread.subject = decoded_subjects.Keep(ComparedSubject(node.subject));
    thread.hash = SubjectHash(thread.subject);
  } else if (options.usethreading) {
    thread.subject = SubjectWithoutReplyMarks(node.subject);
  }
  return thread;
}

std::vector<Thread> ThreadBuilder::State::ListThreads(const Rows& rows) {
  std::vector<Thread> threads;
  for (Place top = rows.first[rows.root()]; top != kNoPlace; top = rows.next[top]) {
    threads.push_back(ThreadAt(top));
  }
  return threads;
}

// --- The builder ---------------------------------------------------------------------------------

ThreadBuilder::ThreadBuilder(const ThreadOptions& options) : state_(NewRecord<State>(u"NewNode")) {
  if (state_ == nullptr) return;
  state_->options = options;
  state_->tree = NewRecord<ThreadTree>(u"NewNode");
  if (state_->tree == nullptr) state_.reset();
}

ThreadBuilder::~ThreadBuilder() = default;

bool ThreadBuilder::Add(const ThreadEntry& entry) {
  if (state_ == nullptr || state_->broken) return false;
  const bool added = GuardedCritically(u"NewNode", [&] { state_->Add(entry); });
  if (!added) state_->broken = true;
  return !state_->broken;
}

std::unique_ptr<ThreadTree> ThreadBuilder::Finish(const BuildProgress& progress,
                                                  const BuildAborted& aborted) {
  if (state_ == nullptr) return nullptr;
  const std::unique_ptr<State> state = std::move(state_);
  const auto step = [&](std::uint64_t units) {
    if (progress) progress(units);
  };
  bool stopped = state->broken;
  const auto stop = [&] { return stopped = stopped || (aborted && aborted()); };
  return GuardedCritically(u"NewNode", [&]() -> std::unique_ptr<ThreadTree> {
    const std::vector<SortKey> order = state->Order();
    state->LinkLateParents(order, step, stop);
    const Rows rows = MakeRows(state->forest, order);
    state->NumberItems();
    state->LinkNodes(rows);
    std::vector<Thread> threads = state->ListThreads(rows);
    const bool merge = state->options.usethreading;
    if (!GatherThreads(*state->tree, threads, merge, step, stop)) return nullptr;
    return std::move(state->tree);
  });
}

}  // namespace quillet
