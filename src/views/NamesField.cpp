#include "views/NamesField.h"

#include <QHBoxLayout>
#include <QMenu>
#include <QPointer>
#include <QVBoxLayout>
#include <utility>

#include "core/movieNames.h"
#include "views/ElidedLabel.h"
#include "views/mnemonics.h"
#include "views/qtText.h"

namespace tessarin {

NamesField::NamesField(appDelegate& app, Act store, QWidget* parent)
    : QWidget(parent),
      app_(app),
      store_(std::move(store)),
      pattern_(new QLineEdit),
      example_(new ElidedLabel) {
  auto* lines = new QVBoxLayout(this);
  lines->setContentsMargins(0, 0, 0, 0);
  lines->setSpacing(2);
  auto* row = new QHBoxLayout;
  row->setSpacing(6);
  pattern_->setObjectName("names");
  pattern_->setAccessibleName("@@names");
  pattern_->setPlaceholderText("@@namesUsual");
  pattern_->setToolTip("@@tipNames");
  pattern_->setAcceptDrops(false);  // the window takes drops
  bindTo(pattern_, app_.interface.names, store_);
  row->addWidget(pattern_, 1);
  row->addWidget(newFieldButton());
  lines->addLayout(row);
  example_->setObjectName("namesExample");
  lines->addWidget(example_);
  setFocusProxy(pattern_);

  Interface& interface = app_.interface;
  const Act show = [this] { showExample(); };
  follow(interface.names, this, show);
  follow(interface.editingSoft, this, show);
  follow(interface.targetNote, this, show);
  const QPointer<NamesField> held(this);
  const auto showRow = [held] {
    if (held)
      held->showExample();
  };
  BatchTable& table = app_.table();
  table.rowSelected.connect(showRow);
  table.rowAppended.connect([showRow](int) { showRow(); });
  for (auto* change :
       {&table.rowsChanged, &table.rowsRemoved, &table.rowsPutBack, &table.rowsMoved})
    change->connect([showRow](const std::vector<int>&) { showRow(); });
  showExample();
}

QPushButton* NamesField::newFieldButton() {
  auto* button = new QPushButton("@@namesFields");
  button->setObjectName("namesFields");
  auto* menu = new QMenu(button);
  for (const auto& [title, field] :
       {std::pair{"@@fieldTitle", "{title}"}, std::pair{"@@fieldUsual", "{usual}"},
        std::pair{"@@fieldDate", "{date}"}, std::pair{"@@fieldTime", "{time}"},
        std::pair{"@@fieldTimeCode", "{timecode}"}, std::pair{"@@fieldMake", "{make}"},
        std::pair{"@@fieldModel", "{model}"}})
    menu->addAction(title, this, [this, field = field] { insert(QLatin1String(field)); });
  connect(menu, &QMenu::aboutToShow, menu, [menu] { giveMnemonics(menu); });
  button->setMenu(menu);
  return button;
}

// Where the insertion point is, for what is selected.
void NamesField::insert(const QString& field) {
  pattern_->insert(field);
  pattern_->setFocus();
  app_.interface.names.setText(pattern_->text().toStdString());
  store_();
}

void NamesField::showExample() {
  const BatchTable& table = app_.table();
  const int row = table.has(table.selectedRow()) ? table.selectedRow() : 0;
  const auto mistake = mistakeInNames(app_.interface);
  const QString text =
      mistake ? QStringLiteral("⚠ ") + qtText(*mistake)
              : QStringLiteral("→ ") +
                    qtText(exampleName(app_.interface, table.has(row) ? &table.row(row) : nullptr));
  example_->setText(text);
  pattern_->setAccessibleDescription(text);
}

}  // namespace tessarin
