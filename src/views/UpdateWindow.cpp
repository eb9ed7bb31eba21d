#include "views/UpdateWindow.h"

#include <QHBoxLayout>
#include <QPointer>
#include <QVBoxLayout>

#include "views/bindings.h"
#include "views/localize.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

constexpr int textWidth = 420;

QLabel* newText() {
  auto* label = new QLabel;
  label->setWordWrap(true);
  label->setMinimumWidth(textWidth);
  return label;
}

}  // namespace

void UpdateWindow::open(UpdateInterface& interface, QWidget* parent) {
  static QPointer<UpdateWindow> shown;
  if (!shown)
    shown = new UpdateWindow(interface, parent);
  shown->show();
  shown->raise();
  shown->activateWindow();
}

UpdateWindow::UpdateWindow(UpdateInterface& interface, QWidget* parent) : QDialog(parent) {
  setAttribute(Qt::WA_DeleteOnClose);
  setObjectName("updates");
  setWindowTitle("@@menuUpdates");
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(20, 20, 20, 16);
  column->setSpacing(12);
  auto* headline = newText();
  QFont font = headline->font();
  font.setBold(true);
  headline->setFont(font);
  bindTo(headline, interface.headline);
  auto* details = newText();
  details->setAlignment(Qt::AlignTop | Qt::AlignLeft);
  details->setMinimumHeight(3 * details->fontMetrics().lineSpacing());
  details->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  bindTo(details, interface.details);
  auto* bar = new QProgressBar;
  bar->setTextVisible(false);
  bar->setAccessibleName("@@menuUpdates");
  bindTo(bar, interface.bar);

  auto* buttons = new QHBoxLayout;
  auto* stop = new QPushButton("@@stop");
  bindTo(stop, interface.stop, [&interface] { interface.iba_updateStop(); });
  auto* close = new QPushButton("@@close");
  connect(close, &QPushButton::clicked, this, &QDialog::close);
  auto* go = new QPushButton;
  go->setDefault(true);
  bindTo(go, interface.go, [&interface] { interface.iba_updateGo(); });
  interface.goTitle.changed.connect([held = QPointer<QPushButton>(go), &interface] {
    if (held)
      held->setText(qtText(interface.goTitle.text()));
  });
  go->setText(qtText(interface.goTitle.text()));
  buttons->addWidget(stop);
  buttons->addStretch();
  buttons->addWidget(close);
  buttons->addWidget(go);

  column->addWidget(headline);
  column->addWidget(details, 1);
  column->addWidget(bar);
  column->addLayout(buttons);
  localizeWindow(this);
}

}  // namespace tessarin
