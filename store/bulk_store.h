// SPDX-License-Identifier: GPL-3.0-or-later
// Storing many articles in a row. Program thread only.
//
// The library makes its file larger for almost every new article and maps it anew each time, which
// costs as much as the storing itself. While a BulkStore stands, the articles file is made larger
// in steps of many articles: a record of that size is stored and deleted again, and the library
// hands its room out to the next ones. What is left of the last step is used by later articles.
#pragma once

#include <cstddef>

namespace quillet {

// Not nestable.
class BulkStore {
 public:
  BulkStore();
  ~BulkStore();
  BulkStore(const BulkStore&) = delete;
  BulkStore& operator=(const BulkStore&) = delete;
};

// So often the file was made larger by a step since the last BulkStore began.
int GrowthSteps();

// Whether a BulkStore stands.
[[nodiscard]] bool BulkStoring();

// An article of that many bytes, key and value, was stored. Only for store/.
void NoteArticleStored(std::size_t bytes);

}  // namespace quillet
