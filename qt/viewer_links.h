// SPDX-License-Identifier: GPL-3.0-or-later
// The links of a page, for those who go from one to the next by keys.
#pragma once

#include <QString>
#include <QTextDocument>
#include <vector>

namespace quillet::qt {

// From its first character to behind its last one, in positions of the document.
struct PageLink {
  int first = 0;
  int end = 0;
  QString target;  // to the character
};

// From the beginning to the end. A link is one, whatever is highlighted in it.
std::vector<PageLink> LinksOf(const QTextDocument& document);

}  // namespace quillet::qt
