// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/start_guide.h"

#include "res/resource.h"

namespace quillet {

std::vector<port::GuideStep> GuideSteps(const Prefs& prefs, std::uint64_t stored_articles) {
  if (stored_articles > 0) return {};
  return {{u"1. Tell Quillet your news server", kCommandQuickSetup, prefs.numservers > 0},
          {u"2. Add a newsgroup", kCommandNewGroup, prefs.numgroups > 0},
          {u"3. Connect", kCommandConnect, false}};
}

}  // namespace quillet
