#include "views/QtAlerts.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QPushButton>
#include <algorithm>

#include "prefs/utilsAlert.h"
#include "views/mnemonics.h"
#include "views/qtText.h"
#include "views/settingWidgets.h"

namespace tessarin {

namespace {

constexpr int leastWidth = 420;

QMessageBox::Icon iconOf(Alert::Style style) {
  switch (style) {
    case Alert::Style::information:
      return QMessageBox::Information;
    case Alert::Style::warning:
      return QMessageBox::Warning;
    case Alert::Style::critical:
      return QMessageBox::Critical;
  }
  return QMessageBox::NoIcon;
}

// Index of the button that closing the dialog stands for.
std::size_t escapeButton(const Alert& alert) {
  const auto cancel =
      std::find(alert.buttons.begin(), alert.buttons.end(), localisationString("D_Annuler"));
  return cancel == alert.buttons.end() ? alert.closing
                                       : static_cast<std::size_t>(cancel - alert.buttons.begin());
}

}  // namespace

QtAlerts::~QtAlerts() {
  close();
}

void QtAlerts::show(const Alert& alert, std::function<void(AlertAnswer)> answered) {
  if (closed_)
    return;
  auto* box = new QMessageBox(window_);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setIcon(iconOf(alert.style));
  box->setTextFormat(Qt::PlainText);  // file names may look like markup
  box->setText(qtText(alert.message));
  box->setInformativeText(qtText(alert.informative));

  // By itself the box is as narrow as its buttons let it be.
  if (auto* grid = qobject_cast<QGridLayout*>(box->layout()))
    grid->addItem(new QSpacerItem(leastWidth, 0), grid->rowCount(), 0, 1, grid->columnCount());

  std::vector<QPushButton*> buttons;
  for (const std::string& title : alert.buttons)
    buttons.push_back(box->addButton(qtText(title), QMessageBox::ActionRole));
  if (buttons.empty())
    buttons.push_back(box->addButton(qtText(localisationString("D_ok")), QMessageBox::AcceptRole));
  const bool isQuestion = answered && buttons.size() > 1;
  const std::size_t escape = escapeButton(alert);
  box->setDefaultButton(buttons.front());
  box->setEscapeButton(buttons[escape]);
  if (!alert.checkBox.empty())
    box->setCheckBox(new QCheckBox(qtText(alert.checkBox), box));
  giveRoom(box);
  giveMnemonics(box);

  QObject::connect(box, &QMessageBox::finished, box,
                   [box, buttons, escape, answered = std::move(answered)] {
                     AlertAnswer answer{escape, box->checkBox() && box->checkBox()->isChecked()};
                     for (std::size_t index = 0; index < buttons.size(); ++index)
                       if (buttons[index] == box->clickedButton())
                         answer.button = index;
                     alertDidEnd(firstButtonReturnCode + static_cast<std::int64_t>(answer.button));
                     if (answered)
                       answered(answer);
                   });
  std::erase_if(open_, [](const QPointer<QMessageBox>& one) { return one.isNull(); });
  open_.emplace_back(box);
  box->open();
  if (isQuestion && asked)
    asked(alert);
}

bool QtAlerts::isOpen() const {
  return std::any_of(open_.begin(), open_.end(),
                     [](const QPointer<QMessageBox>& box) { return !box.isNull(); });
}

void QtAlerts::close() {
  closed_ = true;
  for (const QPointer<QMessageBox>& box : open_) {
    if (!box)
      continue;
    box->disconnect();
    box->deleteLater();
    box->hide();
  }
  open_.clear();
}

}  // namespace tessarin
