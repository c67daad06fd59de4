// SPDX-License-Identifier: GPL-3.0-or-later
// How well two colours are told apart. Pure.
#pragma once

#include <QColor>

namespace quillet::qt {

// From 1 (the same) to 21 (black and white), as the guidelines for accessible pages count.
double Contrast(const QColor& one, const QColor& other);

}  // namespace quillet::qt
