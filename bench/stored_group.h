// SPDX-License-Identifier: GPL-3.0-or-later
// A group of articles in the store.
#pragma once

#include <string_view>
#include <vector>

#include "tests/thread/tree_reference.h"

namespace quillet {

// The same articles, but of three in ten the subjects, and of three in ten the authors, are no
// ASCII and written in encoded words. Who had one subject still has one.
std::vector<testing::TestArticle> InOtherLanguages(std::vector<testing::TestArticle> articles);

// How three in ten bodies are written, as many each: in quoted-printable, base64 and plain UTF-8.
enum class Bodies { kAscii, kMixed };

// Stores the articles with texts of 0.4 to 2.8 kB. Ends the benchmark when one cannot be stored.
void StoreGroup(std::u16string_view group, const std::vector<testing::TestArticle>& newest_first,
                Bodies bodies = Bodies::kAscii);

}  // namespace quillet
