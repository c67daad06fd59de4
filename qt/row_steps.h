// SPDX-License-Identifier: GPL-3.0-or-later
// What lists and trees have in common on the keyboard.
#pragma once

class QAbstractItemView;
class QKeyEvent;

namespace quillet::qt {

// While nothing is selected, the first step up or down selects the row that has the focus instead
// of going past it, and so does a leap to an end where the focus is; true when it did.
bool FirstStepSelects(QAbstractItemView& view, const QKeyEvent& event);

}  // namespace quillet::qt
