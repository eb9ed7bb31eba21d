#include "views/QtRunLoop.h"

#include <utility>

namespace tessarin {

QtRunLoop::QtRunLoop() {
  timer_.setSingleShot(true);
  timer_.setTimerType(Qt::PreciseTimer);
  QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { runDueTasks(); });
}

QtRunLoop::~QtRunLoop() = default;

RunLoop::Id QtRunLoop::watchReadable(int descriptor, Task task) {
  const Id id = ++lastId_;
  auto notifier = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
  QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(), std::move(task));
  watches_.emplace(id, std::move(notifier));
  return id;
}

RunLoop::Id QtRunLoop::runAfter(std::chrono::milliseconds delay, Task task) {
  const Id id = ++lastId_;
  tasks_.add(id, delay, std::move(task));
  armTimer();
  return id;
}

void QtRunLoop::cancel(Id id) {
  if (const auto watch = watches_.find(id); watch != watches_.end()) {
    // This may run inside the notifier's own signal, so it goes later; disabled, it is silent and
    // the descriptor may be closed.
    QSocketNotifier* notifier = watch->second.release();
    watches_.erase(watch);
    notifier->setEnabled(false);
    notifier->deleteLater();
    return;
  }
  tasks_.cancel(id);
}

int QtRunLoop::run() {
  if (!status_) {
    QEventLoop loop;
    loop_ = &loop;
    loop.exec();
    loop_ = nullptr;
  }
  // Without a status somebody has ended Qt's loop itself.
  return std::exchange(status_, std::nullopt).value_or(0);
}

void QtRunLoop::stop(int status) {
  status_ = status;
  if (loop_)
    loop_->exit(status);
}

void QtRunLoop::runDueTasks() {
  const TimedTasks::Turn turn = tasks_.beginTurn();
  while (!status_) {
    const auto task = tasks_.takeDue(turn);
    if (!task)
      break;
    // A task may serve Qt's events in a loop of its own; the others go on meanwhile.
    armTimer();
    (*task)();
  }
  armTimer();
}

void QtRunLoop::armTimer() {
  if (const auto left = tasks_.untilNext())
    timer_.start(*left);
  else
    timer_.stop();
}

}  // namespace tessarin
