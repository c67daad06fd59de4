// SPDX-License-Identifier: GPL-3.0-or-later
// Build-time tool: turns the .ui forms into tables, the controls of every form for displays that
// draw no widgets (res/dialog_templates.h) and the generated widget code of every form for the
// toolkit (qt/form_table.h), and holds the ids in the forms against the constants of the headers.
// NAME begins the names of the two generated functions. Every id of the first header must be in
// use. Usage: generate_dialog_templates NAME TEMPLATES.cpp FORMS.cpp IDS.h... FORM.ui...
#include <QFile>
#include <QTextStream>
#include <algorithm>
#include <cstdio>

#include "res/form_ids.h"
#include "res/form_reader.h"

namespace {

using quillet::Form;
using quillet::FormControl;

struct Request {
  QString name;
  QString templates;
  QString forms;
  QStringList id_headers;
  QStringList form_files;
};

QString EditKind(const FormControl& control) {
  return control.password ? QStringLiteral("kPassword") : QStringLiteral("kEdit");
}

QString ComboKind(const FormControl& control) {
  return control.editable ? QStringLiteral("kEditableDropDown") : QStringLiteral("kDropDown");
}

QString ListKind(const FormControl& control) {
  return control.check_boxes ? QStringLiteral("kCheckList") : QStringLiteral("kList");
}

QString KindOf(const Form& form, const FormControl& control) {
  const QString base = form.BaseClassOf(control);
  if (base == QLatin1String("QPushButton")) return QStringLiteral("kButton");
  if (base == QLatin1String("QLabel")) return QStringLiteral("kText");
  if (base == QLatin1String("QLineEdit")) return EditKind(control);
  if (base == QLatin1String("QPlainTextEdit")) return QStringLiteral("kMultiLineEdit");
  if (base == QLatin1String("QCheckBox")) return QStringLiteral("kCheckBox");
  if (base == QLatin1String("QRadioButton")) return QStringLiteral("kRadioButton");
  if (base == QLatin1String("QComboBox")) return ComboKind(control);
  if (base == QLatin1String("QSlider")) return QStringLiteral("kSlider");
  if (base == QLatin1String("QProgressBar")) return QStringLiteral("kProgressBar");
  if (base == QLatin1String("QTreeWidget")) return ListKind(control);
  if (base == QLatin1String("QTimeEdit")) return QStringLiteral("kTimePicker");
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

const char* Flag(bool on) {
  return on ? ", true" : ", false";
}

void WriteControls(QTextStream& out, const Form& form) {
  out << "constexpr auto kForm" << form.id << " = std::to_array<ControlTemplate>({\n";
  for (const FormControl& control : form.controls) {
    out << "    {" << control.id << ", ControlKind::" << KindOf(form, control) << ", "
        << Literal(control.text) << ", " << Literal(control.accessible_name) << ", "
        << control.container << Flag(control.never_default) << Flag(control.tap_opens) << "},\n";
  }
  out << "});\n\n";
}

void WriteTemplates(QTextStream& out, const QString& name, const QList<Form>& forms) {
  out << "// Generated from the forms; do not edit.\n#include \"res/dialog_templates.h\"\n\n"
         "#include <array>\n\nnamespace quillet {\n\nstd::span<const DialogTemplate> "
      << name << "Templates();\n\nnamespace {\n\n";
  for (const Form& form : forms) WriteControls(out, form);
  out << "constexpr auto kTemplates = std::to_array<DialogTemplate>({\n";
  for (const Form& form : forms) {
    const bool page = form.root_class == QLatin1String("QWidget");
    out << "    {" << form.id << ", " << Literal(form.caption) << ", " << (page ? "true" : "false")
        << ", kForm" << form.id << "},\n";
  }
  out << "});\n\n}  // namespace\n\nstd::span<const DialogTemplate> " << name
      << "Templates() { return kTemplates; }\n\n}  // namespace quillet\n";
}

void WriteForms(QTextStream& out, const QString& name, const QList<Form>& forms) {
  out << "// Generated from the forms; do not edit.\n#include \"qt/form_table.h\"\n\n"
         "#include <array>\n\n";
  for (const Form& form : forms) out << "#include \"ui_" << form.file << ".h\"\n";
  out << "\nnamespace quillet::qt {\n\nstd::span<const FormEntry> " << name
      << "Forms();\n\nnamespace {\n\n"
         "constexpr auto kForms = std::to_array<FormEntry>({\n";
  for (const Form& form : forms) {
    const bool page = form.root_class == QLatin1String("QWidget");
    out << "    {" << form.id << ", " << (page ? "true" : "false")
        << ", SetUpForm<Ui::" << form.class_name << ", " << form.root_class << ">},\n";
  }
  out << "});\n\n}  // namespace\n\nstd::span<const FormEntry> " << name
      << "Forms() { return kForms; }\n\n}  // namespace quillet::qt\n";
}

using Writer = void (*)(QTextStream& out, const QString& name, const QList<Form>& forms);

bool WriteFile(const QString& path, Writer writer, const QString& name, const QList<Form>& forms) {
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
    std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
    return false;
  }
  QTextStream out(&file);
  writer(out, name, forms);
  return true;
}

bool Complain(const QStringList& problems) {
  for (const QString& problem : problems) std::fprintf(stderr, "%s\n", qPrintable(problem));
  return problems.isEmpty();
}

// The forms by their ids; false, after saying why, when they are not right.
bool ReadForms(const Request& request, QList<Form>& forms) {
  QStringList problems;
  QList<quillet::IdBlock> own;
  QList<quillet::IdBlock> others;
  for (const QString& path : request.id_headers) {
    problems << quillet::ReadIds(path, path == request.id_headers.first() ? own : others);
  }
  for (const QString& path : request.form_files) {
    Form form;
    problems << quillet::ReadForm(path, form);
    forms.append(form);
  }
  problems.removeAll(QString());
  if (problems.isEmpty()) problems = quillet::DisagreeingIds(own, others, forms);
  std::sort(forms.begin(), forms.end(), [](const Form& a, const Form& b) { return a.id < b.id; });
  return Complain(problems);
}

Request RequestOf(int argc, char** argv) {
  Request request{QString::fromLocal8Bit(argv[1]),
                  QString::fromLocal8Bit(argv[2]),
                  QString::fromLocal8Bit(argv[3]),
                  {},
                  {}};
  for (int i = 4; i < argc; ++i) {
    const QString path = QString::fromLocal8Bit(argv[i]);
    (path.endsWith(QLatin1String(".ui")) ? request.form_files : request.id_headers) << path;
  }
  return request;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 6) {
    std::fprintf(stderr,
                 "usage: generate_dialog_templates NAME TEMPLATES.cpp FORMS.cpp IDS.h... "
                 "FORM.ui...\n");
    return 2;
  }
  const Request request = RequestOf(argc, argv);
  QList<Form> forms;
  if (!ReadForms(request, forms)) return 1;
  const bool written = WriteFile(request.templates, WriteTemplates, request.name, forms) &&
                       WriteFile(request.forms, WriteForms, request.name, forms);
  return written ? 0 : 1;
}
