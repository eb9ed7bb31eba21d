#include "views/settingWidgets.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "encoding/applications.h"

namespace tessarin {

SegmentedBar* newChoice(const QStringList& titles, const QStringList& tips) {
  auto* bar = new SegmentedBar(SegmentedBar::Kind::choice, titles);
  for (int segment = 0; segment < tips.size(); ++segment)
    bar->at(segment)->setToolTip(tips[segment]);
  return bar;
}

SegmentedBar* newApplicationBar() {
  QStringList titles;
  QStringList tips;
  for (const ApplicationRow& row : applicationTable) {
    titles << QStringLiteral("@@") + QLatin1String(row.title);
    tips << QStringLiteral("@@") + QLatin1String(row.tip);
  }
  return newChoice(titles, tips);
}

QDialogButtonBox* newCloseButtons(QDialog* window) {
  auto* buttons = new QDialogButtonBox;
  buttons->addButton("@@close", QDialogButtonBox::RejectRole);
  QObject::connect(buttons, &QDialogButtonBox::rejected, window, &QDialog::close);
  return buttons;
}

void giveRoom(QWidget* widget) {
  for (QWidget* each : widget->findChildren<QWidget*>())
    if (const auto* label = qobject_cast<QLabel*>(each);
        qobject_cast<QLineEdit*>(each) || qobject_cast<QComboBox*>(each) ||
        qobject_cast<QPushButton*>(each) || qobject_cast<QCheckBox*>(each) ||
        (label && label->buddy()))
      each->setMinimumHeight(leastTarget);
}

}  // namespace tessarin
