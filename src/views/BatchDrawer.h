// The lower part of the window: the batch, and how its conversion goes.
#pragma once

#include <QWidget>

#include "core/appDelegate.h"
#include "views/BatchView.h"

namespace tessarin {

class BatchDrawer final : public QWidget {
 public:
  // The controller is borrowed and outlives the view. `reveal` shows a file in the desktop's file
  // browser.
  BatchDrawer(appDelegate& app, std::function<void(const std::string&)> reveal,
              QWidget* parent = nullptr);

  BatchView& table() { return *table_; }

 private:
  QWidget* newRunBar();
  QWidget* newCourse();
  QWidget* newProgress();

  appDelegate& app_;
  BatchView* table_;
};

}  // namespace tessarin
