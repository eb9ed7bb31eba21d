#include "platform/Alerts.h"

#include "classShared/log.h"

namespace tessarin {

namespace {

class LoggedAlerts : public Alerts {
 public:
  using Alerts::show;
  void show(const Alert& alert, std::function<void(AlertAnswer)> answered) override {
    logFormat("alert               : {}{}{}", alert.message, alert.informative.empty() ? "" : " / ",
              alert.informative);
    if (answered)
      answered({alert.unattended, false});
  }
};

Alerts* current = nullptr;

}  // namespace

Alerts& userAlerts() {
  static LoggedAlerts logged;
  return current != nullptr ? *current : logged;
}

void setUserAlerts(Alerts* alerts) {
  current = alerts;
}

}  // namespace tessarin
