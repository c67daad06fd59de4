// SPDX-License-Identifier: GPL-3.0-or-later
// quillet-draw-icon: the program's icon as a picture for desktops that take no drawings. Used by
// the build. Usage: quillet-draw-icon DRAWING.svg PIXELS PICTURE.png
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>

namespace {

constexpr int kLargest = 1024;

int Fail(const char* problem, const char* what) {
  std::fprintf(stderr, "quillet-draw-icon: %s: %s\n", what, problem);
  return 1;
}

int DrawIcon(const char* drawing, int pixels, const char* picture) {
  QSvgRenderer renderer(QString::fromLocal8Bit(drawing));
  if (!renderer.isValid()) return Fail("is no drawing", drawing);
  QImage image(pixels, pixels, QImage::Format_ARGB32);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  renderer.render(&painter);
  painter.end();
  return image.save(QString::fromLocal8Bit(picture), "PNG") ? 0
                                                            : Fail("cannot be written", picture);
}

}  // namespace

int main(int argc, char** argv) {
  const int pixels = argc == 4 ? QByteArray(argv[2]).toInt() : 0;
  if (pixels < 1 || pixels > kLargest) {
    std::fputs("usage: quillet-draw-icon DRAWING.svg PIXELS PICTURE.png\n", stderr);
    return 2;
  }
  return DrawIcon(argv[1], pixels, argv[3]);
}
