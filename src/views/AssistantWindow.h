// First steps in a few pages.
#pragma once

#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>

#include "core/appDelegate.h"
#include "views/SideWindow.h"

namespace tessarin {

class AssistantWindow final : public SideWindow {
 public:
  // Shows the window above `parent`, or brings the one that is open to the front. The controller
  // is borrowed and outlives the window. What is chosen in it holds at once.
  static void open(appDelegate& app, QWidget* parent);

 private:
  AssistantWindow(appDelegate& app, QWidget* parent);

  QWidget* newPage(const std::string& image, const QString& title, const QString& text,
                   QWidget* choice = nullptr);
  QWidget* newApplicationChoice();
  QWidget* newButtons();
  void showPage(int page);

  appDelegate& app_;
  QStackedWidget* pages_;
  QLabel* place_ = nullptr;  // which page of how many
  QPushButton* back_ = nullptr;
  QPushButton* next_ = nullptr;
  QPushButton* skip_ = nullptr;
};

}  // namespace tessarin
