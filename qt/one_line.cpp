#include "qt/one_line.h"

#include <QTextDocument>

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

QString PlainToolTip(const QString& text) {
  return text.isEmpty() ? QString() : Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal);
}

}  // namespace quillet::qt
