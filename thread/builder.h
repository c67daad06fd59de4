// SPDX-License-Identifier: GPL-3.0-or-later
// Building the thread tree of a group's articles.
//
// The finished tree is the one that linking each article, in the order of reading, into sorted
// lists of siblings would give; it is reached by sorting once, so that no shape of threads makes
// the build grow with the square of the group. Program thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "thread/thread_tree.h"

namespace quillet {

struct ThreadOptions {
  bool usethreading = true;
  bool reversethread = false;
};

// One article as its chain record and its stored record tell it. The texts are copied.
struct ThreadEntry {
  std::string_view messageId;
  std::string_view parentId;
  std::string_view subject;
  std::string_view source;
  std::string_view from;
  std::int32_t articleNumber = 0;
  bool read = false;
  std::uint32_t chainNumber = 0;
  // Its whole References (ReferencesField): the parent is the nearest of those that is there.
  // Empty: parentId alone counts.
  std::string_view references = {};
  std::int64_t date = kNoDate;
};

// Called with the number of units done since the last call; a build of n articles has 3 * n: one
// for each that was read (counted by who reads), and again while late parents are found and threads
// are gathered.
using BuildProgress = std::function<void(std::uint64_t units)>;
using BuildAborted = std::function<bool()>;

// The tree of entries given newest first. Without `aborted` it is never aborted.
class ThreadBuilder {
 public:
  explicit ThreadBuilder(const ThreadOptions& options);
  ~ThreadBuilder();
  ThreadBuilder(const ThreadBuilder&) = delete;
  ThreadBuilder& operator=(const ThreadBuilder&) = delete;

  // False when memory ran out (reported): the build then ends as an aborted one does. More articles
  // are not taken.
  bool Add(const ThreadEntry& entry);
  // Links, merges threads of one subject and sums up. Once aborted, late parents and equal subjects
  // are not looked for any more, but every thread still gets its subject node. Once; null when
  // memory ran out (reported).
  std::unique_ptr<ThreadTree> Finish(const BuildProgress& progress = {},
                                     const BuildAborted& aborted = {});

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quillet
