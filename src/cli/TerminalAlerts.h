// Alerts on the command line: questions are asked on the terminal.
#pragma once

#include "platform/Alerts.h"
#include "platform/RunLoop.h"

namespace tessarin::cli {

// A message that asks nothing goes to the log: the reporter tells the user what happened to each
// source. A question is answered as when nobody can be asked (Alert::unattended) without a
// terminal, or when its input ends.
class TerminalAlerts final : public Alerts {
 public:
  // The loop is borrowed. `isForProgram`: it is a program that reads what this one says.
  TerminalAlerts(RunLoop& loop, bool isForProgram);
  ~TerminalAlerts() override;

  using Alerts::show;
  void show(const Alert& alert, std::function<void(AlertAnswer)> answered) override;

 private:
  void readAnswer();
  void ask() const;

  RunLoop& loop_;
  bool mayAsk_;
  Alert alert_;
  std::function<void(AlertAnswer)> answered_;
  std::string line_;
  RunLoop::Id watch_ = 0;
};

}  // namespace tessarin::cli
