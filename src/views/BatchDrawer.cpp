#include "views/BatchDrawer.h"

#include <fmt/format.h>

#include <QGridLayout>
#include <QHBoxLayout>
#include <QPointer>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "prefs/utilsAlert.h"
#include "views/ElidedLabel.h"
#include "views/bindings.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

constexpr int startWidth = 130;
constexpr int startHeight = 36;
constexpr int progressSteps = 1000;

}  // namespace

QString numberText(const BatchProgress& batch) {
  const auto begun = static_cast<std::size_t>(batch.ended) + batch.inHand.size();
  return begun == 0 ? QString()
                    : qtText(localisationString("D_batchNumber", "", fmt::format("{}", begun),
                                                fmt::format("{}", batch.rows)));
}

QString percentText(const BatchProgress& batch) {
  return batch.rows == 0
             ? QString()
             : QString::number(static_cast<int>(batch.fraction * 100)) + QStringLiteral(" %");
}

BatchDrawer::BatchDrawer(appDelegate& app, const WindowActions& actions, QWidget* parent)
    : QWidget(parent),
      app_(app),
      table_(new BatchView(app, actions, this)),
      preview_(new PreviewView(app)),
      splitter_(new QSplitter(Qt::Horizontal)) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(10);
  table_->setMinimumHeight(150);
  table_->setObjectName("batch");
  splitter_->setChildrenCollapsible(false);
  splitter_->setHandleWidth(12);
  splitter_->addWidget(table_);
  splitter_->addWidget(preview_);
  splitter_->setStretchFactor(0, 1);
  preview_->setObjectName("preview");
  preview_->hide();
  column->addWidget(splitter_, 1);
  column->addWidget(newRunBar());
}

int BatchDrawer::previewWidth() const {
  return preview_->isHidden() ? 0 : preview_->width();
}

void BatchDrawer::showPreview(int width) {
  preview_->setVisible(width > 0);
  if (width > 0)
    splitter_->setSizes({qMax(1, splitter_->width() - width), width});
}

QWidget* BatchDrawer::newRunBar() {
  TaskControls& encoding = app_.interface.encoding;
  auto* bar = new QWidget;
  auto* row = new QHBoxLayout(bar);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(12);

  auto* start = new QPushButton("@@start");
  start->setObjectName("start");
  start->setToolTip("@@tipStart");
  start->setMinimumSize(startWidth, startHeight);
  start->setDefault(true);
  // A button that cannot be pressed any more would hand the keys to the field for drops. Before it
  // is bound: so it still has them.
  follow(app_.interface.batchGoBt, start, [this, start] {
    if (!app_.interface.batchGoBt.isEnabled() && start->hasFocus())
      table_->setFocus();
  });
  bindTo(start, app_.interface.batchGoBt, [this] { app_.iba_batchGoBt(); });
  auto* wheel = new BusyIndicator;
  bindTo(wheel, encoding.wheel);
  auto* stop = new SegmentedBar(SegmentedBar::Kind::buttons, {QString(), QString()});
  stop->setObjectName("stop");
  bindTo(stop, encoding.stopBt, [this, &encoding] {
    // It goes with the batch, and the keys would go to the field for drops.
    if (encoding.stopBt.selected() == stopSegment)
      table_->setFocus();
    app_.iba_taskStopBt();
  });

  row->addWidget(start);
  row->addWidget(newCourse(), 1);
  row->addWidget(wheel);
  row->addWidget(stop);
  return bar;
}

// What the batch has come to, or how far the one that runs is.
QWidget* BatchDrawer::newCourse() {
  // In a page of its own: a bound label shows itself, whichever page is in front.
  auto* atRest = new QWidget;
  auto* lines = new QVBoxLayout(atRest);
  lines->setContentsMargins(0, 0, 0, 0);
  lines->setSpacing(2);
  auto* report = new ElidedLabel;
  report->setObjectName("report");
  TextField& said = app_.interface.batchReport;
  bindTo(report, said);
  // An empty line would push the other one out of the middle.
  const auto showReport = [&said, held = QPointer<ElidedLabel>(report)] {
    if (held)
      held->setVisible(!said.text().empty());
  };
  said.changed.connect(showReport);
  showReport();
  lines->addWidget(report);
  auto* summary = new ElidedLabel;
  summary->setObjectName("summary");
  bindTo(summary, app_.interface.batchSummary);
  lines->addWidget(summary);
  auto* course = new QStackedWidget;
  course->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  course->addWidget(atRest);
  course->addWidget(newProgress());
  const auto show = [this, held = QPointer<QStackedWidget>(course)] {
    if (held)
      held->setCurrentIndex(app_.interface.batchGoBt.state() == 1 ? 1 : 0);
  };
  app_.interface.batchGoBt.changed.connect(show);
  show();
  return course;
}

QWidget* BatchDrawer::newProgress() {
  TaskControls& encoding = app_.interface.encoding;
  auto* whole = new QWidget;
  auto* grid = new QGridLayout(whole);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setVerticalSpacing(2);
  auto* action = new ElidedLabel;
  action->setObjectName("action");
  bindTo(action, encoding.action);
  auto* number = new QLabel;
  number->setObjectName("number");
  auto* percent = new QLabel;
  percent->setObjectName("percent");
  percent->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  percent->setMinimumWidth(percent->fontMetrics().horizontalAdvance("100 %"));
  auto* left = new QLabel;
  left->setObjectName("left");
  bindTo(left, encoding.left);
  auto* progress = new QProgressBar;
  progress->setObjectName("progress");
  progress->setTextVisible(false);
  progress->setAccessibleName("@@progress");
  progress->setRange(0, progressSteps);
  grid->setHorizontalSpacing(14);
  grid->addWidget(action, 0, 0);
  grid->addWidget(number, 0, 1);
  grid->addWidget(left, 0, 2);
  grid->addWidget(percent, 0, 3);
  grid->addWidget(progress, 1, 0, 1, 4);
  grid->setColumnStretch(0, 1);
  const auto show = [this, held = QPointer<QLabel>(number), percent, progress] {
    if (!held)
      return;
    const BatchProgress batch = app_.driver().progress();
    held->setText(numberText(batch));
    percent->setText(percentText(batch));
    progress->setValue(static_cast<int>(batch.fraction * progressSteps));
  };
  app_.driver().progressed.connect(show);
  app_.driver().jobStarted.connect([show](const std::string&, const std::string&) { show(); });
  app_.interface.batchGoBt.changed.connect(show);
  show();
  return whole;
}

}  // namespace tessarin
