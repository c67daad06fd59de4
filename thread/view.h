// SPDX-License-Identifier: GPL-3.0-or-later
// The thread view: the tree of the current group with its caption line.
// Program thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "port/tree_view.h"
#include "thread/reading.h"

namespace quillet {

// Builds the tree of a group under the runner ("Threading..." or "Building article list...") and
// shows it; the current article is found again in the new tree by its Message-ID. That of another
// group is cleared. After an abort what was read is shown, and a rebuild is pending.
void BuildThreadList(GroupIndex group, std::uint32_t total_count);
// Shows the current group in the thread tab: built when another group was chosen or a rebuild is
// pending, otherwise with its labels brought up to date. Selects the current article's item.
void ShowThreadView();

// Deletes all items, frees the current tree; the caption tells that there is nothing. The current
// article loses its node, and is cleared when it belonged to the tree.
void ClearThreadView();
// The tree gets the font of the preferences when it is shown next; what is expanded and selected
// stays.
void ForgetThreadFont();

// Tells the tree which columns and letters the extensions want now.
void ShowTreeTraits();

// "%s: %lu on server" or the group's name alone.
std::u16string ThreadCaption(GroupIndex group);
// The caption of what is shown now.
void ShowThreadCaption();

// Whether the group list has such a group.
bool IsInList(std::optional<GroupIndex> group);
// The group whose tree is shown.
std::optional<GroupIndex> GroupOfShownTree();

// The node of an item of the shown tree, or null.
Node* NodeOfItem(port::TreeItem item);
// The selected node; null when nothing is selected or no tree is shown.
Node* SelectedNode();
void SelectNode(const Node& node);

}  // namespace quillet
