// SPDX-License-Identifier: GPL-3.0-or-later
// What the preferences hold of the server that is in use. Program thread only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/prefs.h"

namespace quillet {

// Its entry in one of the lists of servers; empty or 0 when there is none.
template <class T>
T OfSelectedServer(const std::vector<T>& list) {
  return gPrefs->selectedserver < list.size() ? list[gPrefs->selectedserver] : T();
}

}  // namespace quillet
