#include "views/LocalizationWindow.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "classShared/log.h"
#include "core/language.h"
#include "platform/Alerts.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"
#include "views/localize.h"
#include "views/mnemonics.h"
#include "views/qtText.h"
#include "views/settingWidgets.h"

namespace tessarin {

namespace {

constexpr int textWidth = 420;

std::string textsOf(const std::string& language) {
  return Bundle::main().resourcePath() + "/" + language + ".lproj/Localized.strings";
}

QLabel* newText(const QString& text) {
  auto* label = new QLabel(text);
  label->setWordWrap(true);
  label->setMinimumWidth(textWidth);
  return label;
}

}  // namespace

void LocalizationWindow::open(std::function<void(const std::string&)> reveal, QWidget* parent) {
  openOne<LocalizationWindow>([&] { return new LocalizationWindow(std::move(reveal), parent); });
}

LocalizationWindow::LocalizationWindow(std::function<void(const std::string&)> reveal,
                                       QWidget* parent)
    : SideWindow("localization", "@@localizationTitle", parent), reveal_(std::move(reveal)) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(20, 20, 20, 16);
  column->setSpacing(12);

  const std::string language = localLanguageCode().value_or(Bundle::main().language());
  auto* name = newText(qtText(languageName(language)));
  QFont font = name->font();
  font.setPointSizeF(font.pointSizeF() * 1.3);
  font.setBold(true);
  name->setFont(font);
  column->addWidget(name);
  column->addWidget(newText("@@localizationText"));
  auto* path = newText(qtText(textsOf(language)));
  path->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  path->setTextFormat(Qt::PlainText);
  column->addWidget(path);

  auto* buttons = newCloseButtons(this);
  QPushButton* show = buttons->addButton("@@localizationOpen", QDialogButtonBox::ActionRole);
  show->setObjectName("openLocalizationFile");
  connect(show, &QPushButton::clicked, this, [this] { iba_openLocalizationFile(); });
  column->addStretch();
  column->addWidget(buttons);
  localizeWindow(this);
  giveMnemonics(this);
}

void LocalizationWindow::iba_openLocalizationFile() {
  const auto language = localLanguageCode();
  if (!language)
    return;
  logFormat("Local language      : {}", *language);
  const std::string path = textsOf(*language);
  const bool isThere = pathExists(path);
  if (isThere)
    reveal_(path);
  logFormat("revealFolderInFinder? {:d} ({})", isThere, path);
  close();
  userAlerts().show({localisationString("localizationToOpen"),
                     localisationString("localizationOpened"),
                     {},
                     "",
                     Alert::Style::information});
}

}  // namespace tessarin
