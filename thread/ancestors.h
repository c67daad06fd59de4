// SPDX-License-Identifier: GPL-3.0-or-later
// Whom an article answers: the nearest of its forerunners that the group has. For the builder only.
#pragma once

#include <cstddef>
#include <string_view>

#include "mime/references.h"
#include "thread/thread_tree.h"

namespace quillet {

// Message-IDs from the nearest forerunner to the farthest: those of the References, then the parent
// that is stored of the article. Without References it is that one alone.
class Ancestors {
 public:
  Ancestors(std::string_view references, std::string_view parent_id)
      : ids_(references), parent_id_(parent_id) {}

  std::string_view Next();  // empty: there are no more

 private:
  ReferencedIds ids_;
  std::string_view parent_id_;  // empty: it has been given
};

// References of articles whose parent is still to be found. Whatever is stored, they take a bounded
// part of memory: of one the last 256 KB, of all 64 MB and then the last kilobyte of each. Throws
// std::bad_alloc.
class KeptReferences {
 public:
  // Empty when they name nobody but `parent_id`.
  std::string_view Keep(std::string_view references, std::string_view parent_id);

 private:
  TextBlocks texts_;
};

}  // namespace quillet
