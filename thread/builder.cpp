#include "thread/builder.h"

#include <algorithm>
#include <new>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "app/base/messages.h"
#include "app/base/records.h"

namespace quillet {
namespace {

using Place = std::uint32_t;  // of an article in the order of reading
constexpr std::uint32_t kSubjectItem = 0x80000000;

// What is known of an article while the tree grows, beside its node. Until the end the node's
// treeItem is its place.
struct Entry {
  Node* node = nullptr;        // its `parent` is set as soon as it is known
  std::string_view parentId;   // of those not yet under another article
  Place tree = 0;              // towards the topmost article above it; itself: it is topmost
  std::uint32_t top_size = 0;  // of a topmost one: articles in its tree after the reading
  bool late = false;           // found its parent after the reading
};

// Siblings are sorted by source, then signed article number; equal ones stay in order of linking.
struct SortKey {
  std::uint64_t key = 0;
  Place place = 0;
};

void Prepend(Node& parent, Node& child) {
  child.parent = &parent;
  child.previousSibling = nullptr;
  child.nextSibling = parent.firstChild;
  if (parent.firstChild != nullptr) parent.firstChild->previousSibling = &child;
  parent.firstChild = &child;
}

// The first one when `after` is null.
void InsertAfter(Node& parent, Node* after, Node& child) {
  if (after == nullptr) return Prepend(parent, child);
  child.parent = &parent;
  child.previousSibling = after;
  child.nextSibling = after->nextSibling;
  if (after->nextSibling != nullptr) after->nextSibling->previousSibling = &child;
  after->nextSibling = &child;
}

void AddCounts(Node& parent, const Node& child) {
  parent.descendantCount += child.descendantCount + 1;
  parent.readDescendantCount += child.readDescendantCount + child.read;
}

// Counts of the root and of every article below it, when only articles are there. Each node is
// added to its parent once it is complete itself.
void SumUpArticles(Node& root) {
  Node* node = &root;
  while (true) {
    while (node->firstChild != nullptr) node = node->firstChild;
    while (node != &root && node->nextSibling == nullptr) {
      AddCounts(*node->parent, *node);
      node = node->parent;
    }
    if (node == &root) break;
    AddCounts(*node->parent, *node);
    node = node->nextSibling;
  }
  UpdateReadOfGathering(root);
}

// The numbers of the sources in byte order.
std::unordered_map<std::string_view, std::uint64_t> RankSources(const std::vector<Entry>& entries) {
  std::unordered_map<std::string_view, std::uint64_t> ranks;
  std::string_view last;
  for (const Entry& entry : entries) {
    const std::string_view source = entry.node->source;
    if (ranks.empty() || source.data() != last.data()) ranks.try_emplace(source, 0);
    last = source;
  }
  std::vector<std::string_view> sources;
  for (const auto& [source, rank] : ranks) sources.push_back(source);
  std::sort(sources.begin(), sources.end());
  for (std::size_t i = 0; i < sources.size(); ++i) ranks[sources[i]] = i;
  return ranks;
}

// Signed numbers in the order of unsigned ones.
std::uint32_t SignedOrder(std::int32_t number) {
  return static_cast<std::uint32_t>(number) ^ 0x80000000U;
}

std::vector<SortKey> Sorted(const std::vector<Entry>& entries, bool reverse) {
  const auto ranks = RankSources(entries);
  std::vector<SortKey> keys;
  keys.reserve(entries.size());
  std::string_view last;
  std::uint64_t rank = 0;
  for (const Entry& entry : entries) {
    const std::string_view source = entry.node->source;
    if (keys.empty() || source.data() != last.data()) rank = ranks.at(source);
    last = source;
    const std::uint64_t key = rank << 32 | SignedOrder(entry.node->articleNumber);
    keys.push_back({reverse ? ~key : key, static_cast<Place>(keys.size())});
  }
  std::sort(keys.begin(), keys.end(), [](const SortKey& a, const SortKey& b) {
    return a.key != b.key ? a.key < b.key : a.place < b.place;
  });
  return keys;
}

}  // namespace

// --- Reading -------------------------------------------------------------------------------------

struct ThreadBuilder::State {
  ThreadOptions options;
  std::unique_ptr<ThreadTree> tree;
  std::vector<Entry> entries;  // in the order of reading
  TextBlocks parent_ids;
  std::string_view last_subject, last_source, last_from;
  bool broken = false;  // memory ran out

  Place PlaceOf(const Node& node) const { return node.treeItem; }
  void Add(const ThreadEntry& entry);
  void KeepTexts(Node& node, const ThreadEntry& entry);
  Place TopOf(Place place);
  Node* ParentOf(const ThreadEntry& added) const;
  void LinkLateParents(const std::vector<SortKey>& order, const BuildProgress& progress,
                       const BuildAborted& aborted);
  void LinkSiblings(const std::vector<SortKey>& order);
  void NumberArticles();
  void MakeNumbersUnique();
  bool GatherThreads(const BuildProgress& progress, const BuildAborted& aborted);
};

namespace {

// Neighbours in the order of reading often have these alike.
std::string_view KeepOr(ThreadTree& tree, std::string_view& last, std::string_view text) {
  if (text != last) last = tree.KeepText(text);
  return last;
}

}  // namespace

void ThreadBuilder::State::KeepTexts(Node& node, const ThreadEntry& entry) {
  node.messageId = tree->KeepText(entry.messageId);
  node.subject = KeepOr(*tree, last_subject, entry.subject);
  node.source = KeepOr(*tree, last_source, entry.source);
  node.from = KeepOr(*tree, last_from, entry.from);
}

// The parent, when it was read before. Its own Message-ID would find the article itself, which was
// entered last.
Node* ThreadBuilder::State::ParentOf(const ThreadEntry& added) const {
  if (!options.usethreading || added.parentId == added.messageId) return nullptr;
  return tree->FindNodeByMessageId(added.parentId);
}

void ThreadBuilder::State::Add(const ThreadEntry& added) {
  Node* node = tree->NewNode(NodeKind::kArticle);
  if (node == nullptr) {
    broken = true;
    return;
  }
  KeepTexts(*node, added);
  node->articleNumber = added.articleNumber;
  node->read = added.read ? 1 : 0;
  node->chainNumber = added.chainNumber;
  const auto place = static_cast<Place>(entries.size());
  node->treeItem = place;
  Entry entry{node, {}, place, 1, false};
  Node* parent = ParentOf(added);
  node->parent = parent != nullptr ? parent : &tree->root();
  if (parent != nullptr) {
    entry.tree = entries[PlaceOf(*parent)].tree;
  } else if (options.usethreading) {
    entry.parentId = parent_ids.Keep(added.parentId);
  }
  entries.push_back(entry);
  tree->index().Enter(*node);
  if (parent != nullptr) ++entries[entry.tree].top_size;
}

// --- Late parents --------------------------------------------------------------------------------

Place ThreadBuilder::State::TopOf(Place place) {
  while (entries[place].tree != place) {
    Place& above = entries[place].tree;
    above = entries[above].tree;  // shortens the way for the next one
    place = above;
  }
  return place;
}

// Replies are mostly read before what they answer, so those still at the top are looked for again
// in the complete index, in the order in which they stand there.
void ThreadBuilder::State::LinkLateParents(const std::vector<SortKey>& order,
                                           const BuildProgress& progress,
                                           const BuildAborted& aborted) {
  for (const SortKey& key : order) {
    Entry& entry = entries[key.place];
    if (entry.node->parent != &tree->root()) continue;
    if (options.usethreading) {
      if (aborted()) return;
      Node* parent = tree->FindNodeByMessageId(entry.parentId);
      const Place top = parent != nullptr ? TopOf(PlaceOf(*parent)) : key.place;
      // A parent in the article's own tree would close a circle.
      if (top != key.place) {
        entry.node->parent = parent;
        entry.late = true;
        entry.tree = top;
      }
    }
    progress(entry.top_size);
  }
}

// Puts every article into the list of its parent, from the last one to the first. Among equals
// those linked while reading stand before those linked late.
void ThreadBuilder::State::LinkSiblings(const std::vector<SortKey>& order) {
  for (std::size_t end = order.size(); end > 0;) {
    std::size_t begin = end - 1;
    while (begin > 0 && order[begin - 1].key == order[end - 1].key) --begin;
    for (const bool late : {true, false}) {
      for (std::size_t i = end; i > begin; --i) {
        const Entry& entry = entries[order[i - 1].place];
        if (entry.late == late) Prepend(*entry.node->parent, *entry.node);
      }
    }
    end = begin;
  }
}

// --- Tree items ----------------------------------------------------------------------------------

// An article's item is its chain number. Only a damaged chain gives numbers that do not fall.
void ThreadBuilder::State::NumberArticles() {
  std::uint32_t last = kSubjectItem;
  bool falling = true;
  for (const Entry& entry : entries) {
    const std::uint32_t number = entry.node->chainNumber;
    falling = falling && number != 0 && number < last;
    last = number;
    entry.node->treeItem = number;
  }
  if (!falling) MakeNumbersUnique();
}

// The first article of a number keeps it, the others get numbers that are free.
void ThreadBuilder::State::MakeNumbersUnique() {
  std::unordered_set<std::uint32_t> used;
  for (const Entry& entry : entries) {
    std::uint32_t& item = entry.node->treeItem;
    if (item >= kSubjectItem || item == 0 || !used.insert(item).second) item = 0;
  }
  std::uint32_t free = kSubjectItem - 1;
  for (const Entry& entry : entries) {
    std::uint32_t& item = entry.node->treeItem;
    if (item != 0) continue;
    while (!used.insert(free).second) --free;
    item = free--;
  }
}

// --- Subject nodes -------------------------------------------------------------------------------

namespace {

// Threads of one subject: each thread's next one, in the order of the list.
struct Thread {
  Node* top = nullptr;
  std::size_t next = 0;  // 0: the last of its subject
  bool gathered = false;
};

std::vector<Thread> ListThreads(const Node& root) {
  std::vector<Thread> threads;
  for (Node* top = root.firstChild; top != nullptr; top = top->nextSibling) {
    threads.push_back({top, 0, false});
  }
  return threads;
}

// False when it was aborted; then only some threads know their next one.
bool FindEqualSubjects(std::vector<Thread>& threads, const BuildAborted& aborted) {
  std::unordered_map<std::string_view, std::size_t> last_of;
  last_of.reserve(threads.size());
  for (std::size_t i = 0; i < threads.size(); ++i) {
    if (aborted()) return false;
    const auto subject = SubjectWithoutReplyMarks(threads[i].top->subject);
    const auto [last, is_new] = last_of.try_emplace(subject, i);
    if (is_new) continue;
    threads[last->second].next = i;
    last->second = i;
  }
  return true;
}

Node* NewSubjectNode(ThreadTree& tree, const Node& first) {
  Node* subject = tree.NewNode(NodeKind::kSubject);
  if (subject == nullptr) return nullptr;
  subject->subject = first.subject;
  subject->treeItem = first.treeItem | kSubjectItem;
  return subject;
}

// Puts the thread, and with `merge` all later ones of its subject, under the subject node.
void Gather(Node& subject, std::vector<Thread>& threads, std::size_t first, bool merge) {
  Node* last = nullptr;
  std::size_t i = first;
  do {
    threads[i].gathered = true;
    Node& top = *threads[i].top;
    InsertAfter(subject, last, top);
    AddCounts(subject, top);
    last = &top;
    i = threads[i].next;
  } while (merge && i != 0);
  UpdateReadOfGathering(subject);
}

}  // namespace

// False when memory ran out.
bool ThreadBuilder::State::GatherThreads(const BuildProgress& progress,
                                         const BuildAborted& aborted) {
  Node& root = tree->root();
  std::vector<Thread> threads = ListThreads(root);
  bool merge = options.usethreading && FindEqualSubjects(threads, aborted);
  root.firstChild = nullptr;
  Node* last = nullptr;
  for (std::size_t i = 0; i < threads.size(); ++i) {
    if (threads[i].gathered) continue;
    merge = merge && !aborted();
    Node* subject = NewSubjectNode(*tree, *threads[i].top);
    if (subject == nullptr) return false;
    Gather(*subject, threads, i, merge);
    InsertAfter(root, last, *subject);
    last = subject;
    progress(subject->descendantCount);
  }
  return true;
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
  const std::size_t count = state_->entries.size();
  try {
    state_->Add(entry);
  } catch (const std::bad_alloc&) {
    state_->entries.resize(count);
    state_->broken = true;
    ReportCriticalError(u"out of memory", u"NewNode");
  }
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
  try {
    const std::vector<SortKey> order = Sorted(state->entries, state->options.reversethread);
    state->LinkLateParents(order, step, stop);
    state->LinkSiblings(order);
    SumUpArticles(state->tree->root());
    state->NumberArticles();
    if (!state->GatherThreads(step, stop)) return nullptr;
    return std::move(state->tree);
  } catch (const std::bad_alloc&) {
    ReportCriticalError(u"out of memory", u"NewNode");
    return nullptr;
  }
}

}  // namespace quillet
