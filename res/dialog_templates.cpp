// SPDX-License-Identifier: GPL-3.0-or-later
#include "res/dialog_templates.h"

#include <algorithm>
#include <vector>

namespace quillet {
namespace {

std::vector<std::span<const DialogTemplate>>& Tables() {
  static std::vector<std::span<const DialogTemplate>> tables{ProductTemplates()};
  return tables;
}

}  // namespace

void AddDialogTemplates(std::span<const DialogTemplate> more) {
  Tables().push_back(more);
}

const DialogTemplate* FindDialogTemplate(std::uint32_t id) {
  for (const std::span<const DialogTemplate> table : Tables()) {
    const auto found = std::ranges::find(table, id, &DialogTemplate::id);
    if (found != table.end()) return &*found;
  }
  return nullptr;
}

}  // namespace quillet
