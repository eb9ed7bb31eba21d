// The end of the desktop's session, as a session manager announces it.
#pragma once

#include <QObject>
#include <functional>

#include "core/appDelegate.h"

class QEventLoop;
class QSessionManager;

namespace tessarin {

// The manager first asks every program whether the session may end: while a batch runs the user
// says so, asked as on closing the window. Another program may still refuse, so nothing is stopped
// then; that is for `ended`, which is called when the manager ends this program.
class SessionEnd final : public QObject {
 public:
  // The controller is borrowed and outlives this.
  SessionEnd(appDelegate& app, std::function<void()> ended);

  // Returns with the answer only, because the manager waits for it; until then a loop of its own
  // serves everything else. True as well when the program is to end meanwhile.
  bool isAllowed();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void commitData(QSessionManager& manager);

  appDelegate& app_;
  std::function<void()> ended_;
  QEventLoop* question_ = nullptr;  // while the user is asked
  bool isLeaving_ = false;
};

}  // namespace tessarin
