// SPDX-License-Identifier: GPL-3.0-or-later
// Icons and bitmaps by resource or command id, drawn in the colours of the palette in use. Display
// thread only.
#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QSize>
#include <cstdint>

namespace quillet::qt {

// Size of the image in device-independent pixels; empty when there is no such image.
QSize ImageSize(std::uint32_t id);
// The image at its own size for that pixel ratio, its lines in `ink`; null when there is none.
QPixmap Image(std::uint32_t id, const QColor& ink, qreal pixel_ratio);
// An icon that follows the palette and is crisp at every size.
QIcon PaletteIcon(std::uint32_t id);
// The same for the images of the article view's buttons (port/article_panes.h).
QIcon ToolbarIcon(std::uint32_t image);

}  // namespace quillet::qt
