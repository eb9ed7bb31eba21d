// Questions and messages to the user. One interface; the window shows dialogs, the command line
// writes to the terminal, a test answers from a script.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tessarin {

struct Alert {
  enum class Style { information, warning, critical };

  std::string message;                    // one line, what happened
  std::string informative;                // what to do about it; may be empty
  std::vector<std::string> buttons = {};  // the first is the default; none: one that closes
  std::string checkBox = {};              // label of a check box, "" for none
  Style style = Style::warning;
  // Indexes of the buttons that stand for closing it without a choice, and for nobody who could be
  // asked.
  std::size_t closing = 0;
  std::size_t unattended = 0;
};

struct AlertAnswer {
  std::size_t button = 0;  // index into Alert::buttons
  bool checked = false;    // state of the check box
};

class Alerts {
 public:
  virtual ~Alerts() = default;

  // Shows the alert and calls `answered` once the user has answered, now or later, on the main
  // thread. `answered` may be empty for a message that needs no answer.
  virtual void show(const Alert& alert, std::function<void(AlertAnswer)> answered) = 0;
  void show(const Alert& alert) { show(alert, {}); }
};

// Where every part of the program shows its alerts. Until a front sets its own, alerts are written
// to the log and answered at once as when nobody can be asked.
Alerts& userAlerts();
// `alerts` is borrowed and has to live until it is replaced; null puts the log back.
void setUserAlerts(Alerts* alerts);

}  // namespace tessarin
