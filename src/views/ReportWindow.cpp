#include "views/ReportWindow.h"

#include <QClipboard>
#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "core/startUp.h"
#include "process/logs.h"
#include "views/localize.h"
#include "views/mnemonics.h"
#include "views/qtText.h"
#include "views/settingWidgets.h"

namespace tessarin {

namespace {

constexpr int reportWidth = 460;

QPlainTextEdit* newFacts() {
  auto* facts = new QPlainTextEdit(qtText(environmentFacts()) + "Qt " + qVersion() + ", " +
                                   QGuiApplication::platformName());
  facts->setReadOnly(true);
  facts->setTabChangesFocus(true);
  facts->setAccessibleName("@@reportFacts");
  facts->setMinimumHeight(7 * facts->fontMetrics().lineSpacing());
  return facts;
}

}  // namespace

void ReportWindow::open(const std::function<void(const std::string&)>& reveal, QWidget* parent) {
  openOne<ReportWindow>([&] { return new ReportWindow(reveal, parent); });
}

ReportWindow::ReportWindow(const std::function<void(const std::string&)>& reveal, QWidget* parent)
    : SideWindow("report", "@@menuReport", parent) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(20, 20, 20, 16);
  column->setSpacing(12);
  auto* text = new QLabel("@@reportText");
  text->setWordWrap(true);
  text->setMinimumWidth(reportWidth);
  column->addWidget(text);
  QPlainTextEdit* facts = newFacts();
  column->addWidget(facts, 1);

  auto* buttons = newCloseButtons(this);
  QPushButton* copy = buttons->addButton("@@reportCopy", QDialogButtonBox::ActionRole);
  connect(copy, &QPushButton::clicked, facts,
          [facts] { QGuiApplication::clipboard()->setText(facts->toPlainText()); });
  QPushButton* show = buttons->addButton("@@reportShowLog", QDialogButtonBox::ActionRole);
  connect(show, &QPushButton::clicked, this, [reveal] { reveal(detailLogPath()); });
  column->addWidget(buttons);
  localizeWindow(this);
  giveMnemonics(this);
}

}  // namespace tessarin
