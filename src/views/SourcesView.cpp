#include "views/SourcesView.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include "views/bindings.h"
#include "views/localize.h"
#include "views/qtText.h"

namespace tessarin {

SourcesView::SourcesView(appDelegate& app, std::function<void()> open, QWidget* parent)
    : QWidget(parent), app_(app), dropView_(new DropView(this)) {
  Interface& interface = app_.interface;
  auto* whole = new QVBoxLayout(this);
  whole->setContentsMargins(0, 0, 0, 0);
  whole->addWidget(dropView_);

  dropView_->setObjectName("dropView");
  dropView_->setMinimumWidth(230);
  dropView_->setAccessibleName("@@dropHere");
  dropView_->pressed = std::move(open);
  bindTo(dropView_, interface.dropImage);

  auto* below = new QVBoxLayout(dropView_);
  auto* caption = new QLabel;
  caption->setAlignment(Qt::AlignCenter);
  caption->setWordWrap(true);
  interface.dropCaption.setText(localizedText("@@dropHere").toStdString());
  bindTo(caption, interface.dropCaption);
  below->addWidget(caption);
  below->addWidget(newAnalysisPanel());
  below->addWidget(newLeftOutLine());
  below->addStretch();
}

QLabel* SourcesView::newLeftOutLine() {
  auto* line = new QLabel(dropView_);
  line->setObjectName("leftOut");
  line->setAlignment(Qt::AlignCenter);
  line->setWordWrap(true);
  TextField& said = app_.interface.leftOut;
  bindTo(line, said);
  const auto show = [line, &said] { line->setVisible(!said.text().empty()); };
  follow(said, line, show);
  show();
  return line;
}

QWidget* SourcesView::newAnalysisPanel() {
  Interface& interface = app_.interface;
  auto* panel = new QWidget;
  panel->setObjectName("analysisPanel");
  auto* row = new QHBoxLayout(panel);
  row->setContentsMargins(0, 0, 0, 0);
  auto* wheel = new BusyIndicator;
  bindTo(wheel, interface.analysisWheelProgInd);
  auto* count = new QLabel;
  bindTo(count, interface.analysisCaptionStr);
  auto* stop = new SegmentedBar(SegmentedBar::Kind::buttons, {QString()});
  stop->setObjectName("analysisStop");
  bindTo(stop, interface.analysisStopBt, [this] { app_.iba_analysisStopBt(); });
  row->addStretch();
  row->addWidget(wheel);
  row->addWidget(new QLabel("@@analysing"));
  row->addWidget(count);
  row->addWidget(stop);
  row->addStretch();
  bindTo(panel, interface.analysisPanel);
  return panel;
}

}  // namespace tessarin
