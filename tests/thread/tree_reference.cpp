// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/thread/tree_reference.h"

#include <deque>
#include <map>
#include <set>

#include "mime/shown_text.h"
#include "thread/subjects.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet::testing {
namespace {

// --- The rules, word for word --------------------------------------------------------------------

struct RefNode {
  RefNode* parent = nullptr;
  RefNode* first_child = nullptr;
  RefNode* next = nullptr;
  NodeKind kind = NodeKind::kArticle;
  TestArticle article;
  std::uint32_t descendants = 0;
  std::uint32_t read_descendants = 0;
  std::uint32_t read = 0;
};

struct Reference {
  ThreadOptions options;
  std::deque<RefNode> nodes;
  std::vector<RefNode*> index;  // the one entered last stands last
  RefNode* root = nullptr;

  RefNode* New(NodeKind kind, TestArticle article = {}) {
    nodes.push_back({});
    nodes.back().kind = kind;
    nodes.back().article = std::move(article);
    return &nodes.back();
  }
};

RefNode* Lookup(const Reference& tree, const std::string& id) {
  if (id.empty()) return nullptr;
  for (auto entry = tree.index.rbegin(); entry != tree.index.rend(); ++entry) {
    if ((*entry)->article.id == id) return *entry;
  }
  return nullptr;
}

bool IsOrLiesBelow(const RefNode* node, const RefNode* above) {
  for (; node != nullptr; node = node->parent) {
    if (node == above) return true;
  }
  return false;
}

// What stands in angle brackets, or else a word, from the last to the first; then the parent.
std::vector<std::string> Forerunners(const TestArticle& article) {
  constexpr const char* kBlanks = " \t\r\n";
  std::vector<std::string> ids;
  std::string text = article.references;
  while (text.find_first_not_of(kBlanks) != std::string::npos) {
    text.erase(text.find_last_not_of(kBlanks) + 1);
    const std::string before = text.substr(0, text.size() - 1);
    std::size_t begin = before.find_last_of(" \t\r\n>") + 1;
    const std::size_t bracket = before.find_last_of("<>");
    if (text.back() == '>' && bracket != std::string::npos && before[bracket] == '<') {
      begin = bracket;
    }
    ids.push_back(text.substr(begin));
    text.erase(begin);
  }
  ids.push_back(article.parent);
  return ids;
}

// The first of those that is there, unless it is the node itself or lies below it; while articles
// are read only the nearest one is asked for.
RefNode* LookupParent(const Reference& tree, const RefNode* node, bool reading) {
  for (const std::string& id : Forerunners(node->article)) {
    RefNode* found = Lookup(tree, id);
    if (found != nullptr && !IsOrLiesBelow(found, node)) return found;
    if (reading) break;
  }
  return nullptr;
}

bool SortsBefore(const Reference& tree, const RefNode* a, const RefNode* b) {
  if (tree.options.reversethread) std::swap(a, b);
  const int sources = a->article.source.compare(b->article.source);
  return sources != 0 ? sources < 0 : a->article.number < b->article.number;
}

void AddCounts(RefNode* ancestor, const RefNode* child) {
  for (; ancestor != nullptr; ancestor = ancestor->parent) {
    ancestor->descendants += child->descendants + 1;
    ancestor->read_descendants += child->read_descendants + (child->article.read ? 1 : 0);
  }
}

void LinkChild(const Reference& tree, RefNode* parent, RefNode* child, RefNode* after) {
  child->parent = parent;
  AddCounts(parent, child);
  RefNode** place = &parent->first_child;
  if (after != nullptr) {
    place = &after->next;
  } else {
    while (*place != nullptr && !SortsBefore(tree, child, *place)) place = &(*place)->next;
  }
  child->next = *place;
  *place = child;
}

void ReadAll(Reference& tree, const std::vector<TestArticle>& articles) {
  for (const TestArticle& article : articles) {
    RefNode* node = tree.New(NodeKind::kArticle, article);
    tree.index.push_back(node);
    RefNode* parent = tree.options.usethreading ? LookupParent(tree, node, true) : nullptr;
    LinkChild(tree, parent != nullptr ? parent : tree.root, node, nullptr);
  }
}

void FindLateParents(Reference& tree, std::size_t limit) {
  if (!tree.options.usethreading) return;
  RefNode** link = &tree.root->first_child;
  for (std::size_t i = 0; *link != nullptr && i < limit; ++i) {
    RefNode* node = *link;
    RefNode* parent = LookupParent(tree, node, false);
    if (parent == nullptr) {
      link = &node->next;
    } else {
      *link = node->next;
      LinkChild(tree, parent, node, nullptr);
    }
  }
}

std::string WithoutMarks(std::string text) {
  const auto drop_blanks = [&] {
    while (!text.empty() && text[0] == ' ') text.erase(0, 1);
  };
  drop_blanks();
  while (text.size() >= 3 && (text[0] == 'r' || text[0] == 'R') &&
         (text[1] == 'e' || text[1] == 'E') && text[2] == ':') {
    text.erase(0, 3);
    drop_blanks();
  }
  return text;
}

// Of those that are at the top level now, as they are shown.
std::map<const RefNode*, std::string> ComparedSubjects(const Reference& tree) {
  std::map<const RefNode*, std::string> compared;
  for (const RefNode* top = tree.root->first_child; top != nullptr; top = top->next) {
    compared[top] = WithoutMarks(ToUtf8(ShownHeader(top->article.subject)));
  }
  return compared;
}

void MakeSubjectNodes(Reference& tree, std::size_t limit) {
  const std::map<const RefNode*, std::string> compared = ComparedSubjects(tree);
  std::size_t made = 0;
  for (RefNode** link = &tree.root->first_child; *link != nullptr; link = &(*link)->next) {
    RefNode* thread = *link;
    RefNode* subject = tree.New(NodeKind::kSubject);
    subject->article.subject = thread->article.subject;
    subject->next = thread->next;
    *link = subject;
    LinkChild(tree, subject, thread, nullptr);
    subject->parent = tree.root;
    if (!tree.options.usethreading || made++ >= limit) continue;
    RefNode* after = thread;
    for (RefNode** other = &subject->next; *other != nullptr;) {
      RefNode* moved = *other;
      if (compared.at(moved) != compared.at(thread)) {
        other = &moved->next;
        continue;
      }
      *other = moved->next;
      LinkChild(tree, subject, moved, after);
      after = moved;
    }
  }
}

void SumUp(Reference& tree) {
  tree.root->descendants = 0;
  tree.root->read_descendants = 0;
  for (RefNode* subject = tree.root->first_child; subject != nullptr; subject = subject->next) {
    subject->read = subject->descendants == subject->read_descendants ? 1 : 0;
    tree.root->descendants += subject->descendants;
    tree.root->read_descendants += subject->read_descendants;
  }
  tree.root->read = tree.root->descendants == tree.root->read_descendants ? 1 : 0;
}

// --- Text ----------------------------------------------------------------------------------------

constexpr std::string_view kKinds[] = {"root", "subject", "article"};

std::string Line(std::size_t depth, NodeKind kind, const TestArticle& shown, std::uint32_t read,
                 std::uint32_t descendants, std::uint32_t read_descendants) {
  std::string line(depth * 2, ' ');
  line += kKinds[static_cast<int>(kind)];
  for (const std::string& text : {shown.id, shown.subject, shown.source, shown.from}) {
    line += '|' + text;
  }
  return line + FormatNarrow("|%d|chain %lu|read %lu|%lu of %lu\n", shown.number, shown.chain, read,
                             read_descendants, descendants);
}

std::string Text(const RefNode& root) {
  std::string text;
  std::size_t depth = 0;
  const RefNode* node = &root;
  while (node != nullptr) {
    const std::uint32_t read =
        node->kind == NodeKind::kArticle ? (node->article.read ? 1 : 0) : node->read;
    text += Line(depth, node->kind, node->article, read, node->descendants, node->read_descendants);
    if (node->first_child != nullptr) {
      node = node->first_child;
      ++depth;
      continue;
    }
    while (node != nullptr && node->next == nullptr) {
      node = node->parent;
      --depth;
    }
    if (node != nullptr) node = node->next;
  }
  return text;
}

TestArticle ArticleOf(const Node& node) {
  return {std::string(node.messageId),
          "",
          std::string(node.subject),
          std::string(node.source),
          std::string(node.from),
          node.articleNumber,
          node.read != 0,
          node.chainNumber};
}

// --- What holds in every tree --------------------------------------------------------------------

struct Check {
  const ThreadOptions* options = nullptr;  // null: in any order
  std::set<std::uint32_t> items;
  std::size_t articles = 0;
  std::string fault;

  void Expect(bool holds, const char* what) {
    if (!holds && fault.empty()) fault = what;
  }
};

bool InOrder(const Node& a, const Node& b, bool reverse) {
  const Node& first = reverse ? b : a;
  const Node& second = reverse ? a : b;
  if (first.source != second.source) return first.source < second.source;
  return first.articleNumber <= second.articleNumber;
}

void CheckOrder(Check& check, const Node& parent, const Node& a, const Node& b) {
  if (check.options == nullptr) return;
  const bool reverse = check.options->reversethread;
  if (parent.kind == NodeKind::kArticle) {
    check.Expect(InOrder(a, b, reverse), "siblings out of order");
  } else if (parent.kind == NodeKind::kRoot) {
    check.Expect(a.firstChild && b.firstChild && InOrder(*a.firstChild, *b.firstChild, reverse),
                 "threads out of order");
  } else {
    check.Expect(check.options->usethreading, "two articles in a thread, without threading");
    check.Expect(InOrder(a, b, reverse), "threads of one subject out of order");
    check.Expect(SubjectsMatch(a.subject, b.subject), "another subject");
  }
}

void CheckChildren(Check& check, const Node& node) {
  std::uint32_t descendants = 0;
  std::uint32_t read = 0;
  const Node* before = nullptr;
  for (const Node* child = node.firstChild; child != nullptr; child = child->nextSibling) {
    check.Expect(child->parent == &node, "a child with another parent");
    check.Expect(child->previousSibling == before, "siblings not linked both ways");
    const bool article = child->kind == NodeKind::kArticle;
    descendants += child->descendantCount + (article ? 1 : 0);
    read += child->readDescendantCount + (article ? child->read : 0);
    if (before != nullptr) CheckOrder(check, node, *before, *child);
    before = child;
  }
  check.Expect(node.descendantCount == descendants, "a wrong count");
  check.Expect(node.readDescendantCount == read, "a wrong count of read ones");
}

void CheckNode(Check& check, const Node& node) {
  CheckChildren(check, node);
  if (node.kind == NodeKind::kArticle) {
    ++check.articles;
    check.Expect(node.read <= 1, "a flag that is none");
    check.Expect(node.parent != nullptr && node.parent->kind != NodeKind::kRoot,
                 "an article without a subject node");
  } else {
    check.Expect(node.messageId.empty(), "a Message-ID of a node that is no article");
    check.Expect(node.read == (node.descendantCount == node.readDescendantCount ? 1U : 0U),
                 "a subject node or root with the wrong flag");
  }
  if (node.kind == NodeKind::kSubject) {
    check.Expect(node.parent->kind == NodeKind::kRoot, "a subject node below the second level");
    check.Expect(node.firstChild != nullptr, "an empty subject node");
    if (check.options != nullptr && node.firstChild != nullptr) {
      check.Expect(node.subject == node.firstChild->subject, "a subject of another thread");
    }
  }
  if (node.kind == NodeKind::kRoot) return;
  check.Expect(node.treeItem != 0, "a node without an item");
  check.Expect(check.items.insert(node.treeItem).second, "an item given twice");
}

// The node after this one in pre-order.
const Node* Following(const Node* node) {
  if (node->firstChild != nullptr) return node->firstChild;
  while (node != nullptr && node->nextSibling == nullptr) node = node->parent;
  return node != nullptr ? node->nextSibling : nullptr;
}

std::string FaultOf(const Node& root, std::size_t articles, Check check) {
  check.Expect(root.kind == NodeKind::kRoot && root.parent == nullptr, "no root");
  // More nodes than there can be: the links lead in a circle.
  std::size_t left = 2 * articles + 1;
  for (const Node* node = &root; node != nullptr && check.fault.empty(); node = Following(node)) {
    if (left-- == 0) return "more nodes than articles and subjects";
    CheckNode(check, *node);
  }
  check.Expect(check.articles == articles, "not every article once");
  return check.fault;
}

}  // namespace

std::string ReferenceTree(const std::vector<TestArticle>& newest_first,
                          const ThreadOptions& options, const ReferenceLimits& limits) {
  Reference tree;
  tree.options = options;
  tree.root = tree.New(NodeKind::kRoot);
  ReadAll(tree, newest_first);
  FindLateParents(tree, limits.late);
  MakeSubjectNodes(tree, limits.merge);
  SumUp(tree);
  return Text(*tree.root);
}

std::string TreeText(const Node& root) {
  std::string text;
  for (const Node* node = &root; node != nullptr; node = Following(node)) {
    std::size_t depth = 0;
    for (const Node* above = node->parent; above != nullptr; above = above->parent) ++depth;
    text += Line(depth, node->kind, ArticleOf(*node), node->read, node->descendantCount,
                 node->readDescendantCount);
  }
  return text;
}

std::string TreeFault(const Node& root, std::size_t articles) {
  return FaultOf(root, articles, {});
}

std::string TreeFault(const Node& root, std::size_t articles, const ThreadOptions& options) {
  return FaultOf(root, articles, {&options, {}, 0, {}});
}

ThreadEntry EntryOf(const TestArticle& article) {
  return {article.id,     article.parent, article.subject, article.source,    article.from,
          article.number, article.read,   article.chain,   article.references};
}

std::unique_ptr<ThreadTree> BuildTree(const std::vector<TestArticle>& newest_first,
                                      const ThreadOptions& options, const BuildProgress& progress,
                                      const BuildAborted& aborted) {
  ThreadBuilder builder(options);
  for (const TestArticle& article : newest_first) builder.Add(EntryOf(article));
  return builder.Finish(progress, aborted);
}

}  // namespace quillet::testing
