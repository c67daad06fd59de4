// SPDX-License-Identifier: GPL-3.0-or-later
#include "res/form_ids.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTextStream>
#include <algorithm>

namespace quillet {
namespace {

bool Has(const QList<NamedId>& ids, unsigned value) {
  return std::any_of(ids.begin(), ids.end(), [&](const NamedId& id) { return id.value == value; });
}

bool IsShared(const IdBlock& block) {
  return block.dialogs.isEmpty();
}

bool MayUse(const QList<IdBlock>& blocks, const Form& form, unsigned control) {
  return std::any_of(blocks.begin(), blocks.end(), [&](const IdBlock& block) {
    return (IsShared(block) || Has(block.dialogs, form.id)) && Has(block.controls, control);
  });
}

bool Uses(const Form& form, unsigned control) {
  return std::any_of(form.controls.begin(), form.controls.end(),
                     [&](const FormControl& one) { return one.id == control; });
}

void CheckForm(const QList<IdBlock>& blocks, const Form& form, QStringList& problems) {
  const QString file = form.file + QStringLiteral(".ui: ");
  const bool known = std::any_of(blocks.begin(), blocks.end(),
                                 [&](const IdBlock& block) { return Has(block.dialogs, form.id); });
  if (!known) problems << file + QStringLiteral("dialog %1 has no constant").arg(form.id);
  QSet<unsigned> seen;
  for (const FormControl& control : form.controls) {
    if (control.id == 0) continue;
    if (seen.contains(control.id)) {
      problems << file + QStringLiteral("control %1 is there twice").arg(control.id);
    } else if (!MayUse(blocks, form, control.id)) {
      problems << file + QStringLiteral("control %1 has no constant").arg(control.id);
    }
    seen.insert(control.id);
  }
}

void CheckBlock(const IdBlock& block, const QList<Form>& forms, QStringList& problems) {
  const auto is_of_block = [&](const Form& form) { return Has(block.dialogs, form.id); };
  for (const NamedId& dialog : block.dialogs) {
    const auto count = std::count_if(forms.begin(), forms.end(),
                                     [&](const Form& form) { return form.id == dialog.value; });
    if (count == 1) continue;
    problems << QStringLiteral("%1 = %2 is the dialog of %3 forms")
                    .arg(dialog.name)
                    .arg(dialog.value)
                    .arg(count);
  }
  if (IsShared(block)) return;
  for (const NamedId& control : block.controls) {
    const bool used = std::any_of(forms.begin(), forms.end(), [&](const Form& form) {
      return is_of_block(form) && Uses(form, control.value);
    });
    if (used) continue;
    problems << QStringLiteral("%1 = %2 is in no form of its dialog")
                    .arg(control.name)
                    .arg(control.value);
  }
}

}  // namespace

QString ReadIds(const QString& path, QList<IdBlock>& blocks) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return path + QStringLiteral(": cannot be read");
  const QRegularExpression constant(
      QStringLiteral(R"(^constexpr std::uint32_t (k(Dialog|Control)\w+) = (\d+);)"));
  QTextStream in(&file);
  IdBlock block;
  while (!in.atEnd()) {
    const QString line = in.readLine();
    if (line.trimmed().isEmpty()) blocks.append(std::exchange(block, {}));
    const QRegularExpressionMatch match = constant.match(line);
    if (!match.hasMatch()) continue;
    const bool dialog = match.captured(2) == QLatin1String("Dialog");
    (dialog ? block.dialogs : block.controls)
        .append({match.captured(1), match.captured(3).toUInt()});
  }
  blocks.append(block);
  return {};
}

QStringList DisagreeingIds(const QList<IdBlock>& own, const QList<IdBlock>& others,
                           const QList<Form>& forms) {
  QStringList problems;
  for (const Form& form : forms) CheckForm(own + others, form, problems);
  for (const IdBlock& block : own) CheckBlock(block, forms, problems);
  return problems;
}

}  // namespace quillet
