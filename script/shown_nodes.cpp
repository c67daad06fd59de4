// SPDX-License-Identifier: GPL-3.0-or-later
// Rows of the shown tree and nodes of the program's tree are joined by their item. Paths are
// counted while walking the rows: one number a level, so that "2.1" is the first reply of the
// second thread whatever its item is called.
#include "script/shown_nodes.h"

#include <array>
#include <vector>

#include "script/words.h"
#include "thread/moves.h"
#include "thread/reading.h"
#include "util/text.h"

namespace quillet {
namespace {

NodeFacts FactsOf(const Node& node) {
  const std::uint32_t own = node.kind == NodeKind::kArticle ? 1 : 0;
  const std::uint32_t read = node.readDescendantCount + (own != 0 && node.read != 0 ? 1 : 0);
  NodeFacts facts;
  facts.kind = node.kind;
  facts.message_id = Widen(node.messageId);
  facts.subject = Widen(node.subject);
  facts.from = Widen(node.from);
  facts.source = Widen(node.source);
  facts.number = node.articleNumber;
  facts.chain = node.chainNumber;
  facts.read = node.read != 0;
  facts.total = node.descendantCount + own;
  facts.unread = facts.total - read;
  return facts;
}

// The paths of rows that are given one after the other from the top.
class Paths {
 public:
  std::string Next(std::uint32_t depth) {
    numbers_.resize(depth + std::size_t{1});
    ++numbers_.back();
    std::string path;
    for (const std::uint32_t number : numbers_) {
      if (!path.empty()) path += '.';
      path += std::to_string(number);
    }
    return path;
  }

 private:
  std::vector<std::uint32_t> numbers_;
};

void AddFacts(JsonObject& row, const NodeFacts& facts) {
  row.Add("kind", facts.kind == NodeKind::kSubject ? "subject" : "article");
  row.Add("id", facts.message_id).Add("subject", facts.subject).Add("from", facts.from);
  row.Add("source", facts.source).Add("number", facts.number).Add("chain", facts.chain);
  row.Add("read", facts.read).Add("unread", facts.unread).Add("total", facts.total);
}

JsonObject DescribeRow(const port::ShownTree& tree, const port::TreeRow& row,
                       const NodesByItem& nodes, const std::string& path) {
  JsonObject object;
  object.Add("path", path).Add("item", row.item).Add("depth", row.depth);
  object.Add("text", row.text).Add("bold", row.bold);
  object.Add("expanded", tree.expanded.contains(row.item));
  const auto node = nodes.find(row.item);
  if (node == nodes.end()) return object.Add("kind", "none");
  AddFacts(object, node->second);
  return object;
}

constexpr std::array<std::string_view, 4> kScrollNames = {"page-up", "page-down", "top", "bottom"};

}  // namespace

NodesByItem NodesOfShownTree() {
  NodesByItem nodes;
  if (!gReading.tree) return nodes;
  const Node& root = gReading.tree->root();
  nodes.reserve(root.descendantCount * std::size_t{2});
  for (const Node* node = NextNode(root); node != nullptr; node = NextNode(*node)) {
    nodes.emplace(node->treeItem, FactsOf(*node));
  }
  return nodes;
}

port::TreeItem ItemOfMessageId(std::string_view message_id) {
  const Node* node = gReading.tree ? gReading.tree->FindNodeByMessageId(message_id) : nullptr;
  return node != nullptr ? node->treeItem : 0;
}

port::TreeItem ItemAtPath(const port::ShownTree& tree, std::u16string_view path) {
  const std::string wanted = ToUtf8(path);
  Paths paths;
  for (const port::TreeRow& row : tree.rows) {
    if (paths.Next(row.depth) == wanted) return row.item;
  }
  return 0;
}

std::string PathOfItem(const port::ShownTree& tree, port::TreeItem item) {
  Paths paths;
  for (const port::TreeRow& row : tree.rows) {
    std::string path = paths.Next(row.depth);
    if (item != 0 && row.item == item) return path;
  }
  return {};
}

std::string_view ScrollStepName(port::ScrollStep step) {
  return kScrollNames[static_cast<std::size_t>(step)];
}

JsonObject DescribeTree(const port::ShownTree& tree, const NodesByItem& nodes) {
  JsonList rows;
  Paths paths;
  for (const port::TreeRow& row : tree.rows) {
    rows.Add(DescribeRow(tree, row, nodes, paths.Next(row.depth)));
  }
  return JsonObject()
      .Add("created", tree.created)
      .Add("name", tree.name)
      .Add("font", tree.font_face)
      .Add("font_size", tree.font_size_index)
      .Add("caption", tree.caption)
      .Add("focused", tree.focused)
      .Add("selected", PathOfItem(tree, tree.selected))
      .Add("fills", tree.fills)
      .AddRaw("rows", rows.Finish());
}

JsonObject DescribeViewer(const port::ShownArticle& article) {
  JsonList scrolls;
  for (const port::ScrollStep step : article.scrolls) {
    scrolls.AddRaw(JsonText(ScrollStepName(step)));
  }
  return JsonObject()
      .Add("created", article.created)
      .Add("source", article.source)
      .Add("plain_text", article.plain_text)
      .Add("additions", article.additions)
      .Add("ended", article.ended)
      .Add("shows", article.shows)
      .Add("focused", article.focused)
      .Add("copies", article.copies)
      .Add("line", article.line)
      .Add("notice", article.notice)
      .AddRaw("scrolls", scrolls.Finish());
}

JsonObject DescribeHeader(const port::ShownArticle& article) {
  JsonList lines;
  for (const port::HeaderLine& line : article.header) {
    lines.Add(
        JsonObject().Add("left", line.left).Add("right", line.right).Add("aside", line.aside));
  }
  return JsonObject()
      .Add("created", article.created)
      .Add("font", article.header_font_face)
      .Add("pixels", article.header_font_pixels)
      .AddRaw("lines", lines.Finish());
}

JsonObject DescribeToolbar(const port::ShownArticle& article) {
  JsonList buttons;
  for (const port::ToolbarButton& button : article.toolbar) {
    if (button.command == 0) {
      buttons.Add(JsonObject().Add("separator", true));
      continue;
    }
    buttons.Add(JsonObject()
                    .Add("command", button.command)
                    .Add("image", button.image)
                    .Add("tooltip", button.tooltip));
  }
  return JsonObject().AddRaw("buttons", buttons.Finish());
}

}  // namespace quillet
