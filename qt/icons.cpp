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
    {kCommandConnect, "button-connect"},
    {kCommandCheckUncheckAll, "button-check-all"},
    {kCommandFind, "button-find"},
});

// The drawing with its lines in `ink`; empty when there is none.
QByteArray Drawing(std::uint32_t id, const QColor& ink) {
  LoadImageFiles();
  for (const ImageEntry& entry : kImages) {
    if (entry.id != id) continue;
    QFile file(QStringLiteral(":/icons/%1.svg").arg(QLatin1String(entry.file)));
    if (!file.open(QIODevice::ReadOnly)) return {};
    return file.readAll().replace("currentColor", ink.name(QColor::HexRgb).toLatin1());
  }
  return {};
}

class PaletteIconEngine final : public QIconEngine {
 public:
  explicit PaletteIconEngine(std::uint32_t id) : id_(id) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
    const QColor ink = QGuiApplication::palette().color(group, QPalette::ButtonText);
    QSvgRenderer(Drawing(id_, ink)).render(painter, rect);
  }

  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    paint(&painter, QRect(QPoint(0, 0), size), mode, state);
    return pixmap;
  }

  QIconEngine* clone() const override { return new PaletteIconEngine(id_); }

 private:
  std::uint32_t id_;
};

}  // namespace

QSize ImageSize(std::uint32_t id) {
  const QByteArray drawing = Drawing(id, Qt::black);
  return drawing.isEmpty() ? QSize() : QSvgRenderer(drawing).defaultSize();
}

QPixmap Image(std::uint32_t id, const QColor& ink, qreal pixel_ratio) {
  const QByteArray drawing = Drawing(id, ink);
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
  return QIcon(new PaletteIconEngine(id));
}

}  // namespace quillet::qt
