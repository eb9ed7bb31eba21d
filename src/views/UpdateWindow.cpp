#include "views/UpdateWindow.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QVBoxLayout>

#include "views/bindings.h"
#include "views/localize.h"
#include "views/mnemonics.h"
#include "views/qtText.h"
#include "views/settingWidgets.h"

namespace tessarin {

namespace {

constexpr int noticeWidth = 420;

QLabel* newText() {
  auto* label = new QLabel;
  label->setWordWrap(true);
  label->setMinimumWidth(noticeWidth);
  return label;
}

// Notes on a version may be long, so that they are scrolled; a server's markup stays text.
QPlainTextEdit* newDetails(TextField& field) {
  auto* view = new QPlainTextEdit;
  view->setObjectName("updateDetails");
  view->setReadOnly(true);
  view->setTabChangesFocus(true);
  view->setMinimumHeight(5 * view->fontMetrics().lineSpacing());
  view->setAccessibleName("@@updateDetails");
  const auto show = [view, &field] { view->setPlainText(qtText(field.text())); };
  show();
  follow(field, view, show);
  return view;
}

}  // namespace

void UpdateWindow::open(UpdateInterface& interface, QWidget* parent) {
  openOne<UpdateWindow>([&] { return new UpdateWindow(interface, parent); });
}

UpdateWindow::UpdateWindow(UpdateInterface& interface, QWidget* parent)
    : SideWindow("updates", "@@menuUpdates", parent) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(20, 20, 20, 16);
  column->setSpacing(12);
  auto* headline = newText();
  QFont font = headline->font();
  font.setBold(true);
  headline->setFont(font);
  bindTo(headline, interface.headline);
  headline->setObjectName("updateHeadline");
  QPlainTextEdit* details = newDetails(interface.details);
  auto* address = new QLineEdit;
  address->setObjectName("updateAddress");
  address->setPlaceholderText("https://");
  bindTo(address, interface.address, [&interface] { interface.iba_updateAddress(); });
  auto* form = new QFormLayout;
  form->addRow("@@updateAddress", address);
  auto* bar = new QProgressBar;
  bar->setTextVisible(false);
  bar->setAccessibleName("@@updateProgress");
  bar->setObjectName("updateBar");
  bindTo(bar, interface.bar);

  auto* buttons = new QHBoxLayout;
  auto* stop = new QPushButton("@@stop");
  stop->setObjectName("updateStop");
  bindTo(stop, interface.stop, [&interface] { interface.iba_updateStop(); });
  auto* close = new QPushButton("@@close");
  close->setObjectName("updateClose");
  connect(close, &QPushButton::clicked, this, &QDialog::close);
  auto* go = new QPushButton;
  go->setObjectName("updateGo");
  go->setDefault(true);
  bindTo(go, interface.go, [&interface] { interface.iba_updateGo(); });
  const auto showTitle = [this, go, &interface] {
    go->setText(qtText(interface.goTitle.text()));
    giveMnemonics(this);
  };
  showTitle();
  follow(interface.goTitle, go, showTitle);
  buttons->addWidget(stop);
  buttons->addStretch();
  buttons->addWidget(close);
  buttons->addWidget(go);

  column->addWidget(headline);
  column->addWidget(details, 1);
  column->addLayout(form);
  column->addWidget(bar);
  column->addLayout(buttons);
  giveRoom(this);
  localizeWindow(this);
  giveMnemonics(this);
}

}  // namespace tessarin
