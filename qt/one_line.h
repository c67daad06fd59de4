// SPDX-License-Identifier: GPL-3.0-or-later
// Texts of servers and users as one line of a row or label.
#pragma once

#include <QString>
#include <QStringView>

namespace quillet::qt {

// The text as it is drawn on one line: control characters and line ends become blanks, characters
// that would turn the direction of the text become replacement characters. No more than 1,000
// characters, then an ellipsis: laying out the rest would take time and never be seen.
QString OneLine(QStringView text);

// The text for a place in a line of other text: what is written from right to left keeps its own
// direction and leaves that of its neighbours alone. Unchanged where nothing is.
QString Isolated(QStringView text);

// A tool tip that shows the text as it stands, whatever looks like mark-up in it; empty for none.
QString PlainToolTip(const QString& text);

}  // namespace quillet::qt
