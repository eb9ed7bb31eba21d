#include "views/localize.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QTabWidget>
#include <QTableView>
#include <QTranslator>

#include "platform/Bundle.h"
#include "views/SegmentedBar.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

QString& tableName() {
  static QString name;
  return name;
}

// Replaces one text by way of its setter; 1 when it was a key.
template <class Setter>
int replace(const QString& text, Setter set) {
  if (!text.startsWith(QLatin1String("@@")))
    return 0;
  set(localizedText(text));
  return 1;
}

int localizeItems(QComboBox* popup) {
  int replaced = 0;
  for (int item = 0; item < popup->count(); ++item)
    replaced += replace(popup->itemText(item),
                        [&](const QString& text) { popup->setItemText(item, text); });
  return replaced;
}

int localizeColumns(QTableView* table) {
  QAbstractItemModel* model = table->model();
  int replaced = 0;
  for (int column = 0; model && column < model->columnCount(); ++column)
    replaced +=
        replace(model->headerData(column, Qt::Horizontal).toString(), [&](const QString& text) {
          model->setHeaderData(column, Qt::Horizontal, text, Qt::DisplayRole);
        });
  return replaced;
}

int localizeTabs(QTabWidget* tabs) {
  int replaced = 0;
  for (int tab = 0; tab < tabs->count(); ++tab)
    replaced +=
        replace(tabs->tabText(tab), [&](const QString& text) { tabs->setTabText(tab, text); });
  return replaced;
}

int localizeField(QLineEdit* field) {
  return replace(field->text(), [&](const QString& text) { field->setText(text); }) +
         replace(field->placeholderText(),
                 [&](const QString& text) { field->setPlaceholderText(text); });
}

// The texts that belong to the kind of the control. The segments of a bar are buttons of their own.
int localizeControl(QWidget* view) {
  if (auto* box = qobject_cast<QGroupBox*>(view))
    return replace(box->title(), [&](const QString& text) { box->setTitle(text); });
  if (auto* button = qobject_cast<QAbstractButton*>(view))
    return replace(button->text(), [&](const QString& text) { button->setText(text); });
  if (auto* label = qobject_cast<QLabel*>(view))
    return replace(label->text(), [&](const QString& text) { label->setText(text); });
  if (auto* popup = qobject_cast<QComboBox*>(view))
    return localizeItems(popup);
  if (auto* field = qobject_cast<QLineEdit*>(view))
    return localizeField(field);
  if (auto* table = qobject_cast<QTableView*>(view))
    return localizeColumns(table);
  if (auto* tabs = qobject_cast<QTabWidget*>(view))
    return localizeTabs(tabs);
  return 0;
}

}  // namespace

QString localizedText(const QString& text) {
  if (!text.startsWith(QLatin1String("@@")))
    return text;
  const QString& table = tableName();
  return qtText(Bundle::main().localizedString(
      text.mid(2).toStdString(), table.isEmpty() ? "Localizable" : table.toStdString()));
}

int localizeView(QWidget* view) {
  int replaced = localizeControl(view);
  replaced += replace(view->toolTip(), [&](const QString& text) { view->setToolTip(text); });
  replaced +=
      replace(view->accessibleName(), [&](const QString& text) { view->setAccessibleName(text); });
  for (QAction* action : view->actions())
    replaced += replace(action->text(), [&](const QString& text) { action->setText(text); });
  for (QObject* child : view->children()) {
    if (auto* menu = qobject_cast<QMenu*>(child))
      replaced += localizeMenu(menu);
    else if (auto* below = qobject_cast<QWidget*>(child); below && !below->isWindow())
      replaced += localizeView(below);
  }
  return replaced;
}

int localizeWindow(QWidget* window) {
  return replace(window->windowTitle(),
                 [&](const QString& text) { window->setWindowTitle(text); }) +
         localizeView(window);
}

int localizeMenu(QMenu* menu) {
  int replaced = replace(menu->title(), [&](const QString& text) { menu->setTitle(text); });
  for (QAction* action : menu->actions()) {
    // A submenu's item is its title.
    replaced += action->menu()
                    ? localizeMenu(action->menu())
                    : replace(action->text(), [&](const QString& text) { action->setText(text); });
  }
  return replaced;
}

void translateQt() {
  static QTranslator* installed = nullptr;
  if (installed)
    QCoreApplication::removeTranslator(installed);
  delete installed;
  installed = new QTranslator(qApp);
  if (installed->load("qtbase_" + qtText(Bundle::main().language()),
                      QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
    QCoreApplication::installTranslator(installed);
}

void useLocalizationTable(const QString& table) {
  tableName() = table;
}

}  // namespace tessarin
