// Offers a user with a window to go on with batches that were interrupted.
#pragma once

#include <string>
#include <vector>

#include "core/BatchRecorder.h"
#include "core/recovery.h"
#include "platform/DiskQuestion.h"

namespace tessarin {

// Asks once for all interrupted batches together, and for the list that the window had when its
// user left: to go on with them, to be asked again at the next start, or to give them up. A list
// alone is only shown again, and nothing of it converted. Whatever the answer, what an interrupted
// job had written is put aside first and the user is told under which name.
class RecoveryOffer {
 public:
  // All are borrowed and outlive the offer, which outlives the alerts' answers.
  RecoveryOffer(appDelegate& app, BatchRecorder& recorder, Alerts& alerts, RunLoop& loop);

  // Looks for batches below `parent` (batchesFolder()) and shows the question when there are any;
  // where jobs were interrupted, once the disks that they worked on answer.
  void begin(const std::string& parent);
  // For such disks.
  bool isWaiting() const { return isWaiting_; }

 private:
  void tell();
  void ask();
  void goOn();
  void forget();
  void takeWaiting();
  void convert();

  appDelegate& app_;
  BatchRecorder& recorder_;
  Alerts& alerts_;
  DiskQuestion disks_;
  bool isWaiting_ = false;
  InterruptedBatches found_;
  std::vector<std::string> waiting_;  // sources that are still to be analysed
  bool isToConvert_ = false;          // as soon as the analysis is done
};

}  // namespace tessarin
