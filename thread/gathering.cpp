// SPDX-License-Identifier: GPL-3.0-or-later
#include "thread/gathering.h"

#include <bit>
#include <functional>

namespace quillet {
namespace {

constexpr std::size_t kFree = 0;

// The first threads of all subjects: a hash table with linear probing, at most half full. Texts are
// compared only when hashes agree.
class FirstThreads {
 public:
  explicit FirstThreads(const std::vector<Thread>& threads)
      : threads_(threads), slots_(std::bit_ceil(threads.size() * 2 + 1), kFree) {}

  // The first thread of the subject of thread i: i itself, when it was not met before.
  std::size_t Of(std::size_t i) {
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = threads_[i].hash & mask;
    while (slots_[at] != kFree && !Same(slots_[at] - 1, i)) at = (at + 1) & mask;
    if (slots_[at] == kFree) slots_[at] = static_cast<std::uint32_t>(i + 1);
    return slots_[at] - 1;
  }

 private:
  bool Same(std::size_t a, std::size_t b) const {
    return threads_[a].hash == threads_[b].hash && threads_[a].subject == threads_[b].subject;
  }

  const std::vector<Thread>& threads_;
  std::vector<std::uint32_t> slots_;  // one more than the thread's place
};

// False when it was aborted; then only some threads know their next one.
bool FindEqualSubjects(std::vector<Thread>& threads, const BuildAborted& aborted) {
  FirstThreads first_threads(threads);
  for (std::size_t i = 0; i < threads.size(); ++i) {
    if (aborted()) return false;
    Thread& first = threads[first_threads.Of(i)];
    if (&first != &threads[i]) threads[first.last].next = i;
    first.last = i;
  }
  return true;
}

Node* NewSubjectNode(ThreadTree& tree, const Node& first) {
  Node* subject = tree.NewNode(NodeKind::kSubject);
  if (subject == nullptr) return nullptr;
  subject->subject = first.subject;
  subject->treeItem = first.treeItem | kSubjectItem;
  subject->parent = &tree.root();
  return subject;
}

// At the end of the parent's list.
void Append(Node& parent, Node* last, Node& child) {
  child.parent = &parent;
  child.previousSibling = last;
  child.nextSibling = nullptr;
  (last != nullptr ? last->nextSibling : parent.firstChild) = &child;
}

// Puts the thread, and with `merge` all later ones of its subject, under the subject node.
void Gather(Node& subject, std::vector<Thread>& threads, std::size_t first, bool merge) {
  Node* last = nullptr;
  std::size_t i = first;
  do {
    Node& top = *threads[i].top;
    threads[i].gathered = true;
    Append(subject, last, top);
    subject.descendantCount += top.descendantCount + 1;
    subject.readDescendantCount += top.readDescendantCount + top.read;
    last = &top;
    i = threads[i].next;
  } while (merge && i != 0);
  UpdateReadOfGathering(subject);
}

}  // namespace

std::uint64_t SubjectHash(std::string_view compared) {
  return std::hash<std::string_view>{}(compared);
}

bool GatherThreads(ThreadTree& tree, std::vector<Thread>& threads, bool merge,
                   const BuildProgress& progress, const BuildAborted& aborted) {
  merge = merge && FindEqualSubjects(threads, aborted);
  Node* last = nullptr;
  for (std::size_t i = 0; i < threads.size(); ++i) {
    if (threads[i].gathered) continue;
    merge = merge && !aborted();
    Node* subject = NewSubjectNode(tree, *threads[i].top);
    if (subject == nullptr) return false;
    Gather(*subject, threads, i, merge);
    Append(tree.root(), last, *subject);
    last = subject;
    progress(subject->descendantCount);
  }
  return true;
}

}  // namespace quillet
