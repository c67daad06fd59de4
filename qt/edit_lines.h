// Texts and places of a multi-line edit as the program counts them: a line end is CR LF, two units.
// The toolkit ends a line with one character. Display thread only.
#pragma once

#include <QPlainTextEdit>
#include <string>

#include "port/dialogs.h"

namespace quillet::qt {

std::u16string ReadLines(const QPlainTextEdit& edit);
// Unchanged, the caret at the beginning.
void WriteLines(QPlainTextEdit& edit, const std::u16string& text);

port::TextState ReadState(const QPlainTextEdit& edit);
void WriteState(QPlainTextEdit& edit, const port::TextState& state);

}  // namespace quillet::qt
