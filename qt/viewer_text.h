// SPDX-License-Identifier: GPL-3.0-or-later
// The program's HTML fragments and texts in the form that the toolkit shows well.
#pragma once

#include <QString>

namespace quillet::qt {

// The fragment as a page: its blanks count, every line is a paragraph of its own (the toolkit lays
// out paragraph by paragraph, so a long article appears at once), link targets survive to the
// character, and very long words may be broken (they would take a time that grows with the square
// of their length). What is longer than the toolkit can lay out, 2.4 million characters with a line
// end counting eight, ends with a notice, which tells when all hits of a search lie behind it;
// below it stand the links to the attachments.
QString PageOf(const QString& fragment);
// The same for a text that is shown as it stands.
QString TextPageOf(const QString& text);

// A text copied from a page, without the break marks; those of the article itself stay.
QString WithoutBreakMarks(QString text);

}  // namespace quillet::qt
