// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/form_table.h"

#include <algorithm>
#include <vector>

namespace quillet::qt {
namespace {

std::vector<std::span<const FormEntry>>& Tables() {
  static std::vector<std::span<const FormEntry>> tables{ProductForms()};
  return tables;
}

}  // namespace

void AddForms(std::span<const FormEntry> more) {
  Tables().push_back(more);
}

const FormEntry* FindForm(std::uint32_t id) {
  for (const std::span<const FormEntry> table : Tables()) {
    const auto found = std::ranges::find(table, id, &FormEntry::id);
    if (found != table.end()) return &*found;
  }
  return nullptr;
}

}  // namespace quillet::qt
