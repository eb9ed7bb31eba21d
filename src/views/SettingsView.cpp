#include "views/SettingsView.h"

#include <QDir>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QVBoxLayout>

#include "utils/files.h"
#include "views/NamesField.h"
#include "views/bindings.h"
#include "views/filePanel.h"
#include "views/localize.h"
#include "views/popUpTitles.h"
#include "views/qtText.h"
#include "views/settingWidgets.h"

namespace tessarin {

namespace {

QHBoxLayout* newRow(QWidget* row) {
  auto* layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  return layout;
}

}  // namespace

SettingsView::SettingsView(appDelegate& app, std::function<void(const std::string&)> reveal,
                           QWidget* parent)
    : QWidget(parent), app_(app), reveal_(std::move(reveal)) {
  Interface& interface = app_.interface;
  const Act store = [this] { app_.storePreferences(); };
  auto* form = new QFormLayout(this);
  form->setContentsMargins(0, 0, 0, 0);
  form->setVerticalSpacing(10);
  form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
  form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);

  auto* soft = newApplicationBar();
  soft->setObjectName("editingSoft");
  soft->setAccessibleName("@@editingSoft");
  bindTo(soft, interface.editingSoft, store);
  auto* application = new QWidget;
  auto* lines = new QVBoxLayout(application);
  lines->setContentsMargins(0, 0, 0, 0);
  lines->addWidget(soft);
  lines->addWidget(newTargetNote());
  application->setFocusProxy(soft);
  form->addRow("@@editingSoft", application);

  auto* sizes = new QComboBox;
  sizes->setObjectName("sizeOut");
  sizes->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  sizes->setMinimumContentsLength(24);
  bindTo(sizes, interface.sizeOut, sizeTitle, store);
  form->addRow("@@prefPreset", sizes);

  form->addRow("@@prefSpeed", newSpeedRow());

  auto* surround = new QCheckBox("@@prefSurround");
  surround->setObjectName("surround");
  bindTo(surround, interface.surround, store);
  form->addRow(QString(), surround);

  form->addRow("@@destination", newDestinationRow());
  auto* names = new NamesField(app_, store);
  form->addRow("@@names", names);
  form->setAlignment(form->labelForField(names), Qt::AlignRight | Qt::AlignTop);
  giveRoom(this);
}

// What a preset has chosen and no other control shows.
QWidget* SettingsView::newTargetNote() {
  auto* note = new QLabel;
  note->setObjectName("targetNote");
  note->setWordWrap(true);
  TextField& said = app_.interface.targetNote;
  const auto show = [note, &said] {
    note->setText(qtText(said.text()));
    note->setVisible(!said.text().empty());
  };
  follow(said, note, show);
  show();
  return note;
}

QWidget* SettingsView::newSpeedRow() {
  Interface& interface = app_.interface;
  const Act store = [this] { app_.storePreferences(); };
  auto* row = new QWidget;
  auto* layout = newRow(row);
  auto* speed = newChoice({"@@speedFull", "@@speedHalf", "@@speedSlow"},
                          {"@@tipSpeedFull", "@@tipSpeedHalf", "@@tipSpeedSlow"});
  speed->setObjectName("speed");
  speed->setAccessibleName("@@prefSpeed");
  bindTo(speed, interface.speed, store);
  const auto explain = [&interface, speed] {
    speed->setToolTip(interface.speed.isEnabled() ? QString() : localizedText("@@whySpeedGrey"));
  };
  follow(interface.speed, speed, explain);
  explain();
  auto* mode = newChoice({"@@modeExpert", "@@modeEasy"}, {"@@tipModeExpert", "@@tipModeEasy"});
  mode->setObjectName("mode");
  bindTo(mode, interface.easy, store);
  row->setFocusProxy(mode);
  layout->addWidget(speed, 3);
  layout->addSpacing(12);
  layout->addWidget(mode, 2);
  return row;
}

QWidget* SettingsView::newDestinationRow() {
  auto* row = new QWidget;
  auto* layout = newRow(row);
  auto* destination = new QLineEdit;
  destination->setObjectName("destination");
  destination->setAccessibleName("@@destination");
  destination->setAcceptDrops(false);  // the window takes drops
  destination->setMinimumWidth(160);
  bindTo(destination, app_.interface.destination, [this] { app_.storePreferences(); });
  auto* choose = new QPushButton("@@chooseFolder");
  connect(choose, &QPushButton::clicked, this, [this] { chooseDestination(); });
  auto* show = new QPushButton("@@showFolder");
  connect(show, &QPushButton::clicked, this,
          [this] { reveal_(expandTilde(app_.interface.destination.text())); });
  row->setFocusProxy(destination);
  layout->addWidget(destination, 1);
  layout->addWidget(choose);
  layout->addWidget(show);
  return row;
}

// Whoever chooses another folder may do so because the former one does not answer.
void SettingsView::chooseDestination() {
  const std::string folder = expandTilde(app_.interface.destination.text());
  app_.whenDiskAnswers(folder, [held = QPointer<SettingsView>(this), folder](bool isAnswered) {
    if (held)
      held->openDestinationPanel(isAnswered ? qtText(folder) : QDir::homePath());
  });
}

void SettingsView::openDestinationPanel(const QString& start) {
  QFileDialog* panel =
      newFilePanel(this, localizedText("@@destinationPanel"), start, QFileDialog::Directory);
  panel->setOption(QFileDialog::ShowDirsOnly);
  connect(panel, &QFileDialog::fileSelected, this, [this](const QString& folder) {
    app_.interface.destination.setText(folder.toStdString());
    app_.storePreferences();
  });
  panel->open();
}

}  // namespace tessarin
