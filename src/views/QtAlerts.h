// Alerts as dialogs of the window.
#pragma once

#include <QMessageBox>
#include <QPointer>
#include <QWidget>
#include <functional>
#include <vector>

#include "platform/Alerts.h"

namespace tessarin {

// The dialogs do not block: everything else goes on while one is open.
class QtAlerts final : public Alerts {
 public:
  QtAlerts() = default;
  ~QtAlerts() override;
  QtAlerts(const QtAlerts&) = delete;
  QtAlerts& operator=(const QtAlerts&) = delete;

  // The window that the dialogs belong to; null for none.
  void setWindow(QWidget* window) { window_ = window; }

  // Told of every question that waits for the user's choice.
  std::function<void(const Alert&)> asked;

  // Closing a dialog without a choice is "Cancel" when there is such a button, else the default.
  using Alerts::show;
  void show(const Alert& alert, std::function<void(AlertAnswer)> answered) override;

  // Closes what is open, without an answer, and shows nothing any more.
  void close();
  // Whether an alert waits for the user.
  bool isOpen() const;

 private:
  QPointer<QWidget> window_;
  std::vector<QPointer<QMessageBox>> open_;
  bool closed_ = false;
};

}  // namespace tessarin
