// How far one clip is, over all the tools that work on it one after the other.
#pragma once

#include <cstddef>
#include <vector>

#include "classShared/TextAdditions.h"

namespace tessarin::cli {

// The steps are weighed by what is known of them before: a stream copy takes a small part of the
// time of a conversion or an export, which count the same. The fraction never falls.
class ClipProgress {
 public:
  // All that runs for the clip, in order (commandsOfPlan()); moving and removing files is no step.
  // Without commands the clip is one step.
  void start(const std::vector<Arguments>& commands);

  // A step is that far, 0 to 1; 0 after more than that begins the next one. Of the last step it is
  // known that it is the last.
  void add(double ofStep, bool isLast);

  double fraction() const { return fraction_; }

 private:
  std::vector<double> weights_ = {1};
  std::size_t step_ = 0;
  bool isStepBegun_ = false;
  double fraction_ = 0;
};

}  // namespace tessarin::cli
