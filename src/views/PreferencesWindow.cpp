#include "views/PreferencesWindow.h"

#include <QDialogButtonBox>
#include <QFormLayout>

#include "views/bindings.h"
#include "views/localize.h"
#include "views/popUpTitles.h"

namespace tessarin {

void PreferencesWindow::open(appDelegate& app, QWidget* parent) {
  openOne<PreferencesWindow>([&] { return new PreferencesWindow(app, parent); });
}

PreferencesWindow::PreferencesWindow(appDelegate& app, QWidget* parent)
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
  form->addRow("@@destination", destination);

  auto* flavours = new QComboBox;
  bindTo(flavours, interface.prores, proresTitle, store);
  form->addRow("@@prefProres", flavours);

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
  form->addRow(QString(), update);
  auto* assistantSkip = new QCheckBox("@@assistantSkip");
  bindTo(assistantSkip, interface.assistantSkip);
  form->addRow(QString(), assistantSkip);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
  form->addRow(buttons);
  localizeWindow(this);
}

}  // namespace tessarin
