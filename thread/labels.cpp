// SPDX-License-Identifier: GPL-3.0-or-later
// Walks a part of the tree in pre-order without recursion, as threads may be thousands of replies
// deep, and hands the rows or labels over in one call. ShownLabels remembers what each row shows,
// so that after a change only labels that differ are handed over.
#include "thread/labels.h"

#include <algorithm>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/guarded.h"
#include "base/reset.h"
#include "mime/header_words.h"
#include "mime/shown_text.h"
#include "port/platform.h"
#include "thread/shown_labels.h"
#include "util/format.h"

namespace quillet {
namespace {

using RowMade = std::function<void()>;

ShownLabels gShown;

const ResetAtEnd kReset([] { gShown = {}; });

// Pre-order from `top` on, with the depth below it.
template <class Visit>
void WalkWithDepth(Node& top, const Visit& visit) {
  std::uint32_t depth = 0;
  for (Node* node = &top;;) {
    visit(*node, depth);
    if (node->firstChild != nullptr) {
      node = node->firstChild;
      ++depth;
      continue;
    }
    for (; node != &top && node->nextSibling == nullptr; --depth) node = node->parent;
    if (node == &top) return;
    node = node->nextSibling;
  }
}

// The articles below the node, and either itself or, below the root, the subject nodes.
std::size_t CountItems(const Node& top) {
  std::size_t items = top.descendantCount;
  if (top.kind != NodeKind::kRoot) return items + 1;
  for (const Node* thread = top.firstChild; thread != nullptr; thread = thread->nextSibling) {
    ++items;
  }
  return items;
}

// Texts of many rows as they are shown. Authors write more than one article: what takes decoding is
// decoded once.
class ShownTexts {
 public:
  std::u16string Of(std::string_view stored) {
    if (HasNothingToDecode(stored)) return ShownHeader(stored);
    const auto [entry, is_new] = decoded_.try_emplace(stored);
    if (is_new) entry->second = ShownHeader(stored);
    return entry->second;
  }

 private:
  std::unordered_map<std::string_view, std::u16string> decoded_;  // by texts of the tree
};

std::u16string LabelOf(const Node& node, ShownTexts& texts) {
  if (node.kind == NodeKind::kArticle) return texts.Of(node.from);
  std::u16string subject = texts.Of(node.subject);
  if (node.kind == NodeKind::kRoot || node.descendantCount == 1) return subject;
  return FormatWide(u"%d/%d ", node.descendantCount - node.readDescendantCount,
                    node.descendantCount) +
         subject;
}

bool IsBold(const Node& node) {
  return node.read == 0;
}

// A thread is as old as its newest article. Of rows whose top level are threads.
void DateThreads(std::vector<port::TreeRow>& rows) {
  port::TreeRow* thread = nullptr;
  for (port::TreeRow& row : rows) {
    if (row.depth == 0) thread = &row;
    thread->date = std::max(thread->date, row.date);
  }
}

// The rows of the node and of everything below it; the root has none of its own, its threads are at
// the top level. When memory runs out, that is reported and the rows end there.
std::vector<port::TreeRow> RowsOf(Node& top, const RowMade& row_made) {
  std::vector<port::TreeRow> rows;
  const std::uint32_t above = top.kind == NodeKind::kRoot ? 1 : 0;
  Guarded(u"BuildTreeView", [&] {
    const std::size_t items = CountItems(top);
    rows.reserve(items);
    if (above == 1) gShown.Reset(items);
    ShownTexts texts;
    WalkWithDepth(top, [&](const Node& node, std::uint32_t depth) {
      if (node.kind == NodeKind::kRoot) return;
      rows.push_back({node.treeItem, depth - above, IsBold(node), LabelOf(node, texts), node.date});
      gShown.Note(node);
      if (row_made && node.kind == NodeKind::kArticle) row_made();
    });
  });
  if (top.kind != NodeKind::kArticle) DateThreads(rows);
  return rows;
}

void AddIfChanged(const Node& node, ShownTexts& texts, std::vector<port::TreeLabel>& labels) {
  if (node.kind == NodeKind::kRoot || !gShown.Note(node)) return;
  labels.push_back({node.treeItem, IsBold(node), LabelOf(node, texts)});
}

std::vector<port::TreeLabel> ChangedLabels(Node& top) {
  std::vector<port::TreeLabel> labels;
  ShownTexts texts;
  WalkWithDepth(top, [&](const Node& node, std::uint32_t) { AddIfChanged(node, texts, labels); });
  for (const Node* above = top.parent; above != nullptr; above = above->parent) {
    AddIfChanged(*above, texts, labels);
  }
  return labels;
}

}  // namespace

std::u16string ThreadLabel(const Node& node) {
  ShownTexts texts;
  return LabelOf(node, texts);
}

void FillTreeControl(Node& root, const RowMade& row_made) {
  if (!gPlatform->thread_tree.TreeCreated()) return;
  gPlatform->thread_tree.FillTree(RowsOf(root, row_made));
}

void BuildTreeView(Node& root, bool single) {
  if (!single || root.kind == NodeKind::kRoot) return FillTreeControl(root, {});
  if (!gPlatform->thread_tree.TreeCreated()) return;
  gPlatform->thread_tree.ReplaceSubtree(root.treeItem, RowsOf(root, {}));
}

void TakeOutOfTreeControl(const Node& thread) {
  gPlatform->thread_tree.ReplaceSubtree(thread.treeItem, {});
}

void RefreshThreadLabels(Node& node) {
  if (!gPlatform->thread_tree.TreeCreated()) return;
  const bool shown = Guarded(u"RefreshThreadLabels", [&] {
    auto labels = ChangedLabels(node);
    if (!labels.empty()) gPlatform->thread_tree.SetLabels(std::move(labels));
  });
  if (!shown) ForgetShownLabels();  // every label is handed over next time
}

void ForgetShownLabels() {
  gShown.Reset(0);
}

}  // namespace quillet
