// Where sources come in: the drop view with its caption, and how their analysis goes.
#pragma once

#include <QWidget>

#include "core/appDelegate.h"
#include "views/DropView.h"

namespace tessarin {

class SourcesView final : public QWidget {
 public:
  // The controller is borrowed and outlives the view. `open` lets the user choose sources.
  SourcesView(appDelegate& app, std::function<void()> open, QWidget* parent = nullptr);

  void setHighlighted(bool highlighted) { dropView_->setHighlighted(highlighted); }

 private:
  QWidget* newAnalysisPanel();
  QLabel* newLeftOutLine();

  appDelegate& app_;
  DropView* dropView_;
};

}  // namespace tessarin
