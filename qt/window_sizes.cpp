// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/window_sizes.h"

#include <QSettings>
#include <utility>

namespace quillet::qt {
namespace {

QString GroupName() {
  return QStringLiteral("windows");
}

}  // namespace

WindowSizes::WindowSizes(QString file) : file_(std::move(file)) {
  if (file_.isEmpty()) return;
  QSettings stored(file_, QSettings::IniFormat);
  stored.beginGroup(GroupName());
  for (const QString& form : stored.childKeys()) {
    const QSize size = stored.value(form).toSize();
    if (!size.isEmpty()) sizes_[form.toUInt()] = size;
  }
}

void WindowSizes::Remember(std::uint32_t form, QSize size) {
  if (size.isEmpty() || sizes_.value(form) == size) return;
  sizes_[form] = size;
  if (file_.isEmpty()) return;
  QSettings stored(file_, QSettings::IniFormat);
  stored.beginGroup(GroupName());
  stored.setValue(QString::number(form), size);
}

}  // namespace quillet::qt
