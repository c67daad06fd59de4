// SPDX-License-Identifier: GPL-3.0-or-later
// Texts between the program (UTF-16) and the toolkit.
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace quillet::qt {

inline QString ToQt(std::u16string_view text) {
  return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}

inline std::u16string FromQt(const QString& text) {
  return text.toStdU16String();
}

}  // namespace quillet::qt
