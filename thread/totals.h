// SPDX-License-Identifier: GPL-3.0-or-later
// Counts of the tree after changes of many articles. Program thread only.
#pragma once

#include "store/node.h"

namespace quillet {

// Makes the counts of the node and of everything below it anew from the articles' read flags, and
// brings the nodes above it in step. Linear in the size of the subtree, whatever its shape.
void SumUp(Node& top);

}  // namespace quillet
