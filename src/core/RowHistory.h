// What has happened to the clips of the list since the program was started.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "core/BatchTable.h"
#include "jobs/ConversionJob.h"

namespace tessarin {

// Told by the controller; a clip keeps what was noted of it also when its row goes.
class RowHistory {
 public:
  void examined(const std::string& source);
  void begun(const std::string& source, const std::string& output);
  void ended(const JobEnd& end);

  // Each with its time, oldest first, in the language of the time.
  std::vector<std::string> linesOf(const std::string& source) const;
  // What the detail log got while the last conversion of the clip ran, "" when it is not known any
  // more; of a long one the end. Other clips that were converted at the same time are in it, too.
  std::string logOf(const std::string& source) const;

 private:
  struct Clip {
    std::deque<std::string> lines;
    std::int64_t logBegin = -1;  // bytes of the log at the begin and the end of that conversion
    std::int64_t logEnd = -1;
  };
  void note(Clip& clip, const std::string& text);

  std::map<std::string, Clip> clips_;  // by source
};

// All that can be told of a row and its movie: the clip, what becomes of it, what happened to it,
// the text beside its movie, and what the log says. Reads a few small pieces of files.
std::string clipStory(const BatchTable& table, int row, const RowHistory& history);

}  // namespace tessarin
