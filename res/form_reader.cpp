// SPDX-License-Identifier: GPL-3.0-or-later
// Reads a form with a stream reader: the tree of widgets becomes a flat list in the order of the
// file, layouts and their items are only passed through.
#include "res/form_reader.h"

#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

namespace quillet {
namespace {

struct Property {
  QString name;
  QString value;
};

Property ReadProperty(QXmlStreamReader& xml) {
  const QString name = xml.attributes().value(QLatin1String("name")).toString();
  return {name, xml.readElementText(QXmlStreamReader::IncludeChildElements).trimmed()};
}

void SetOfForm(Form& form, const Property& property) {
  if (property.name == QLatin1String("dialogId")) form.id = property.value.toUInt();
  if (property.name == QLatin1String("windowTitle")) form.caption = property.value;
}

void SetOfControl(FormControl& control, const Property& property) {
  const auto& [name, value] = property;
  const bool on = value == QLatin1String("true");
  if (name == QLatin1String("controlId")) control.id = value.toUInt();
  if (name == QLatin1String("text") || name == QLatin1String("title")) control.text = value;
  if (name == QLatin1String("accessibleName")) control.accessible_name = value;
  if (name == QLatin1String("editable")) control.editable = on;
  if (name == QLatin1String("checkBoxes")) control.check_boxes = on;
  if (name == QLatin1String("autoDefault")) control.never_default = !on;
  if (name == QLatin1String("tapOpens")) control.tap_opens = on;
  if (name == QLatin1String("echoMode")) {
    control.password = value.endsWith(QLatin1String("Password"));
  }
}

void ReadCustomWidget(QXmlStreamReader& xml, Form& form) {
  QString widget_class;
  while (xml.readNextStartElement()) {
    const bool is_class = xml.name() == QLatin1String("class");
    const bool is_base = xml.name() == QLatin1String("extends");
    const QString text = xml.readElementText(QXmlStreamReader::IncludeChildElements);
    if (is_class) widget_class = text;
    if (is_base) form.extends[widget_class] = text;
  }
}

FormControl NewControl(const QString& widget_class, int container) {
  FormControl control;
  control.widget_class = widget_class;
  control.container = container;
  return control;
}

// `depth` 0 is the dialog itself, deeper widgets are its controls.
void ReadWidget(QXmlStreamReader& xml, Form& form, int depth, int container) {
  const QString widget_class = xml.attributes().value(QLatin1String("class")).toString();
  const qsizetype own = form.controls.size();
  if (depth == 0) form.root_class = widget_class;
  if (depth > 0) form.controls.append(NewControl(widget_class, container));
  int open = 1;
  while (open > 0 && !xml.atEnd()) {
    const QXmlStreamReader::TokenType token = xml.readNext();
    if (token == QXmlStreamReader::EndElement) --open;
    if (token != QXmlStreamReader::StartElement) continue;
    if (xml.name() == QLatin1String("widget")) {
      ReadWidget(xml, form, depth + 1, depth == 0 ? 0 : static_cast<int>(own) + 1);
    } else if (xml.name() == QLatin1String("column") || xml.name() == QLatin1String("attribute")) {
      xml.skipCurrentElement();  // headings of a list: their texts are none of the control
    } else if (xml.name() != QLatin1String("property")) {
      ++open;
    } else if (depth == 0) {
      SetOfForm(form, ReadProperty(xml));
    } else {
      SetOfControl(form.controls[own], ReadProperty(xml));
    }
  }
}

void ReadPart(QXmlStreamReader& xml, Form& form) {
  if (xml.name() == QLatin1String("widget")) {
    ReadWidget(xml, form, 0, 0);
  } else if (xml.name() == QLatin1String("class")) {
    form.class_name = xml.readElementText().trimmed();
  } else if (xml.name() == QLatin1String("customwidgets")) {
    while (xml.readNextStartElement()) ReadCustomWidget(xml, form);
  } else {
    xml.skipCurrentElement();
  }
}

}  // namespace

QString Form::BaseClassOf(const FormControl& control) const {
  return extends.value(control.widget_class, control.widget_class);
}

QString ReadForm(const QString& path, Form& form) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return path + QStringLiteral(": cannot be read");
  form.file = QFileInfo(path).completeBaseName();
  QXmlStreamReader xml(&file);
  xml.readNextStartElement();  // <ui>
  while (xml.readNextStartElement()) ReadPart(xml, form);
  if (xml.hasError()) return path + QStringLiteral(": ") + xml.errorString();
  if (form.id == 0) return path + QStringLiteral(": no dialogId");
  return {};
}

}  // namespace quillet
