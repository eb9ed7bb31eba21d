// What is in a log, or has happened to a clip, whether or not the desktop has a program for such
// files.
#pragma once

#include <QDialogButtonBox>
#include <QPlainTextEdit>
#include <functional>
#include <string>

#include "views/SideWindow.h"

namespace tessarin {

class LogWindow final : public SideWindow {
 public:
  // Shows the text, from which it can be copied.
  static void openText(const char* title, const QString& shown, QWidget* parent);
  // Shows the end of the file as it is now; `reveal` shows the file itself.
  static void open(const char* title, const std::string& path,
                   const std::function<void(const std::string&)>& reveal, QWidget* parent);

 private:
  LogWindow(const char* title, const QString& shown, QWidget* parent);

  QPlainTextEdit* text_;
  QDialogButtonBox* buttons_;
};

}  // namespace tessarin
