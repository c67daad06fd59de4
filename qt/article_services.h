// SPDX-License-Identifier: GPL-3.0-or-later
// The article panes service on the toolkit.
#pragma once

#include <memory>

#include "port/article_panes.h"
#include "qt/display.h"

namespace quillet::qt {

// The display must outlive it.
std::unique_ptr<port::ArticlePanes> NewArticlePanes(Display& display);

}  // namespace quillet::qt
