#include "views/QtRunLoop.h"

#include <algorithm>

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
  const Clock::time_point moment = Clock::now() + delay;
  tasks_.emplace(Moment(moment, id), std::move(task));
  moments_.emplace(id, moment);
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
  const auto moment = moments_.find(id);
  if (moment == moments_.end())
    return;
  tasks_.erase(Moment(moment->second, id));
  moments_.erase(moment);
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
  const Clock::time_point now = Clock::now();
  const Id newest = lastId_;
  auto next = tasks_.begin();
  while (!status_ && next != tasks_.end() && next->first.first <= now) {
    if (next->first.second > newest) {
      ++next;
      continue;
    }
    const Task task = std::move(next->second);
    moments_.erase(next->first.second);
    tasks_.erase(next);
    // A task may serve Qt's events in a loop of its own; the others go on meanwhile.
    armTimer();
    task();
    next = tasks_.begin();
  }
  armTimer();
}

void QtRunLoop::armTimer() {
  if (tasks_.empty()) {
    timer_.stop();
    return;
  }
  const auto left = tasks_.begin()->first.first - Clock::now();
  timer_.start(
      std::max(std::chrono::ceil<std::chrono::milliseconds>(left), std::chrono::milliseconds(0)));
}

}  // namespace tessarin
