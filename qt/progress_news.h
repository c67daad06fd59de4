// SPDX-License-Identifier: GPL-3.0-or-later
// What the dialog of a long operation tells readers of the screen: all that has changed, no more
// than once a second. Display thread only.
#pragma once

#include <QAccessible>
#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <vector>

namespace quillet::qt {

class ProgressNews final : public QObject {
 public:
  // Whether that is news of such a dialog, which is told together with other news in a moment.
  static bool Takes(QWidget& widget, const QAccessibleEvent& event);

 private:
  explicit ProgressNews(QWidget& dialog);
  void Note(QWidget& widget);
  void Tell();
  // Title, part done and status as one sentence.
  QString InWords() const;

  QWidget& dialog_;
  QTimer timer_;
  QElapsedTimer told_;
  bool telling_ = false;
  std::vector<QPointer<QWidget>> changed_;
};

}  // namespace quillet::qt
