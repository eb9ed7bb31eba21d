// Alerts on the command line: questions are asked on the terminal.
#pragma once

#include "cli/options.h"
#include "platform/Alerts.h"
#include "platform/RunLoop.h"

namespace tessarin::cli {

// A message that asks nothing goes to the log: the reporter tells the user what happened to each
// source. A question without a terminal is answered with its first button, the cautious one.
class TerminalAlerts final : public Alerts {
 public:
  // The loop is borrowed. With `overwrite` keep or replace questions are not asked.
  TerminalAlerts(RunLoop& loop, Overwrite overwrite);
  ~TerminalAlerts() override;

  using Alerts::show;
  void show(const Alert& alert, std::function<void(AlertAnswer)> answered) override;

 private:
  void readAnswer();
  void ask() const;

  RunLoop& loop_;
  Overwrite overwrite_;
  bool mayAsk_;
  Alert alert_;
  std::function<void(AlertAnswer)> answered_;
  std::string line_;
  RunLoop::Id watch_ = 0;
};

}  // namespace tessarin::cli
