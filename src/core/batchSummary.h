// How far the batch has come, in a few words.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/BatchTable.h"

namespace tessarin {

struct BatchCount {
  int converted = 0;
  int kept = 0;  // whose movies were there before
  int failed = 0;
  int waiting = 0;  // those in progress, too
};

BatchCount countRows(const BatchTable& table);

// "3 converted, 1 not converted" in the user's language: the counts that are not 0. "" when all
// are.
std::string summaryText(const BatchCount& count);

// What a user has to know of a batch that has ended; sources by their paths.
struct BatchTroubles {
  std::vector<std::string> missing;  // left out, as they were not there any more
  std::vector<std::string> damaged;  // whose movies have damaged pictures or sound

  bool isEmpty() const { return missing.empty() && damaged.empty(); }
};

// One line with a warning sign that names sources which were left out, "" for none.
std::string missingText(const std::vector<std::string>& sources);
// The same, and what was damaged, with that text between the two lines. "" for neither.
std::string troubleText(const BatchTroubles& troubles, std::string_view separator);

// The summary of a batch that has ended, with a line for each kind of trouble.
std::string endText(const BatchCount& count, const BatchTroubles& troubles);

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
