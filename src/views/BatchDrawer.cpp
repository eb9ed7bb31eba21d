#include "views/BatchDrawer.h"

#include <QGridLayout>
#include <QVBoxLayout>

#include "views/bindings.h"

namespace tessarin {

namespace {

// A label that is cut off rather than making the window wider: the texts hold file names.
QLabel* newNarrowLabel() {
  auto* label = new QLabel;
  label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  return label;
}

}  // namespace

BatchDrawer::BatchDrawer(appDelegate& app, QWidget* parent)
    : QWidget(parent), app_(app), table_(new BatchView(app, this)) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(10);
  table_->setMinimumHeight(150);
  table_->setObjectName("batch");
  column->addWidget(table_, 1);
  column->addWidget(newRunBar());
}

QWidget* BatchDrawer::newRunBar() {
  TaskControls& encoding = app_.interface.encoding;
  auto* bar = new QWidget;
  auto* grid = new QGridLayout(bar);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setVerticalSpacing(2);

  auto* start = new QPushButton("@@start");
  start->setObjectName("start");
  start->setMinimumHeight(34);
  start->setDefault(true);
  bindTo(start, app_.interface.batchGoBt, [this] { app_.iba_batchGoBt(); });
  auto* action = newNarrowLabel();
  action->setObjectName("action");
  bindTo(action, encoding.action);
  auto* percent = new QLabel;
  percent->setObjectName("percent");
  percent->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  percent->setMinimumWidth(percent->fontMetrics().horizontalAdvance("100 %"));
  bindTo(percent, encoding.percent);
  auto* progress = new QProgressBar;
  progress->setObjectName("progress");
  progress->setTextVisible(false);
  progress->setAccessibleName("@@start");
  bindTo(progress, encoding.bar);
  auto* wheel = new BusyIndicator;
  bindTo(wheel, encoding.wheel);
  auto* stop = new SegmentedBar(SegmentedBar::Kind::buttons, {QString(), QString()});
  stop->setObjectName("stop");
  bindTo(stop, encoding.stopBt, [this] { app_.iba_taskStopBt(); });

  grid->addWidget(start, 0, 0, 2, 1, Qt::AlignVCenter);
  grid->addWidget(action, 0, 1);
  grid->addWidget(percent, 0, 2);
  grid->addWidget(progress, 1, 1, 1, 2);
  grid->addWidget(wheel, 0, 3, 2, 1, Qt::AlignCenter);
  grid->addWidget(stop, 0, 4, 2, 1, Qt::AlignCenter);
  grid->setColumnMinimumWidth(0, 130);
  grid->setColumnStretch(1, 1);
  grid->setHorizontalSpacing(12);
  return bar;
}

}  // namespace tessarin
