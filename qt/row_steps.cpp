// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/row_steps.h"

#include <QAbstractItemView>
#include <QKeyEvent>

namespace quillet::qt {
namespace {

// Home and Page Up in the first row, End and Page Down in the only one, end where the focus is: the
// view then moves nothing and leaves the row unselected, so they do not count as a first step.
bool LeadsNowhere(const QModelIndex& current, int key) {
  if (current.parent().isValid()) return false;
  const bool back = key == Qt::Key_Home || key == Qt::Key_PageUp;
  const bool forth = key == Qt::Key_End || key == Qt::Key_PageDown;
  return (back && current.row() == 0) || (forth && current.model()->rowCount() == 1);
}

}  // namespace

bool FirstStepSelects(QAbstractItemView& view, const QKeyEvent& event) {
  const bool plain = (event.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
  const bool step = event.key() == Qt::Key_Down || event.key() == Qt::Key_Up;
  const QModelIndex current = view.currentIndex();
  if (!plain || !current.isValid() || view.selectionModel()->hasSelection()) return false;
  if (!step && !LeadsNowhere(current, event.key())) return false;
  view.selectionModel()->select(current,
                                QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  return true;
}

}  // namespace quillet::qt
