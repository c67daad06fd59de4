// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/relative_date.h"

#include <QTimeZone>
#include <algorithm>
#include <array>

namespace quillet::qt {
namespace {

constexpr port::Seconds kLastMoment = 253402300800;  // 1 January 10000
constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

}  // namespace

QString RelativeDate(port::Seconds seconds, const QDateTime& now) {
  if (seconds < -kLastMoment || seconds >= kLastMoment) return {};
  const QDateTime moment = QDateTime::fromSecsSinceEpoch(seconds).toTimeZone(now.timeZone());
  const QDate day = moment.date();
  const QString time = moment.time().toString(QStringLiteral("HH:mm"));
  if (day == now.date()) return QStringLiteral("today ") + time;
  if (day == now.date().addDays(-1)) return QStringLiteral("yesterday ") + time;
  const QString date = QStringLiteral("%1 %2").arg(day.day()).arg(
      QLatin1String(kMonths[static_cast<std::size_t>(day.month() - 1)]));
  return day.year() == now.date().year() ? date : date + QStringLiteral(" %1").arg(day.year());
}

qint64 MillisecondsToMidnight(const QDateTime& now) {
  const QDateTime midnight = now.date().addDays(1).startOfDay(now.timeZone());
  return std::max<qint64>(now.msecsTo(midnight), 1000);
}

}  // namespace quillet::qt
