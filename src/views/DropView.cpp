#include "views/DropView.h"

#include <QKeyEvent>
#include <QLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QUrl>

#include "views/images.h"

namespace tessarin {

namespace {

constexpr int dropImageSize = 88;
constexpr int captionHeight = 36;
constexpr double cornerRadius = 10;

// A name of another encoding than UTF-8 would not survive as a QString.
std::string bytesOfPath(const QUrl& url) {
  if (!url.host().isEmpty())
    return url.toLocalFile().toStdString();
  return QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()).toStdString();
}

}  // namespace

std::vector<std::string> pathsOf(const QMimeData* data) {
  std::vector<std::string> paths;
  for (const QUrl& url : data->urls())
    if (url.isLocalFile())
      paths.push_back(bytesOfPath(url));
  return paths;
}

DropView::DropView(QWidget* parent) : QFrame(parent) {
  setFocusPolicy(Qt::StrongFocus);
  setCursor(Qt::PointingHandCursor);
}

void DropView::setImage(const std::string& name) {
  image_ = name;
  update();
}

void DropView::setHighlighted(bool highlighted) {
  highlighted_ = highlighted;
  update();
}

void DropView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const bool isAccented = highlighted_ || hasFocus();
  QColor line = palette().color(isAccented ? QPalette::Highlight : QPalette::Mid);
  QColor fill = palette().color(highlighted_ ? QPalette::Highlight : QPalette::Base);
  if (highlighted_)
    fill.setAlpha(50);
  painter.setPen(QPen(line, isAccented ? 2 : 1.5, Qt::DashLine));
  painter.setBrush(fill);
  painter.drawRoundedRect(QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5), cornerRadius,
                          cornerRadius);
  const QColor colour = palette().color(QPalette::WindowText);
  painter.drawPixmap(QPointF((width() - dropImageSize) / 2.0, imageTop()),
                     drawing(image_, dropImageSize, colour, devicePixelRatioF()));
}

int DropView::imageTop() const {
  return qMax(8, (height() - dropImageSize - captionHeight) / 2);
}

void DropView::resizeEvent(QResizeEvent*) {
  if (layout())
    layout()->setContentsMargins(8, imageTop() + dropImageSize + 4, 8, 8);
}

void DropView::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()) && pressed)
    pressed();
}

void DropView::keyPressEvent(QKeyEvent* event) {
  const bool isPress = event->key() == Qt::Key_Space || event->key() == Qt::Key_Return ||
                       event->key() == Qt::Key_Enter;
  if (isPress && pressed)
    pressed();
  else
    QFrame::keyPressEvent(event);
}

void bindTo(DropView* view, ImageView& control) {
  const auto show = [held = QPointer<DropView>(view), &control] {
    if (held)
      held->setImage(control.image());
  };
  show();
  control.changed.connect(show);
}

}  // namespace tessarin
