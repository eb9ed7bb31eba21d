// Tells a user where the program's texts are and how to correct them.
#pragma once

#include <functional>
#include <string>

#include "views/SideWindow.h"

namespace tessarin {

class LocalizationWindow final : public SideWindow {
 public:
  // Shows the window above `parent`, or brings the one that is open to the front. `reveal` shows a
  // file in the desktop's file browser.
  static void open(std::function<void(const std::string&)> reveal, QWidget* parent);

 private:
  LocalizationWindow(std::function<void(const std::string&)> reveal, QWidget* parent);

  void iba_openLocalizationFile();

  std::function<void(const std::string&)> reveal_;
};

}  // namespace tessarin
