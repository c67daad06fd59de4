// SPDX-License-Identifier: GPL-3.0-or-later
// A line of text that narrows a list (dynamic property `searches`: the list's control id): Down
// goes into the list, so that no hand leaves the keyboard. Display thread only.
#pragma once

#include <QWidget>

namespace quillet::qt {

// For all such fields of the form, whose lists must stand in it.
void LeadDownFromSearchFields(const QWidget& form);

}  // namespace quillet::qt
