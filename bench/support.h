// What the programs here that drive a controller share.
#pragma once

#include <functional>
#include <string_view>

#include "classShared/log.h"
#include "platform/Alerts.h"

namespace tessarin {

// A user who is not there.
class NoAlerts final : public Alerts {
 public:
  using Alerts::show;
  void show(const Alert&, std::function<void(AlertAnswer)> answered) override {
    if (answered)
      answered({});
  }
};

// While it lives nothing is logged.
class NoLog {
 public:
  NoLog() {
    setLogHandler([](std::string_view) {});
  }
  ~NoLog() { setLogHandler({}); }
  NoLog(const NoLog&) = delete;
  NoLog& operator=(const NoLog&) = delete;
};

}  // namespace tessarin
