#include "views/PresetsMenu.h"

#include <QInputDialog>

#include "prefs/utilsAlert.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

// Names are shown as they are, none of their letters is a mnemonic.
QString itemText(const std::string& name) {
  return qtText(name).replace("&", "&&");
}

}  // namespace

PresetsMenu::PresetsMenu(UserPresets& presets, QWidget* parent)
    : QMenu("@@presets", parent), presets_(presets) {
  connect(this, &QMenu::aboutToShow, this, [this] { fill(); });
}

void PresetsMenu::fill() {
  clear();
  const auto names = presets_.names();
  const std::string chosen = presets_.chosen();
  for (const std::string& name : names) {
    QAction* item = addAction(itemText(name), this, [this, name] { presets_.choose(name); });
    item->setCheckable(true);
    item->setChecked(name == chosen);
  }
  addSeparator();
  addAction(qtText(localisationString("D_presetSave")), this, [this] { askForName(); });
  QMenu* removals = addMenu(qtText(localisationString("D_presetRemove")));
  removals->setEnabled(!names.empty());
  for (const std::string& name : names)
    removals->addAction(itemText(name), this, [this, name] { presets_.remove(name); });
}

void PresetsMenu::askForName() {
  auto* dialog = new QInputDialog(parentWidget());
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setWindowTitle(qtText(localisationString("D_presetTitle")));
  dialog->setLabelText(qtText(localisationString("D_presetName")));
  dialog->setOkButtonText(qtText(localisationString("D_ok")));
  dialog->setCancelButtonText(qtText(localisationString("D_Annuler")));
  connect(dialog, &QInputDialog::textValueSelected, this,
          [this](const QString& name) { presets_.save(name.trimmed().toUtf8().toStdString()); });
  dialog->open();
}

}  // namespace tessarin
