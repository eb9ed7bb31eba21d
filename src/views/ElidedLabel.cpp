#include "views/ElidedLabel.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace tessarin {

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) {
  setTextFormat(Qt::PlainText);
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

QString ElidedLabel::fitting() const {
  QStringList lines = text().split(QLatin1Char('\n'));
  for (QString& line : lines)
    line = fontMetrics().elidedText(line, Qt::ElideRight, contentsRect().width());
  return lines.join(QLatin1Char('\n'));
}

void ElidedLabel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  style()->drawItemText(&painter, contentsRect(), static_cast<int>(alignment()), palette(),
                        isEnabled(), fitting(), foregroundRole());
}

bool ElidedLabel::event(QEvent* event) {
  if (event->type() != QEvent::ToolTip)
    return QLabel::event(event);
  QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(),
                     fitting() == text() ? QString() : text(), this);
  return true;
}

}  // namespace tessarin
