// What becomes of the computer when the batch in hand has ended.
#pragma once

#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <chrono>
#include <functional>
#include <string>

#include "platform/RunLoop.h"
#include "utils/Signal.h"

namespace tessarin {

// Over org.freedesktop.login1.Manager of the system bus. Nothing is waited for. The choice holds
// for one batch, and is taken back where the system cannot do it, or the user stops that batch.
class AfterBatch final : public QObject {
 public:
  enum class Act { nothing, sleep, powerOff };

  // What it does to be seen; all are called later and may be empty.
  struct Shows {
    // The window that the warning belongs to.
    std::function<QWidget*()> window;
    // Somebody who looks elsewhere has to know this.
    std::function<void(const std::string& what, const std::string& how)> tell;
    // It is not possible, for this reason.
    std::function<void(const std::string& what, const std::string& why)> refuse;
  };
  // The loop is borrowed. A second of the warning is as long as said.
  AfterBatch(RunLoop& loop, Shows shows,
             std::chrono::milliseconds second = std::chrono::seconds(1));
  ~AfterBatch() override;

  // Asks the system whether it can.
  void choose(Act act);
  Act act() const { return act_; }
  Signal<> changed;

  // Warns for a minute, then does it, unless the user stopped the batch or stops this. With the
  // warning he is told of the end, which nobody else should do, and of what has become of the
  // batch.
  void batchEnded(bool wasStopped, const std::string& summary);
  // Something else is to be done: without a word.
  void cancel();
  bool isWarning() const { return left_ > 0; }

  static constexpr int warning = 60;  // seconds

 private:
  void set(Act act);
  void ask(const char* question, Act act);
  void refuse(Act act, const std::string& why);
  void countDown();
  void perform(Act act);
  std::string announcement() const;

  RunLoop& loop_;
  Shows shows_;
  std::chrono::milliseconds second_;
  Act act_ = Act::nothing;
  int left_ = 0;  // seconds of the warning
  RunLoop::Id timer_ = 0;
  QPointer<QMessageBox> box_;
};

}  // namespace tessarin
