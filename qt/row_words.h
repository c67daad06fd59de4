// SPDX-License-Identifier: GPL-3.0-or-later
// What readers of the screen say for the figures of rows and bars.
#pragma once

#include <QString>
#include <QStringView>
#include <optional>

namespace quillet::qt {

// "2/3" at the start of a text, before a blank or the end.
struct RowCounts {
  QString first;   // digits
  QString second;  // digits
  QStringView rest;
};
std::optional<RowCounts> CountsAtStart(QStringView text);

// "2/3" as "2 unread of 3 articles"; other texts unchanged.
QString CountsInWords(QStringView counts);

// The row of a thread or an article: its text, whether it is unread, how many answers stand below
// it (for a thread: articles) and how deep it stands, the threads being level 1.
struct ThreadRowWords {
  QString text;
  bool unread = false;
  int below = 0;
  int level = 1;
};
QString ThreadRowInWords(const ThreadRowWords& row);

// "Thread 1/2" as "Thread 1 of 2"; other texts unchanged.
QString PositionInWords(const QString& position);

}  // namespace quillet::qt
