// SPDX-License-Identifier: GPL-3.0-or-later
// The sizes of the windows with forms, by form, in a file of the display's own: they belong to this
// screen, not to the settings of the program. Display thread only.
#pragma once

#include <QMap>
#include <QSize>
#include <QString>
#include <cstdint>

namespace quillet::qt {

class WindowSizes {
 public:
  // The file need not exist; without a name the sizes last as long as the object. A file that
  // cannot be read or written is as good as none.
  explicit WindowSizes(QString file = {});

  // Invalid when there is none.
  QSize Of(std::uint32_t form) const { return sizes_.value(form); }
  void Remember(std::uint32_t form, QSize size);

 private:
  QString file_;
  QMap<std::uint32_t, QSize> sizes_;
};

}  // namespace quillet::qt
