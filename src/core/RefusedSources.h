// Tells the user which sources could not be taken in.
#pragma once

#include <string>

#include "core/AnalysisQueue.h"

namespace tessarin {

// Collects what the queue refuses and shows it in one message at the queue's end: a card with many
// damaged clips is one message, not many.
class RefusedSources {
 public:
  // Both are borrowed and outlive the object.
  RefusedSources(AnalysisQueue& queue, Alerts& alerts);

  // Names that are listed; the others are counted.
  static constexpr int longestList = 10;

 private:
  void tell();

  Alerts& alerts_;
  std::string list_;
  int count_ = 0;
};

}  // namespace tessarin
