// How far the batch has come, in a few words.
#pragma once

#include <string>
#include <vector>

#include "core/BatchTable.h"

namespace tessarin {

struct BatchCount {
  int converted = 0;
  int failed = 0;
  int waiting = 0;  // those in progress, too
};

BatchCount countRows(const BatchTable& table);

// "3 converted, 1 not converted" in the user's language: the counts that are not 0. "" when all
// are.
std::string summaryText(const BatchCount& count);

// The same of a batch that has ended, with a line about the sources that were not there any more.
std::string endText(const BatchCount& count, const std::vector<std::string>& missing);

// Keeps the text of a control up to date with the table. Changes are gathered: one of a thousand
// rows counts the table once.
class BatchSummary {
 public:
  // All are borrowed and outlive the object.
  BatchSummary(BatchTable& table, TextField& field, RunLoop& loop);
  ~BatchSummary();
  BatchSummary(const BatchSummary&) = delete;
  BatchSummary& operator=(const BatchSummary&) = delete;

 private:
  void changed();

  BatchTable& table_;
  TextField& field_;
  RunLoop& loop_;
  RunLoop::Id update_ = 0;
};

}  // namespace tessarin
