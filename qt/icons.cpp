// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/icons.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>
#include <array>

#include "res/resource.h"

// The macro must stand outside every namespace.
static void LoadImageFiles() {
  Q_INIT_RESOURCE(icons);
}

namespace quillet::qt {
namespace {

struct ImageEntry {
  std::uint32_t id;
  const char* file;
};

constexpr auto kImages = std::to_array<ImageEntry>({
    {kIconMain, "quillet"},
    {kBitmapGroupTab, "tab-group"},
    {kBitmapThreadTab, "tab-thread"},
    {kBitmapArticleTab, "tab-article"},
    {kBitmapGroupSideTab, "tab-group-side"},
    {kBitmapThreadSideTab, "tab-thread-side"},
    {kBitmapArticleSideTab, "tab-article-side"},
    {kIconRefused, "refused"},
    {kIconUndo, "edit-undo"},
    {kIconRedo, "edit-redo"},
    {kIconCut, "edit-cut"},
    {kIconCopy, "edit-copy"},
    {kIconPaste, "edit-paste"},
    {kIconDelete, "edit-delete"},
    {kIconSelectAll, "edit-select-all"},
    {kCommandConnect, "button-connect"},
    {kCommandCheckUncheckAll, "button-check-all"},
    {kCommandFind, "button-find"},
});

// The images of the article view's buttons, by their number.
constexpr std::array<const char*, 7> kToolbarImages{
    "previous-thread", "previous-article", "next-article", "next-thread",
    "button-find",     "delete-article",   "delete-thread"};

const char* FileOf(std::uint32_t id) {
  for (const ImageEntry& entry : kImages) {
    if (entry.id == id) return entry.file;
  }
  return "";
}

// The drawing with its lines in `ink`; empty when there is none.
QByteArray Drawing(const char* name, const QColor& ink) {
  LoadImageFiles();
  QFile file(QStringLiteral(":/icons/%1.svg").arg(QLatin1String(name)));
  if (!file.open(QIODevice::ReadOnly)) return {};
  return file.readAll().replace("currentColor", ink.name(QColor::HexRgb).toLatin1());
}

class PaletteIconEngine final : public QIconEngine {
 public:
  explicit PaletteIconEngine(const char* file) : file_(file) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
    const auto role = mode == QIcon::Selected ? QPalette::HighlightedText : QPalette::ButtonText;
    const QColor ink = QGuiApplication::palette().color(group, role);
    QSvgRenderer(Drawing(file_, ink)).render(painter, rect);
  }

  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    paint(&painter, QRect(QPoint(0, 0), size), mode, state);
    return pixmap;
  }

  QIconEngine* clone() const override { return new PaletteIconEngine(file_); }

 private:
  const char* file_;
};

}  // namespace

QSize ImageSize(std::uint32_t id) {
  const QByteArray drawing = Drawing(FileOf(id), Qt::black);
  return drawing.isEmpty() ? QSize() : QSvgRenderer(drawing).defaultSize();
}

QPixmap Image(std::uint32_t id, const QColor& ink, qreal pixel_ratio) {
  const QByteArray drawing = Drawing(FileOf(id), ink);
  if (drawing.isEmpty()) return {};
  QSvgRenderer renderer(drawing);
  QPixmap pixmap(renderer.defaultSize() * pixel_ratio);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  renderer.render(&painter);
  painter.end();
  pixmap.setDevicePixelRatio(pixel_ratio);
  return pixmap;
}

QIcon PaletteIcon(std::uint32_t id) {
  return QIcon(new PaletteIconEngine(FileOf(id)));
}

QIcon ToolbarIcon(std::uint32_t image) {
  return image < kToolbarImages.size() ? QIcon(new PaletteIconEngine(kToolbarImages[image]))
                                       : QIcon();
}

}  // namespace quillet::qt
