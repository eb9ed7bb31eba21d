// What to say when something went wrong, and the facts to say it with.
#pragma once

#include <functional>
#include <string>

#include "views/SideWindow.h"

namespace tessarin {

// Sends nothing: the user takes the facts and the log to wherever he got the program from.
class ReportWindow final : public SideWindow {
 public:
  // Shows the window above `parent`, or brings the one that is open to the front. `reveal` shows a
  // file in the desktop's file browser.
  static void open(const std::function<void(const std::string&)>& reveal, QWidget* parent);

 private:
  ReportWindow(const std::function<void(const std::string&)>& reveal, QWidget* parent);
};

}  // namespace tessarin
