#include "views/mnemonics.h"

#include <QCheckBox>
#include <QEvent>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>

namespace tessarin {

namespace {

// Without the one that it has; two of them are a letter that is shown.
QString plain(QString text) {
  static const QRegularExpression mark("&(?!&)(?<!&&)");
  return text.remove(mark);
}

// With those below it.
void followMenu(QMenu* menu) {
  QObject::connect(menu, &QMenu::aboutToShow, menu, [menu] { giveMnemonics(menu); });
  for (const QAction* action : menu->actions())
    if (QMenu* below = action->menu())
      followMenu(below);
}

// A label hands its letter only to what takes keys by itself. A field of several parts names one
// that takes them for it, which may be another one each time.
class LetterToPart : public QObject {
 public:
  using QObject::QObject;

  bool eventFilter(QObject* watched, QEvent* event) override {
    const auto* label = qobject_cast<QLabel*>(watched);
    if (event->type() != QEvent::Shortcut || label == nullptr || label->buddy() == nullptr ||
        label->buddy()->focusProxy() == nullptr)
      return false;
    label->buddy()->setFocus(Qt::ShortcutFocusReason);
    label->window()->setAttribute(Qt::WA_KeyboardFocusChange);
    return true;
  }
};

}  // namespace

QString withMnemonic(const QString& text, QSet<QChar>& taken) {
  QString words = plain(text);
  for (const bool beginsWord : {true, false})
    for (qsizetype place = 0; place < words.size(); ++place) {
      const bool isBegin = place == 0 || words.at(place - 1).isSpace();
      const QChar letter = words.at(place).toUpper();
      if (!letter.isLetterOrNumber() || isBegin != beginsWord || taken.contains(letter))
        continue;
      taken.insert(letter);
      return words.left(place) + QLatin1Char('&') + words.mid(place);
    }
  return words;
}

void giveMnemonics(QMenu* menu) {
  QSet<QChar> taken;
  for (QAction* action : menu->actions()) {
    if (action->isSeparator())
      continue;
    action->setText(withMnemonic(action->text(), taken));
    if (QMenu* below = action->menu())
      giveMnemonics(below);
  }
}

void giveMnemonics(QMenuBar* bar) {
  QSet<QChar> taken;
  for (QAction* title : bar->actions()) {
    title->setText(withMnemonic(title->text(), taken));
    if (QMenu* menu = title->menu())
      followMenu(menu);
  }
}

void giveMnemonics(QWidget* window) {
  QSet<QChar> taken;
  if (const auto* bar = window->findChild<QMenuBar*>())
    for (const QAction* title : bar->actions())
      if (const auto place = title->text().indexOf(QLatin1Char('&')); place >= 0)
        taken.insert(title->text()[place + 1].toUpper());
  for (QWidget* each : window->findChildren<QWidget*>()) {
    if (each->window() != window)
      continue;
    if (auto* label = qobject_cast<QLabel*>(each); label && label->buddy()) {
      label->setText(withMnemonic(label->text(), taken));
      label->installEventFilter(new LetterToPart(label));
    } else if (auto* button = qobject_cast<QAbstractButton*>(each);
               button && !button->text().isEmpty() &&
               (qobject_cast<QPushButton*>(each) || qobject_cast<QCheckBox*>(each))) {
      button->setText(withMnemonic(button->text(), taken));
    }
  }
}

}  // namespace tessarin
