// The choices for new rows and the destination.
#pragma once

#include <QLineEdit>
#include <QWidget>

#include "core/appDelegate.h"

namespace tessarin {

class SettingsView final : public QWidget {
 public:
  // All that is used is borrowed and outlives the view. `reveal` shows a folder in the desktop's
  // file browser.
  SettingsView(appDelegate& app, std::function<void(const std::string&)> reveal,
               QWidget* parent = nullptr);

  // Opens the panel in which the user chooses the destination.
  void chooseDestination();

 private:
  QWidget* newTargetNote();
  QWidget* newSpeedRow();
  QWidget* newDestinationRow();
  void openDestinationPanel(const QString& start);

  appDelegate& app_;
  std::function<void(const std::string&)> reveal_;
};

}  // namespace tessarin
