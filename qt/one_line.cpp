// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/one_line.h"

#include <QTextDocument>
#include <algorithm>

namespace quillet::qt {
namespace {

constexpr qsizetype kLongest = 1000;

// Explicit marks, embeddings, overrides and isolates: they could show counts the other way round.
bool TurnsText(char16_t c) {
  return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
         (c >= 0x2066 && c <= 0x2069);
}

bool IsControl(char16_t c) {
  return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x2028 || c == 0x2029;
}

bool RunsToTheLeft(char32_t c) {
  const QChar::Direction direction = QChar::direction(c);
  return direction == QChar::DirR || direction == QChar::DirAL || direction == QChar::DirAN;
}

}  // namespace

QString OneLine(QStringView text) {
  const bool cut = text.size() > kLongest;
  QString line = text.first(cut ? kLongest : text.size()).toString();
  if (cut && line.back().isHighSurrogate()) line.chop(1);
  for (QChar& c : line) {
    if (TurnsText(c.unicode())) c = QChar::ReplacementCharacter;
    if (IsControl(c.unicode())) c = QLatin1Char(' ');
  }
  if (cut) line += QChar(0x2026);
  return line;
}

QString Isolated(QStringView text) {
  constexpr QChar kFirstStrongIsolate(0x2068), kPopIsolate(0x2069);
  const QList<uint> characters = text.toUcs4();
  if (!std::any_of(characters.begin(), characters.end(), RunsToTheLeft)) return text.toString();
  return kFirstStrongIsolate + text.toString() + kPopIsolate;
}

QString PlainToolTip(const QString& text) {
  return text.isEmpty() ? QString() : Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal);
}

}  // namespace quillet::qt
