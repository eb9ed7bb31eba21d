// Preloaded into the program with a window: writes what can be seen, and where, into the file that
// TELL_WIDGETS names, whenever that changes; so a test can wait for a state and point at it. A line
// each: NAME X Y WIDTH HEIGHT WORDS TEXT, between tabs, X and Y being the middle on the screen.
// Names are those of the objects; of a table's cells "cell.ROW.COLUMN", from 0, and of menus'
// entries, buttons and questions "entry", "button" and "question". Words: focus, grey, selected.
#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QTimer>

namespace {

QString said;

void tell(const QString& name, const QWidget& at, const QRect& place, const QStringList& words,
          QString text) {
  const QPoint middle = at.mapToGlobal(place.center());
  said += QStringList{name,
                      QString::number(middle.x()),
                      QString::number(middle.y()),
                      QString::number(place.width()),
                      QString::number(place.height()),
                      words.join(QLatin1Char(',')),
                      text.remove(QLatin1Char('&')).replace(QLatin1Char('\n'), QLatin1Char('|'))}
              .join(QLatin1Char('\t')) +
          QLatin1Char('\n');
}

void tellCells(const QAbstractItemView& view) {
  const QAbstractItemModel& model = *view.model();
  for (int row = 0; row < model.rowCount(); ++row)
    for (int column = 0; column < model.columnCount(); ++column) {
      const QModelIndex cell = model.index(row, column);
      QStringList words;
      if (view.selectionModel()->isSelected(cell))
        words << QStringLiteral("selected");
      if (view.hasFocus() && view.currentIndex() == cell)
        words << QStringLiteral("focus");
      tell(QStringLiteral("cell.%1.%2").arg(row).arg(column), *view.viewport(),
           view.visualRect(cell), words, cell.data(Qt::AccessibleTextRole).toString());
    }
}

template <class Bar>
void tellEntries(const Bar& bar) {
  for (QAction* action : bar.actions())
    if (action->isVisible() && !action->isSeparator())
      tell(QStringLiteral("entry"), bar, bar.actionGeometry(action),
           action->isEnabled() ? QStringList() : QStringList{QStringLiteral("grey")},
           action->text());
}

void tellWidget(const QWidget& widget) {
  QStringList words;
  if (widget.hasFocus())
    words << QStringLiteral("focus");
  if (!widget.isEnabled())
    words << QStringLiteral("grey");
  QString name = widget.objectName();
  QString text;
  if (const auto* button = qobject_cast<const QAbstractButton*>(&widget)) {
    name = name.isEmpty() ? QStringLiteral("button") : name;
    text = button->text().isEmpty() ? button->accessibleName() : button->text();
  } else if (const auto* label = qobject_cast<const QLabel*>(&widget)) {
    text = label->text();
  } else if (const auto* line = qobject_cast<const QLineEdit*>(&widget)) {
    text = line->text();
  } else if (const auto* page = qobject_cast<const QPlainTextEdit*>(&widget)) {
    text = page->toPlainText();
  } else if (const auto* box = qobject_cast<const QMessageBox*>(&widget)) {
    name = QStringLiteral("question");
    text = box->text();
  } else if (const auto* menu = qobject_cast<const QMenu*>(&widget)) {
    tellEntries(*menu);
  } else if (const auto* bar = qobject_cast<const QMenuBar*>(&widget)) {
    tellEntries(*bar);
  } else if (widget.isWindow()) {
    text = widget.windowTitle();
  }
  tell(name.isEmpty() ? QStringLiteral("-") : name, widget, widget.rect(), words, text);
  if (name == QLatin1String("batch"))
    tellCells(*qobject_cast<const QAbstractItemView*>(&widget));
}

void look() {
  said.clear();
  for (const QWidget* widget : QApplication::allWidgets())
    if (widget->isVisible())
      tellWidget(*widget);
  static QString before;
  if (said == before)
    return;
  before = said;
  const QString path = qEnvironmentVariable("TELL_WIDGETS");
  QFile file(path + QStringLiteral(".new"));
  if (file.open(QIODevice::WriteOnly) && file.write(said.toUtf8()) >= 0) {
    file.close();
    std::rename(qPrintable(file.fileName()), qPrintable(path));
  }
}

void begin() {
  auto* timer = new QTimer(qApp);
  QObject::connect(timer, &QTimer::timeout, look);
  timer->start(50);
}

}  // namespace

Q_COREAPP_STARTUP_FUNCTION(begin)
