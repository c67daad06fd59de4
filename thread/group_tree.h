// SPDX-License-Identifier: GPL-3.0-or-later
// Building a group's thread tree from its chain in the store. Program thread only.
#pragma once

#include <memory>
#include <string_view>

#include "base/run_end.h"
#include "thread/builder.h"

namespace quillet {

struct BuiltTree {
  std::unique_ptr<ThreadTree> tree;  // never null but after a critical report
  // False when the build was ended, and when the store was closed or failed: the counts then tell
  // nothing.
  bool complete = false;
  // What ended the build before its time: an abort, or memory that ran out (reported).
  RunEnd end = RunEnd::kGoOn;
};

// Reads the group's chain from newest to oldest and builds by `usethreading` and `reversethread`.
// Chain records whose article is missing are removed (not while the databases are closed or have
// failed: then nothing can be known to be missing). Aborts when AbortRequested.
BuiltTree BuildNodeTree(std::u16string_view group_name, const BuildProgress& progress = {});

}  // namespace quillet
