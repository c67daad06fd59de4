// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/row_words.h"

#include <QStringList>

#include <algorithm>

namespace quillet::qt {
namespace {

bool IsNumber(QStringView text) {
  return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](QChar c) {
    return c.unicode() >= '0' && c.unicode() <= '9';
  });
}

QString Counted(const QString& number, const QString& word) {
  return number + QLatin1Char(' ') + word +
         (number == QLatin1String("1") ? QString() : QStringLiteral("s"));
}

QString UnreadOf(const RowCounts& counts) {
  return counts.first + QStringLiteral(" unread of ") +
         Counted(counts.second, QStringLiteral("article"));
}

}  // namespace

std::optional<RowCounts> CountsAtStart(QStringView text) {
  const qsizetype blank = text.indexOf(QLatin1Char(' '));
  const QStringView counts = blank < 0 ? text : text.first(blank);
  const qsizetype slash = counts.indexOf(QLatin1Char('/'));
  if (slash < 0) return std::nullopt;
  const QStringView first = counts.first(slash), second = counts.sliced(slash + 1);
  if (!IsNumber(first) || !IsNumber(second)) return std::nullopt;
  return RowCounts{first.toString(), second.toString(),
                   blank < 0 ? QStringView() : text.sliced(blank + 1)};
}

QString CountsInWords(QStringView counts) {
  const auto found = CountsAtStart(counts);
  return found && found->rest.isEmpty() ? UnreadOf(*found) : counts.toString();
}

QString ThreadRowInWords(const ThreadRowWords& row) {
  const bool is_thread = row.level == 1;
  const auto counts = is_thread ? CountsAtStart(row.text) : std::nullopt;
  QStringList words{counts ? counts->rest.toString() : row.text};
  if (counts) {
    words << UnreadOf(*counts);
  } else {
    if (row.unread) words << QStringLiteral("unread");
    const QString kind = is_thread ? QStringLiteral("article") : QStringLiteral("answer");
    words << (row.below == 0 ? QStringLiteral("no answers")
                             : Counted(QString::number(row.below), kind));
  }
  words << QStringLiteral("level %1").arg(row.level);
  return words.join(QStringLiteral(", "));
}

QString PositionInWords(const QString& position) {
  const qsizetype blank = position.lastIndexOf(QLatin1Char(' '));
  const auto counts = CountsAtStart(QStringView(position).sliced(blank + 1));
  if (!counts) return position;
  return position.first(blank + 1) + counts->first + QStringLiteral(" of ") + counts->second;
}

}  // namespace quillet::qt
