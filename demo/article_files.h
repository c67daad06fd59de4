// SPDX-License-Identifier: GPL-3.0-or-later
// Fills the store: from a folder of articles, or with generated ones.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "demo/news_store.h"

namespace quillet::demo {

// A folder holds "groups" (lines "name<blank>description") and articles "*.article", which are
// filed in the order of their names. False, with a reason in `problem`, when something cannot be
// read, is no article, or names no group of the list.
bool LoadArticles(const std::string& folder, NewsStore& store, std::string& problem);

// The groups of generated articles when none are named.
const std::vector<std::string>& GeneratedGroups();
void FillWithGenerated(std::uint64_t count, std::uint64_t seed,
                       const std::vector<std::string>& groups, NewsStore& store);

}  // namespace quillet::demo
