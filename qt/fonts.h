// SPDX-License-Identifier: GPL-3.0-or-later
// Fonts by face and size index.
#pragma once

#include <QFont>
#include <QStringList>
#include <string_view>

namespace quillet::qt {

// The families that users may choose from, sorted without regard to case, none twice.
QStringList InstalledFamilies();

// The base font in that face, when the display has it.
QFont WithFace(std::u16string_view face, const QFont& base);

// `size_index` runs from 1 (tiny) over 4 (medium, the size of `base`) to 8 (enormous); others are
// brought into that range. An empty or unknown face, or "<default>", is the face of `base`.
QFont FontFor(std::u16string_view face, int size_index, const QFont& base);
// The same for the text of articles, as their viewer shows it: 2 is the size of `base`.
QFont ArticleFontFor(std::u16string_view face, int size_index, const QFont& base);

}  // namespace quillet::qt
