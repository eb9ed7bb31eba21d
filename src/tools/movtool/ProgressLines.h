// Lines about the progress, for the reader of the program that started us.
#pragma once

#include <optional>

namespace tessarin::movtool {

// Writes "pourcentage    : 37.5" lines to standard output: per cent of the source, 0 to 100, never
// falling. Without a known duration there are none.
class ProgressLines {
 public:
  explicit ProgressLines(std::optional<double> duration) : duration_(duration) {}

  // So many seconds of the source are done.
  void reached(double seconds);
  // All is done, however long the source said that it is.
  void end() { reached(duration_.value_or(0)); }

 private:
  std::optional<double> duration_;  // seconds
  int lastTenths_ = -1;             // tenths of a per cent
};

}  // namespace tessarin::movtool
