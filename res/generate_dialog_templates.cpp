// Build-time tool: turns the .ui forms into the tables of res/dialog_templates.h.
// Usage: generate_dialog_templates OUTPUT.cpp FORM.ui...
#include <QFile>
#include <QHash>
#include <QList>
#include <QString>
#include <QTextStream>
#include <QXmlStreamReader>
#include <algorithm>
#include <cstdio>

namespace {

struct Control {
  QString widget_class;
  unsigned id = 0;
  QString text;
  QString accessible_name;
};

struct Form {
  unsigned id = 0;
  QString caption;
  QList<Control> controls;
  QHash<QString, QString> extends;  // custom widget class -> the class it extends
};

void ReadProperty(QXmlStreamReader& xml, Form& form, Control* control) {
  const QString name = xml.attributes().value(QLatin1String("name")).toString();
  const QString value = xml.readElementText(QXmlStreamReader::IncludeChildElements).trimmed();
  if (name == QLatin1String("dialogId")) form.id = value.toUInt();
  if (name == QLatin1String("windowTitle")) form.caption = value;
  if (control == nullptr) return;
  if (name == QLatin1String("controlId")) control->id = value.toUInt();
  if (name == QLatin1String("text")) control->text = value;
  if (name == QLatin1String("accessibleName")) control->accessible_name = value;
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

// `depth` 0 is the dialog itself, deeper widgets are its controls.
void ReadWidget(QXmlStreamReader& xml, Form& form, int depth) {
  qsizetype own = -1;
  if (depth > 0) {
    own = form.controls.size();
    form.controls.append(
        Control{xml.attributes().value(QLatin1String("class")).toString(), 0, {}, {}});
  }
  int open = 1;  // layouts and their items are only passed through
  while (open > 0 && !xml.atEnd()) {
    switch (xml.readNext()) {
      case QXmlStreamReader::StartElement:
        if (xml.name() == QLatin1String("property")) {
          ReadProperty(xml, form, own < 0 ? nullptr : &form.controls[own]);
        } else if (xml.name() == QLatin1String("widget")) {
          ReadWidget(xml, form, depth + 1);
        } else {
          ++open;
        }
        break;
      case QXmlStreamReader::EndElement:
        --open;
        break;
      default:
        break;
    }
  }
}

bool ReadForm(const QString& path, Form& form) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) {
    std::fprintf(stderr, "cannot read %s\n", qPrintable(path));
    return false;
  }
  QXmlStreamReader xml(&file);
  xml.readNextStartElement();  // <ui>
  while (xml.readNextStartElement()) {
    if (xml.name() == QLatin1String("widget")) {
      ReadWidget(xml, form, 0);
    } else if (xml.name() == QLatin1String("customwidgets")) {
      while (xml.readNextStartElement()) ReadCustomWidget(xml, form);
    } else {
      xml.skipCurrentElement();
    }
  }
  if (xml.hasError() || form.id == 0) {
    std::fprintf(stderr, "%s: %s\n", qPrintable(path),
                 xml.hasError() ? qPrintable(xml.errorString()) : "no dialogId");
    return false;
  }
  return true;
}

QString KindOf(const Form& form, const Control& control) {
  const QString base = form.extends.value(control.widget_class, control.widget_class);
  if (base == QLatin1String("QPushButton")) return QStringLiteral("kButton");
  if (base == QLatin1String("QLabel")) return QStringLiteral("kText");
  if (base == QLatin1String("QLineEdit") || base == QLatin1String("QPlainTextEdit")) {
    return QStringLiteral("kEdit");
  }
  if (base == QLatin1String("QCheckBox")) return QStringLiteral("kCheckBox");
  if (base == QLatin1String("QComboBox")) return QStringLiteral("kDropDown");
  if (base == QLatin1String("QProgressBar")) return QStringLiteral("kProgressBar");
  return QStringLiteral("kOther");
}

QString Literal(const QString& text) {
  QString literal = QStringLiteral("u\"");
  for (const QChar unit : text) {
    const char16_t code = unit.unicode();
    if (code == u'"' || code == u'\\') {
      literal += QLatin1Char('\\') + QString(unit);
    } else if (code >= 0x20 && code < 0x7F) {
      literal += unit;
    } else {
      // The string ends here and goes on, so that a following digit is not part of the escape.
      literal += QStringLiteral("\\x%1\" u\"").arg(code, 4, 16, QLatin1Char('0'));
    }
  }
  return literal + QLatin1Char('"');
}

void WriteForm(QTextStream& out, const Form& form) {
  out << "constexpr auto kForm" << form.id << " = std::to_array<ControlTemplate>({\n";
  for (const Control& control : form.controls) {
    out << "    {" << control.id << ", ControlKind::" << KindOf(form, control) << ", "
        << Literal(control.text) << ", " << Literal(control.accessible_name) << "},\n";
  }
  out << "});\n\n";
}

void WriteTables(QTextStream& out, const QList<Form>& forms) {
  out << "// Generated from the forms; do not edit.\n#include \"res/dialog_templates.h\"\n\n"
         "#include <array>\n\nnamespace quillet {\nnamespace {\n\n";
  for (const Form& form : forms) WriteForm(out, form);
  out << "constexpr auto kTemplates = std::to_array<DialogTemplate>({\n";
  for (const Form& form : forms) {
    out << "    {" << form.id << ", " << Literal(form.caption) << ", kForm" << form.id << "},\n";
  }
  out << "});\n\n}  // namespace\n\n"
         "std::span<const DialogTemplate> DialogTemplates() { return kTemplates; }\n\n"
         "const DialogTemplate* FindDialogTemplate(std::uint32_t id) {\n"
         "  for (const DialogTemplate& form : kTemplates) {\n"
         "    if (form.id == id) return &form;\n  }\n  return nullptr;\n}\n\n"
         "}  // namespace quillet\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: generate_dialog_templates OUTPUT.cpp FORM.ui...\n");
    return 2;
  }
  QList<Form> forms;
  for (int i = 2; i < argc; ++i) {
    Form form;
    if (!ReadForm(QString::fromLocal8Bit(argv[i]), form)) return 1;
    forms.append(form);
  }
  std::sort(forms.begin(), forms.end(), [](const Form& a, const Form& b) { return a.id < b.id; });
  QFile file(QString::fromLocal8Bit(argv[1]));
  if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
    std::fprintf(stderr, "cannot write %s\n", argv[1]);
    return 1;
  }
  QTextStream out(&file);
  WriteTables(out, forms);
  return 0;
}
