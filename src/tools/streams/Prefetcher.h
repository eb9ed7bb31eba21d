// Work that runs ahead in a thread of its own.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace tessarin::streams {

// Fills items one after another, each with one call of `fill`, and hands them out in that order.
// Items are used again, with what is in them, so that large buffers are made once.
template <class Item>
class Prefetcher {
 public:
  // `fill` is called in the other thread until it answers false: there are no more items. What it
  // left for others then may be read as soon as next() has answered null. At most `depth` items
  // (two or more) hold something at any time, the one handed out included.
  Prefetcher(std::size_t depth, std::function<bool(Item&)> fill)
      : items_(depth), fill_(std::move(fill)), thread_([this] { run(); }) {}
  // Waits for the call of `fill` in hand.
  ~Prefetcher() {
    {
      const std::lock_guard lock(mutex_);
      stopped_ = true;
    }
    changed_.notify_all();
    thread_.join();
  }
  Prefetcher(const Prefetcher&) = delete;
  Prefetcher& operator=(const Prefetcher&) = delete;

  // The next item, owned by this object and good until the following call; null at the end.
  Item* next() {
    std::unique_lock lock(mutex_);
    if (lent_) {
      --filled_;
      lent_ = false;
      changed_.notify_all();
    }
    changed_.wait(lock, [this] { return filled_ > 0 || ended_; });
    if (filled_ == 0)
      return nullptr;
    lent_ = true;
    Item* item = &items_[first_];
    first_ = (first_ + 1) % items_.size();
    return item;
  }

 private:
  void run() {
    for (std::size_t target = 0;; target = (target + 1) % items_.size()) {
      {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return filled_ < items_.size() || stopped_; });
        if (stopped_)
          return;
      }
      const bool filled = fill_(items_[target]);
      {
        const std::lock_guard lock(mutex_);
        if (filled)
          ++filled_;
        else
          ended_ = true;
      }
      changed_.notify_all();
      if (!filled)
        return;
    }
  }

  std::vector<Item> items_;
  std::function<bool(Item&)> fill_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t first_ = 0;   // the oldest item that was not handed out
  std::size_t filled_ = 0;  // items that hold something
  bool lent_ = false;       // one of them is with the caller
  bool ended_ = false;
  bool stopped_ = false;
  std::thread thread_;
};

}  // namespace tessarin::streams
