// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/box_text.h"

#include <QRegularExpression>

namespace quillet::qt {

QString WithoutLastLineEnd(QString text) {
  text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
  text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
  while (text.endsWith(QLatin1Char('\n'))) text.chop(1);
  return text;
}

QString BoxText(QString text) {
  // "('411 no such group\n')next: ..." and "'481 no\n'.\nnext"
  static const QRegularExpression kClosed(QStringLiteral("\n+('[).]*)\n*"));
  // "rejected by server: 441 no\n\nnext"
  static const QRegularExpression kAnswer(QStringLiteral("(: [1-5][0-9]{2} [^\n]*)\n\n+"));
  text = WithoutLastLineEnd(std::move(text));
  text.replace(kClosed, QStringLiteral("\\1\n"));
  text.replace(kAnswer, QStringLiteral("\\1\n"));
  return WithoutLastLineEnd(std::move(text));
}

}  // namespace quillet::qt
