// The sources that wait for their analysis.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "platform/RunLoop.h"
#include "prefs/PreferenceStore.h"

namespace tessarin {

// A queue of paths that is shown in the preference store as the record "analysisSrcPathesDico"
// with the keys "0", "1" … ("0" is the next one). The record of an empty queue is absent.
//
// The queue itself is the truth. Taking a source renumbers the whole record, so a long queue shows
// itself only from time to time, and taking one costs the same however many wait.
class WaitingSources {
 public:
  // A queue up to this length is shown at every change; a longer one at the first change and then
  // once in this time at the most.
  static constexpr std::size_t shortQueue = 100;
  static constexpr std::chrono::milliseconds showInterval{200};
  // Keys from this number on are not shown.
  static constexpr std::size_t mostKeys = 12345;

  // Both are borrowed and have to outlive the queue.
  WaitingSources(PreferenceStore& preferences, RunLoop& loop)
      : preferences_(preferences), loop_(loop) {}
  ~WaitingSources() { loop_.cancel(timer_); }
  WaitingSources(const WaitingSources&) = delete;
  WaitingSources& operator=(const WaitingSources&) = delete;

  bool empty() const { return paths_.empty(); }
  std::size_t size() const { return paths_.size(); }
  const std::deque<std::string>& paths() const { return paths_; }

  void assign(const std::vector<std::string>& paths);
  // Takes the next one off the queue, which must not be empty.
  std::string takeFirst();
  void clear();

 private:
  void changed();
  void show();

  PreferenceStore& preferences_;
  RunLoop& loop_;
  std::deque<std::string> paths_;
  RunLoop::Id timer_ = 0;
};

}  // namespace tessarin
