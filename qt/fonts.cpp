// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/fonts.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <algorithm>
#include <array>

#include "qt/text.h"

namespace quillet::qt {
namespace {

// tiny, very small, small, medium, large, very large, huge, enormous.
constexpr std::array<double, 8> kSizeFactors{0.7, 0.8, 0.9, 1.0, 1.2, 1.45, 1.75, 2.1};

// Sizes of the mark-up that an article is shown in, where 2 is the application's font.
constexpr std::array<double, 8> kArticleFactors{0.875, 1.0, 1.25, 1.5, 1.875, 2.5, 3.0, 3.0};

QFont Sized(std::u16string_view face, int size_index, const std::array<double, 8>& factors,
            const QFont& base) {
  QFont font = WithFace(face, base);
  const int last = static_cast<int>(factors.size());
  const auto index = static_cast<std::size_t>(std::clamp(size_index, 1, last) - 1);
  // A base font may be sized in pixels; QFontInfo knows its points in either case.
  font.setPointSizeF(QFontInfo(base).pointSizeF() * factors[index]);
  return font;
}

}  // namespace

QStringList InstalledFamilies() {
  QStringList families = QFontDatabase::families();
  // Also without the names that only stand for a family ("Monospace"): a text in them would not
  // change.
  families.removeIf([](const QString& family) {
    return QFontDatabase::isPrivateFamily(family) || !QFontDatabase::hasFamily(family);
  });
  families.sort(Qt::CaseInsensitive);
  const auto same = [](const QString& a, const QString& b) {
    return a.compare(b, Qt::CaseInsensitive) == 0;
  };
  families.erase(std::unique(families.begin(), families.end(), same), families.end());
  return families;
}

QFont WithFace(std::u16string_view face, const QFont& base) {
  QFont font = base;
  const QString family = ToQt(face);
  if (!face.empty() && QFontDatabase::hasFamily(family)) font.setFamily(family);
  return font;
}

QFont FontFor(std::u16string_view face, int size_index, const QFont& base) {
  return Sized(face, size_index, kSizeFactors, base);
}

QFont ArticleFontFor(std::u16string_view face, int size_index, const QFont& base) {
  return Sized(face, size_index, kArticleFactors, base);
}

}  // namespace quillet::qt
