#include "qt/row_steps.h"

#include <QAbstractItemView>
#include <QKeyEvent>

namespace quillet::qt {

bool FirstStepSelects(QAbstractItemView& view, const QKeyEvent& event) {
  const bool plain = (event.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
  const bool step = event.key() == Qt::Key_Down || event.key() == Qt::Key_Up;
  const QModelIndex current = view.currentIndex();
  if (!plain || !step || !current.isValid() || view.selectionModel()->hasSelection()) return false;
  view.selectionModel()->select(current,
                                QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  return true;
}

}  // namespace quillet::qt
