#include "views/images.h"

#include <QFile>
#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>

#include "classShared/TextAdditions.h"
#include "platform/Bundle.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

constexpr int iconSize = 20;
constexpr double iconPixelRatio = 2;  // Qt scales it down where the screen is coarser

QByteArray drawingSource(const std::string& name, const QColor& colour) {
  QFile file(qtText(joinPath(Bundle::main().resourcePath(), "icons/" + name + ".svg")));
  if (!file.open(QIODevice::ReadOnly))
    return {};
  return file.readAll().replace("currentColor", colour.name().toLatin1());
}

struct ImageText {
  const char* image;
  const char* key;
};
constexpr ImageText imageTexts[] = {
    {"btPause", "@@pause"},
    {"btPlay", "@@resume"},
    {"btStop", "@@stop"},
    {"puce", "@@stateWaiting"},
    {"puceCurrent", "@@stateCurrent"},
    {"puceSuccess", "@@stateSuccess"},
    {"puceFailure", "@@stateFailure"},
};

}  // namespace

QPixmap drawing(const std::string& name, int size, const QColor& colour, double pixelRatio) {
  const QString key =
      QStringLiteral("%1/%2/%3/%4").arg(qtText(name)).arg(size).arg(colour.rgba()).arg(pixelRatio);
  QPixmap pixmap;
  if (QPixmapCache::find(key, &pixmap))
    return pixmap;
  QSvgRenderer renderer(drawingSource(name, colour));
  if (!renderer.isValid())
    return {};
  const int pixels = qRound(size * pixelRatio);
  pixmap = QPixmap(pixels, pixels);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setOpacity(colour.alphaF());
  renderer.render(&painter);
  painter.end();
  pixmap.setDevicePixelRatio(pixelRatio);
  QPixmapCache::insert(key, pixmap);
  return pixmap;
}

QIcon drawnIcon(const std::string& name) {
  const QPalette palette = QGuiApplication::palette();
  QIcon icon(drawing(name, iconSize, palette.color(QPalette::Active, QPalette::ButtonText),
                     iconPixelRatio));
  icon.addPixmap(drawing(name, iconSize, palette.color(QPalette::Disabled, QPalette::ButtonText),
                         iconPixelRatio),
                 QIcon::Disabled);
  return icon;
}

std::string imageText(const std::string& name) {
  for (const ImageText& each : imageTexts)
    if (name == each.image)
      return Bundle::main().localizedString(each.key + 2, "Localizable");
  return {};
}

}  // namespace tessarin
