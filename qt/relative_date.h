// SPDX-License-Identifier: GPL-3.0-or-later
// A moment as it is said in a list, seen from now.
#pragma once

#include <QDateTime>
#include <QString>

#include "port/tree_view.h"

namespace quillet::qt {

// "today 14:05", "yesterday 14:05", "3 Nov" of this year and "3 Nov 2025" of any other, by the time
// zone of `now`; days to come are named too. Empty for kNoDate and beyond the years of calendars.
QString RelativeDate(port::Seconds seconds, const QDateTime& now);

// How long until "today" is another day; at least a second.
qint64 MillisecondsToMidnight(const QDateTime& now);

}  // namespace quillet::qt
