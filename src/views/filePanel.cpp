#include "views/filePanel.h"

#include <QToolButton>

#include "prefs/utilsAlert.h"
#include "views/localize.h"
#include "views/mnemonics.h"
#include "views/qtText.h"
#include "views/settingWidgets.h"

namespace tessarin {

QFileDialog* newFilePanel(QWidget* parent, const QString& title, const QString& start,
                          QFileDialog::FileMode mode) {
  auto* panel = new QFileDialog(parent, title, start);
  panel->setAttribute(Qt::WA_DeleteOnClose);
  panel->setFileMode(mode);
  const bool isFolder = mode == QFileDialog::Directory;
  panel->setLabelText(QFileDialog::LookIn, localizedText("@@panelFolder"));
  panel->setLabelText(QFileDialog::FileName, localizedText("@@panelName"));
  panel->setLabelText(QFileDialog::FileType, localizedText("@@panelKind"));
  panel->setLabelText(QFileDialog::Accept,
                      localizedText(isFolder ? "@@panelChoose" : "@@panelOpen"));
  panel->setLabelText(QFileDialog::Reject, qtText(localisationString("D_Annuler")));
  // The desktop's window can be resized at each edge.
  panel->setSizeGripEnabled(false);
  for (auto* button : panel->findChildren<QToolButton*>())
    button->setFixedSize(leastTarget, leastTarget);
  giveRoom(panel);
  giveMnemonics(panel);
  return panel;
}

}  // namespace tessarin
