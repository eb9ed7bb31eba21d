// Draws a picture in the sizes that desktops look for an icon in, for those that read no SVG.
//   makeIcons SVG FOLDER SIZE...    makes FOLDER/SIZE.png
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>

namespace {

bool draw(QSvgRenderer& renderer, int size, const QString& path) {
  QImage image(size, size, QImage::Format_ARGB32);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  renderer.render(&painter);
  painter.end();
  return image.save(path, "PNG");
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 4) {
    std::fprintf(stderr, "usage: makeIcons SVG FOLDER SIZE...\n");
    return 2;
  }
  QSvgRenderer renderer(QString::fromLocal8Bit(arguments[1]));
  const QDir folder(QString::fromLocal8Bit(arguments[2]));
  if (!renderer.isValid() || !folder.mkpath(QStringLiteral("."))) {
    std::fprintf(stderr, "makeIcons: %s cannot be drawn into %s\n", arguments[1], arguments[2]);
    return 1;
  }
  for (int index = 3; index < count; ++index) {
    const QString size = QString::fromLocal8Bit(arguments[index]);
    if (size.toInt() <= 0 || !draw(renderer, size.toInt(), folder.filePath(size + ".png"))) {
      std::fprintf(stderr, "makeIcons: no picture of the size %s\n", arguments[index]);
      return 1;
    }
  }
  return 0;
}
