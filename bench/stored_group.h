// A group of articles in the store.
#pragma once

#include <string_view>
#include <vector>

#include "tests/thread/tree_reference.h"

namespace quillet {

// Stores the articles with texts of 0.4 to 2.8 kB. Ends the benchmark when one cannot be stored.
void StoreGroup(std::u16string_view group, const std::vector<testing::TestArticle>& newest_first);

}  // namespace quillet
