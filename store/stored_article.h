// SPDX-License-Identifier: GPL-3.0-or-later
// Article records as values, for the rest of store/.
#pragma once

#include <memory>
#include <string_view>

#include "store/databases.h"
#include "store/records.h"

namespace quillet {

// Long enough for an article and of a known format.
bool IsArticleValue(std::string_view value);
// ParseArticle without its message about a text that cannot be expanded.
bool ParseArticleSilently(std::string_view value, AsciiArticle& article);
// `key` is a key as stored. Null when absent, unreadable or out of memory.
std::unique_ptr<AsciiArticle> FetchArticleRecord(DatabaseIndex index, std::string_view key);

}  // namespace quillet
