// A user who answers alerts from a script.
#pragma once

#include <deque>
#include <utility>
#include <vector>

#include "platform/Alerts.h"

namespace tessarin::test {

// Remembers every alert and answers questions with `answers`, in order; with the first button when
// there are none left. Held answers are given by answerHeld().
class ScriptedAlerts final : public Alerts {
 public:
  std::deque<AlertAnswer> answers;
  std::vector<Alert> shown;
  bool holds = false;

  using Alerts::show;
  void show(const Alert& alert, std::function<void(AlertAnswer)> answered) override {
    shown.push_back(alert);
    if (!answered)
      return;
    if (holds)
      held_ = std::move(answered);
    else
      answered(next());
  }

  bool hasHeld() const { return held_ != nullptr; }
  void answerHeld() { takeHeld()(next()); }
  // For an answer that comes after further questions.
  std::function<void(AlertAnswer)> takeHeld() { return std::exchange(held_, {}); }

 private:
  AlertAnswer next() {
    if (answers.empty())
      return {};
    const AlertAnswer answer = answers.front();
    answers.pop_front();
    return answer;
  }

  std::function<void(AlertAnswer)> held_;
};

}  // namespace tessarin::test
