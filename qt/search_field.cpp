// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/search_field.h"

#include <QKeyEvent>
#include <QLineEdit>

#include "qt/form_list.h"

namespace quillet::qt {
namespace {

// The field's child.
class LeadsDown final : public QObject {
 public:
  LeadsDown(QLineEdit& field, FormList& list) : QObject(&field), list_(list) {
    field.installEventFilter(this);
  }

  bool eventFilter(QObject* /*watched*/, QEvent* event) override {
    if (event->type() != QEvent::KeyPress) return false;
    const auto& key = static_cast<const QKeyEvent&>(*event);
    const bool plain = (key.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    if (key.key() != Qt::Key_Down || !plain || list_.topLevelItemCount() == 0) return false;
    if (list_.SelectedRow() < 0) list_.SelectRow(0);
    list_.setFocus();
    return true;
  }

 private:
  FormList& list_;
};

}  // namespace

void LeadDownFromSearchFields(const QWidget& form) {
  for (QLineEdit* field : form.findChildren<QLineEdit*>()) {
    const QVariant list_id = field->property("searches");
    if (!list_id.isValid()) continue;
    for (QTreeWidget* list : form.findChildren<QTreeWidget*>()) {
      if (list->property("controlId") != list_id) continue;
      new LeadsDown(*field, dynamic_cast<FormList&>(*list));
    }
  }
}

}  // namespace quillet::qt
