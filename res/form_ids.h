// SPDX-License-Identifier: GPL-3.0-or-later
// Build-time tool: whether the ids in the forms are those of the id header.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include "res/form_reader.h"

namespace quillet {

struct NamedId {
  QString name;
  unsigned value = 0;
};

// The constants between two blank lines of the header: dialogs (kDialog...) with their controls
// (kControl...). Controls that stand in a block without a dialog are every dialog's.
struct IdBlock {
  QList<NamedId> dialogs;
  QList<NamedId> controls;
};

// Appends the blocks of the header. What is wrong; empty when all is well.
QString ReadIds(const QString& path, QList<IdBlock>& blocks);

// One line for every id that does not agree, with the file or the constant that is wrong: a form
// whose dialog has no constant, a control without one in a block of its form, an id that is used
// twice, a constant of the forms' own header that no form uses.
QStringList DisagreeingIds(const QList<IdBlock>& own, const QList<IdBlock>& others,
                           const QList<Form>& forms);

}  // namespace quillet
