// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/edit_lines.h"

#include <QSignalBlocker>
#include <QTextBlock>
#include <algorithm>

#include "qt/text.h"

namespace quillet::qt {
namespace {

// Where the toolkit's frames begin and end in the raw text.
constexpr QChar kFrameBegin(0xFDD0);
constexpr QChar kFrameEnd(0xFDD1);

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

QString LinesForEdit(QStringView text) {
  QString lines;
  lines.reserve(text.size());
  for (qsizetype i = 0; i < text.size(); ++i) {
    const QChar unit = text[i];
    if (unit == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') continue;
    const bool own = unit == kFrameBegin || unit == kFrameEnd;
    lines += unit == u'\r' || EndsLine(unit) ? QChar(u'\n') : own ? QChar(u'\uFFFD') : unit;
  }
  return lines;
}

// Line by line: long texts are read while the user types.
std::u16string ReadLines(const QPlainTextEdit& edit) {
  const QString raw = RawText(edit);
  std::u16string text;
  text.reserve(static_cast<std::size_t>(raw.size() + edit.document()->blockCount()));
  auto line = raw.begin();
  for (;;) {
    const auto end = std::find_if(line, raw.end(), EndsLine);
    const auto* units = reinterpret_cast<const char16_t*>(line);
    text.append(units, static_cast<std::size_t>(end - line));
    if (end == raw.end()) return text;
    text += u"\r\n";
    line = end + 1;
  }
}

void WriteLines(QPlainTextEdit& edit, const std::u16string& text) {
  const QSignalBlocker quiet(edit);
  edit.setPlainText(LinesForEdit(ToQt(text)));
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
