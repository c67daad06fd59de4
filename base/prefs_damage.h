// SPDX-License-Identifier: GPL-3.0-or-later
// Settings that are stored but cannot be taken as they stand: nothing of them is lost. Before such
// a registry is first written over, all its values are copied to a key beside it,
// "Software\Brindle\Quillet damaged 1" or the next free number. Program thread only.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/prefs.h"
#include "port/registry.h"

namespace quillet {

// Whether the next write has to copy the stored settings first.
void SetSettingsAtRisk(bool at_risk);

// Copies the stored settings when they are at risk; false when that could not be done, and then
// nothing may be written.
bool KeepSettingsAtRisk(port::RegistryKey& key);

// The stored count of a list, limited so that memory can be taken for that many entries. A count of
// up to 65,536 is believed, however few strings the list has; a larger one is cut to the strings
// that are there.
std::uint32_t CountThatCanBe(port::RegistryKey& key, std::u16string_view list,
                             std::uint32_t stored);

// Cuts the counts of the record to what can be, and the killfile's to the texts really there.
// Returns what was impossible, for the user ("numgroups is 4294967295"), empty when nothing was.
std::u16string LimitCounts(port::RegistryKey& key, Prefs& prefs);

}  // namespace quillet
