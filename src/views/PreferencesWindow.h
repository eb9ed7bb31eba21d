// The choices that have no place in the main window.
#pragma once

#include "core/appDelegate.h"
#include "views/SideWindow.h"

namespace tessarin {

class PreferencesWindow final : public SideWindow {
 public:
  // Shows the window above `parent`, or brings the one that is open to the front. The controller
  // is borrowed and outlives the window. Changes hold at once.
  static void open(appDelegate& app, QWidget* parent);

 private:
  PreferencesWindow(appDelegate& app, QWidget* parent);
};

}  // namespace tessarin
