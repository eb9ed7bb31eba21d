#include "tools/blocks/WorkerPool.h"

#include <system_error>

namespace tessarin::blocks {

WorkerPool::WorkerPool(int threads) {
  for (int worker = 1; worker < threads; ++worker) {
    try {
      threads_.emplace_back([this, worker] { serve(worker); });
    } catch (const std::system_error&) {
      break;  // a full process table makes the work slower, not impossible
    }
  }
}

WorkerPool::~WorkerPool() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  begun_.notify_all();
  for (std::thread& thread : threads_)
    thread.join();
}

void WorkerPool::run(int count, const Task& task) {
  {
    const std::lock_guard lock(mutex_);
    task_ = &task;
    count_ = count;
    next_ = 0;
    busy_ = static_cast<int>(threads_.size());
    ++runs_;
  }
  begun_.notify_all();
  takeTasks(0);
  std::unique_lock lock(mutex_);
  done_.wait(lock, [this] { return busy_ == 0; });
}

void WorkerPool::serve(int worker) {
  unsigned served = 0;
  while (true) {
    {
      std::unique_lock lock(mutex_);
      begun_.wait(lock, [&] { return ending_ || runs_ != served; });
      if (ending_)
        return;
      served = runs_;
    }
    takeTasks(worker);
    const std::lock_guard lock(mutex_);
    if (--busy_ == 0)
      done_.notify_one();
  }
}

void WorkerPool::takeTasks(int worker) {
  while (true) {
    int task = 0;
    {
      const std::lock_guard lock(mutex_);
      if (next_ == count_)
        return;
      task = next_++;
    }
    (*task_)(task, worker);
  }
}

}  // namespace tessarin::blocks
