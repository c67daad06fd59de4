// SPDX-License-Identifier: GPL-3.0-or-later
// Texts of boxes and labels as they are shown. What servers say comes with its line ends, wherever
// in a text it stands: they make no empty lines and no line with a lone quotation mark. Any thread.
#pragma once

#include <QString>

namespace quillet::qt {

// With line feeds alone, and none at the end.
QString WithoutLastLineEnd(QString text);

// The same for the text of a box. A line end before the quotation mark that closes a server's words
// goes behind what belongs to them, and so does an empty line behind a server's answer. Other empty
// lines part paragraphs and stay.
QString BoxText(QString text);

}  // namespace quillet::qt
