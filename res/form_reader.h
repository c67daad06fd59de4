// SPDX-License-Identifier: GPL-3.0-or-later
// Build-time tool: what it reads of a dialog form (.ui).
#pragma once

#include <QHash>
#include <QList>
#include <QString>

namespace quillet {

struct FormControl {
  QString widget_class;
  unsigned id = 0;  // 0: a widget without a control id
  QString text;     // of a group box its title
  QString accessible_name;
  int container = 0;         // the widget it lies in: 0 the form, else 1 + its index in the list
  bool editable = false;     // a combo box that takes any text
  bool check_boxes = false;  // a list whose rows have boxes
  bool password = false;
  bool never_default = false;  // a button that Enter does not press
  bool tap_opens = false;      // a list in which a tap on the row tapped before opens it
};

struct Form {
  QString file;        // name without folder and suffix
  QString class_name;  // of the generated widget code
  QString root_class;  // QDialog, or QWidget for a page of a sheet
  unsigned id = 0;     // resource id
  QString caption;
  QList<FormControl> controls;      // in the order of the file
  QHash<QString, QString> extends;  // custom widget class -> the class it extends

  // The toolkit's own class of that control.
  QString BaseClassOf(const FormControl& control) const;
};

// What is wrong with the file, beginning with its path; empty when all is well.
QString ReadForm(const QString& path, Form& form);

}  // namespace quillet
