// SPDX-License-Identifier: GPL-3.0-or-later
// The rows of the shown thread tree together with the nodes that they stand for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "port/fake/fake_display.h"
#include "script/json.h"
#include "store/node.h"

namespace quillet {

// What a row does not tell of its node. 8-bit texts are widened.
struct NodeFacts {
  NodeKind kind = NodeKind::kRoot;
  std::u16string message_id;
  std::u16string subject;
  std::u16string from;
  std::u16string source;
  std::int32_t number = 0;
  std::uint32_t chain = 0;
  bool read = false;
  std::uint32_t total = 0;  // articles: the node's own included
  std::uint32_t unread = 0;
};
using NodesByItem = std::unordered_map<port::TreeItem, NodeFacts>;

// Program thread; empty while no tree is shown.
NodesByItem NodesOfShownTree();
// The item of the article with that Message-ID, 0 when there is none. Program thread.
port::TreeItem ItemOfMessageId(std::string_view message_id);

// The item at a path of 1-based child numbers ("2.1.3"); 0 when there is none.
port::TreeItem ItemAtPath(const port::ShownTree& tree, std::u16string_view path);
// The path of an item, empty when it is not there.
std::string PathOfItem(const port::ShownTree& tree, port::TreeItem item);

std::string_view ScrollStepName(port::ScrollStep step);
JsonObject DescribeTree(const port::ShownTree& tree, const NodesByItem& nodes);
JsonObject DescribeViewer(const port::ShownArticle& article);
JsonObject DescribeHeader(const port::ShownArticle& article);
JsonObject DescribeToolbar(const port::ShownArticle& article);

}  // namespace quillet
