// Tells how many pictures of a DV clip are damaged or missing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "classShared/Outcome.h"
#include "movie/timeCode.h"
#include "tools/gettimestamps/RecordingTime.h"

namespace tessarin::joining {

// Takes the frames of a clip in order. Decoders show whatever stands in a frame, and know nothing
// of frames that are not there.
//
// A frame is damaged where its head or blocks of its picture are missing: of those not even a black
// picture's are all zeros. Frames are missing where the time code leaps ahead, and the clock of the
// camera with it: between two recordings of a tape the time code goes on, or begins anew, or the
// camera marks the beginning.
class DvLoss {
 public:
  void add(std::string_view frame);

  // Seconds of all frames; of those that are damaged or missing.
  double seconds() const { return static_cast<double>(frames_) * step_; }
  double lost() const { return static_cast<double>(damaged_ + missing_) * step_; }

 private:
  struct Count {
    TimeCode code;
    RecordingTime time;
  };
  void addCount(std::optional<Count> count, bool startsRecording);

  double step_ = 0.04;
  std::uint64_t frames_ = 0;
  std::uint64_t damaged_ = 0;
  std::uint64_t missing_ = 0;
  std::optional<Count> last_;
  bool isSteady_ = false;       // the last one followed the one before
  std::uint32_t doubtful_ = 0;  // missing before the last one, if the next one follows
};

// Of a file of DV alone, or of another format with DV in it.
Outcome<DvLoss> dvLoss(const std::string& path);

}  // namespace tessarin::joining
