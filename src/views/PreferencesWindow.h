// The choices that have no place in the main window.
#pragma once

#include <functional>

#include "core/appDelegate.h"
#include "views/SideWindow.h"

namespace tessarin {

class PreferencesWindow final : public SideWindow {
 public:
  // Shows the window above `parent`, or brings the one that is open to the front. The controller
  // is borrowed and outlives the window. Changes hold at once. `chooseFolder` lets the user choose
  // the destination.
  static void open(appDelegate& app, const std::function<void()>& chooseFolder, QWidget* parent);

 private:
  PreferencesWindow(appDelegate& app, const std::function<void()>& chooseFolder, QWidget* parent);
};

}  // namespace tessarin
