// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/viewer_links.h"

#include <QTextBlock>
#include <QTextFragment>

namespace quillet::qt {

std::vector<PageLink> LinksOf(const QTextDocument& document) {
  std::vector<PageLink> links;
  for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
    for (auto part = block.begin(); !part.atEnd(); ++part) {
      const QTextFragment fragment = part.fragment();
      const QString target = fragment.charFormat().anchorHref();
      if (target.isEmpty()) continue;
      const int first = fragment.position();
      const bool goes_on =
          !links.empty() && links.back().end == first && links.back().target == target;
      if (goes_on) {
        links.back().end += fragment.length();
      } else {
        links.push_back({first, first + fragment.length(), target});
      }
    }
  }
  return links;
}

}  // namespace quillet::qt
