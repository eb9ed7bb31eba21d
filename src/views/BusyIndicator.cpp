#include "views/BusyIndicator.h"

#include <QPainter>

namespace tessarin {

namespace {

constexpr int spokes = 12;
constexpr int millisecondsPerStep = 80;

}  // namespace

BusyIndicator::BusyIndicator(QWidget* parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  timer_.setInterval(millisecondsPerStep);
  connect(&timer_, &QTimer::timeout, this, [this] {
    step_ = (step_ + 1) % spokes;
    update();
  });
}

void BusyIndicator::setTurning(bool turning) {
  if (turning == isTurning())
    return;
  if (turning)
    timer_.start();
  else
    timer_.stop();
  update();
}

void BusyIndicator::paintEvent(QPaintEvent*) {
  if (!isTurning())
    return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.translate(width() / 2.0, height() / 2.0);
  const double radius = qMin(width(), height()) / 2.0 - 1;
  for (int spoke = 0; spoke < spokes; ++spoke) {
    QColor colour = palette().color(QPalette::WindowText);
    const int age = (step_ - spoke + spokes) % spokes;
    colour.setAlphaF(1.0F - static_cast<float>(age) / spokes);
    painter.setPen(QPen(colour, radius / 5, Qt::SolidLine, Qt::RoundCap));
    painter.save();
    painter.rotate(spoke * 360.0 / spokes);
    painter.drawLine(QPointF(0, -radius * 0.5), QPointF(0, -radius * 0.9));
    painter.restore();
  }
}

}  // namespace tessarin
