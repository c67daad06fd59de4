// SPDX-License-Identifier: GPL-3.0-or-later
// Subject nodes: the threads of a tree gathered by subject. For the builder only.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "thread/builder.h"

namespace quillet {

// An article of the top level, in the order of their list.
struct Thread {
  Node* top = nullptr;
  std::string_view subject;  // what SubjectsMatch compares of its subject
  std::uint64_t hash = 0;    // SubjectHash of that
  std::size_t next = 0;      // the next one of its subject; 0: none
  std::size_t last = 0;      // of a subject's first one: the last one so far
  bool gathered = false;
};

// Of what SubjectsMatch compares of a subject.
std::uint64_t SubjectHash(std::string_view compared);

// Makes the root's list: a subject node for every thread, with `merge` one for all threads of one
// subject, in order of first appearance, its threads in their order. After an abort no more are
// merged. False when memory ran out (reported); may throw std::bad_alloc.
bool GatherThreads(ThreadTree& tree, std::vector<Thread>& threads, bool merge,
                   const BuildProgress& progress, const BuildAborted& aborted);

}  // namespace quillet
