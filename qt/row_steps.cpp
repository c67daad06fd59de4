#include "qt/row_steps.h"

#include <QAbstractItemView>
#include <QKeyEvent>

namespace quillet::qt {
namespace {

// A leap that would end where the focus is already moves nothing, and so selects nothing.
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
