// Threads that wait between pieces of work and share each piece.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tessarin::blocks {

class WorkerPool {
 public:
  // Called with a task's number and the number of the thread, each from 0.
  using Task = std::function<void(int task, int worker)>;

  // The calling thread counts as one. When the system gives fewer threads there are fewer.
  explicit WorkerPool(int threads);
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  int workers() const { return static_cast<int>(threads_.size()) + 1; }

  // Does tasks 0 to count - 1, in no order, and returns when all are done.
  void run(int count, const Task& task);

 private:
  void serve(int worker);
  void takeTasks(int worker);

  std::vector<std::thread> threads_;
  std::mutex mutex_;
  std::condition_variable begun_;
  std::condition_variable done_;
  const Task* task_ = nullptr;
  int count_ = 0;
  int next_ = 0;
  int busy_ = 0;       // threads that have not finished the current run
  unsigned runs_ = 0;  // number of the current run
  bool ending_ = false;
};

}  // namespace tessarin::blocks
