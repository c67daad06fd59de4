// SPDX-License-Identifier: GPL-3.0-or-later
// The forms that only tests have: a control of every kind, and two pages of a sheet.
#pragma once

#include <span>

#include "res/dialog_templates.h"
#include "tests/forms/ids.h"

namespace quillet {

std::span<const DialogTemplate> TestTemplates();

}  // namespace quillet
