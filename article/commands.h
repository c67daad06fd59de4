// SPDX-License-Identifier: GPL-3.0-or-later
// The commands and keys of the article view: moving, marking, deleting, finding, saving. Program
// thread only.
#pragma once

#include <cstdint>

namespace quillet {

// Commands of the article view; other ids are ignored.
void ArticleCommand(std::uint32_t command);
// Keys released in the article view, but for those that go back one view.
void HandleArticleKey(std::uint32_t virtual_key);

}  // namespace quillet
