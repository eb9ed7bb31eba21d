#include "views/PreferencesWindow.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QSignalBlocker>

#include "views/bindings.h"
#include "views/localize.h"
#include "views/mnemonics.h"
#include "views/popUpTitles.h"
#include "views/settingWidgets.h"

namespace tessarin {

void PreferencesWindow::open(appDelegate& app, const std::function<void()>& chooseFolder,
                             QWidget* parent) {
  openOne<PreferencesWindow>([&] { return new PreferencesWindow(app, chooseFolder, parent); });
}

PreferencesWindow::PreferencesWindow(appDelegate& app, const std::function<void()>& chooseFolder,
                                     QWidget* parent)
    : SideWindow("preferences", "@@prefTitle", parent) {
  Interface& interface = app.interface;
  const Act store = [&app] { app.storePreferences(); };
  auto* form = new QFormLayout(this);
  form->setContentsMargins(20, 20, 20, 20);
  form->setVerticalSpacing(12);

  auto* destination = new QLineEdit;
  destination->setObjectName("destination");
  destination->setMinimumWidth(240);
  bindTo(destination, interface.destination, store);
  auto* place = new QHBoxLayout;
  place->setSpacing(6);
  place->addWidget(destination, 1);
  auto* choose = new QPushButton("@@chooseFolder");
  choose->setAutoDefault(false);  // Return behind a folder's name is no wish for another
  connect(choose, &QPushButton::clicked, this, chooseFolder);
  place->addWidget(choose);
  form->addRow("@@destination", place);
  qobject_cast<QLabel*>(form->labelForField(place))->setBuddy(destination);

  auto* flavours = new QComboBox;
  bindTo(flavours, interface.prores, proresTitle, store);
  form->addRow("@@prefProres", flavours);

  auto* sounds = new QComboBox;
  sounds->setObjectName("sound");
  bindTo(sounds, interface.sound, soundTitle, store);
  form->addRow("@@prefSound", sounds);
  auto* slowSounds = new QComboBox;
  slowSounds->setObjectName("slowSound");
  bindTo(slowSounds, interface.slowSound, slowSoundTitle, store);
  form->addRow("@@prefSlowSound", slowSounds);

  auto* colours = new SegmentedBar(SegmentedBar::Kind::choice,
                                   {"@@colourDesktop", "@@colourDark", "@@colourHud"});
  bindTo(colours, interface.colour, store);
  form->addRow("@@prefColor", colours);

  auto* jobs = new QComboBox;
  jobs->setObjectName("jobs");
  bindTo(jobs, interface.jobs, jobsTitle);
  form->addRow("@@prefJobs", jobs);

  auto* languages = new QComboBox;
  languages->setObjectName("language");
  bindTo(languages, interface.language, languageTitle);
  form->addRow("@@prefLanguage", languages);

  auto* alertEnd = new QCheckBox("@@prefAlertEnd");
  bindTo(alertEnd, interface.alertEnd, store);
  form->addRow(QString(), alertEnd);
  auto* update = new QCheckBox("@@prefUpdate");
  bindTo(update, interface.updateCheck, store);
  // Where there is no address nothing is looked for, whatever was chosen.
  const auto explain = [update, &interface] {
    const bool isPossible = interface.updateCheck.isEnabled();
    update->setToolTip(isPossible ? QString() : localizedText("@@whyNoUpdates"));
    if (!isPossible) {
      const QSignalBlocker blocker(update);
      update->setChecked(false);
    }
  };
  follow(interface.updateCheck, update, explain);
  explain();
  form->addRow(QString(), update);
  auto* assistantSkip = new QCheckBox("@@assistantSkip");
  bindTo(assistantSkip, interface.assistantSkip);
  form->addRow(QString(), assistantSkip);

  auto* buttons = newCloseButtons(this);
  form->addRow(buttons);
  giveRoom(this);
  localizeWindow(this);
  giveMnemonics(this);
}

}  // namespace tessarin
