// SPDX-License-Identifier: GPL-3.0-or-later
// What somebody who has nothing to read yet does next. Pure.
#pragma once

#include <cstdint>
#include <vector>

#include "base/prefs.h"
#include "port/list_view.h"

namespace quillet {

// The way to the first article, what is done of it ticked: a news server, a newsgroup, a
// connection. None once articles are stored; the connection is done then.
std::vector<port::GuideStep> GuideSteps(const Prefs& prefs, std::uint64_t stored_articles);

}  // namespace quillet
