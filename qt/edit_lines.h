// SPDX-License-Identifier: GPL-3.0-or-later
// Texts and places of a multi-line edit as the program counts them: a line end is CR LF, two units.
// The toolkit ends a line with one character. Display thread only.
#pragma once

#include <QPlainTextEdit>
#include <QString>
#include <QStringView>
#include <string>

#include "port/dialogs.h"

namespace quillet::qt {

// The text as an edit takes it: a line feed at the end of every line, whether it had CR LF, LF, CR
// or a line or paragraph separator; two units that the toolkit keeps for itself become replacement
// characters. All others stay, NUL and lone surrogates too.
QString LinesForEdit(QStringView text);

std::u16string ReadLines(const QPlainTextEdit& edit);
// Unchanged, the caret at the beginning.
void WriteLines(QPlainTextEdit& edit, const std::u16string& text);

port::TextState ReadState(const QPlainTextEdit& edit);
void WriteState(QPlainTextEdit& edit, const port::TextState& state);

}  // namespace quillet::qt
