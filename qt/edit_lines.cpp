#include "qt/edit_lines.h"

#include <QSignalBlocker>
#include <QTextBlock>
#include <algorithm>

#include "qt/text.h"

namespace quillet::qt {
namespace {

bool EndsLine(QChar unit) {
  return unit == QChar::ParagraphSeparator || unit == QChar::LineSeparator;
}

// Not the plain text: that has blanks for non-breaking ones.
QString RawText(const QPlainTextEdit& edit) {
  return edit.document()->toRawText();
}

std::size_t UnitsBefore(const QString& raw, int place) {
  const auto end = raw.begin() + std::min<qsizetype>(place, raw.size());
  return static_cast<std::size_t>(end - raw.begin() + std::count_if(raw.begin(), end, EndsLine));
}

// The place with at most that many units before it.
int PlaceAt(const QString& raw, std::size_t units) {
  std::size_t before = 0;
  int place = 0;
  for (const QChar unit : raw) {
    before += EndsLine(unit) ? 2 : 1;
    if (before > units) break;
    ++place;
  }
  return place;
}

}  // namespace

std::u16string ReadLines(const QPlainTextEdit& edit) {
  std::u16string text;
  for (const QChar unit : RawText(edit)) {
    if (EndsLine(unit)) {
      text += u"\r\n";
    } else {
      text += unit.unicode();
    }
  }
  return text;
}

void WriteLines(QPlainTextEdit& edit, const std::u16string& text) {
  const QSignalBlocker quiet(edit);
  edit.setPlainText(ToQt(text));
  edit.document()->setModified(false);
}

port::TextState ReadState(const QPlainTextEdit& edit) {
  const QString raw = RawText(edit);
  const QTextCursor cursor = edit.textCursor();
  const std::size_t start = UnitsBefore(raw, cursor.selectionStart());
  return {start, UnitsBefore(raw, cursor.selectionEnd()) - start, edit.document()->isModified()};
}

void WriteState(QPlainTextEdit& edit, const port::TextState& state) {
  const QSignalBlocker quiet(edit);
  const QString raw = RawText(edit);
  const std::size_t length = UnitsBefore(raw, static_cast<int>(raw.size()));
  const std::size_t start = std::min(state.caret, length);
  QTextCursor cursor = edit.textCursor();
  cursor.setPosition(PlaceAt(raw, start));
  cursor.setPosition(PlaceAt(raw, start + std::min(state.selected, length - start)),
                     QTextCursor::KeepAnchor);
  edit.setTextCursor(cursor);
  edit.ensureCursorVisible();
  edit.document()->setModified(state.changed);
}

}  // namespace quillet::qt
