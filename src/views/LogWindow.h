// What is in a log, whether or not the desktop has a program for such files.
#pragma once

#include <functional>
#include <string>

#include "views/SideWindow.h"

namespace tessarin {

class LogWindow final : public SideWindow {
 public:
  // Shows the end of the file as it is now; `reveal` shows the file itself.
  static void open(const char* title, const std::string& path,
                   const std::function<void(const std::string&)>& reveal, QWidget* parent);

 private:
  LogWindow(const char* title, const std::string& path,
            const std::function<void(const std::string&)>& reveal, QWidget* parent);
};

}  // namespace tessarin
