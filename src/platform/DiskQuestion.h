// Asking a disk that may never answer.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/RunLoop.h"

namespace tessarin {

// The disk of a share on the network may hang, for minutes or for ever, and with it whoever asks it
// for anything: also whether a file is there. A thread of its own does the asking here, and stays
// behind with it where need be.
class DiskQuestion {
 public:
  // The loop is borrowed.
  explicit DiskQuestion(RunLoop& loop) : loop_(loop) {}
  // Waits for nothing; neither does any other call.
  ~DiskQuestion() { cancel(); }
  DiskQuestion(const DiskQuestion&) = delete;
  DiskQuestion& operator=(const DiskQuestion&) = delete;

  // Calls `answered` from the loop, never from inside this call, once the thread has done `work`;
  // instead of what was asked before. The work may outlive everything but what it owns. Where there
  // is no thread to be had the caller does it.
  void ask(const std::function<void()>& work, std::function<void()> answered);
  // The same once the disks with these paths have answered; there need be nothing of such a name.
  void askFor(std::vector<std::string> paths, std::function<void()> answered);
  // The same with patience: without an answer until then `told` hears so, and nothing else.
  void askFor(const std::string& path, std::chrono::milliseconds patience,
              std::function<void(bool isAnswered)> told);
  void cancel();
  // Whether a thread still has the question.
  bool isOpen() const { return answer_ != nullptr; }

 private:
  struct Answer;

  RunLoop& loop_;
  std::shared_ptr<Answer> answer_;
  RunLoop::Id watch_ = 0;
  RunLoop::Id soon_ = 0;
  RunLoop::Id patience_ = 0;
};

}  // namespace tessarin
