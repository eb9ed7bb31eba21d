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
// A frame is damaged where its head or blocks of it are missing, or are no blocks of their places;
// where that is said of nearly all frames, where blocks of the picture are zeros, which not even
// those of a black one are. Frames are missing where the time code leaps ahead, and the clock of
// the camera with it: between two recordings of a tape the time code goes on, or begins anew, or
// the camera marks the beginning.
//
// A picture that stands in the place of one that is missing, with the number of the one before, is
// as good as damaged. Pictures that were 24 a second among 30, and from which the doubled ones were
// taken out, have a fifth of the numbers left out at steady distances: they lack nothing.
class DvLoss {
 public:
  void add(std::string_view frame);
  // One that has been mended (DvMender).
  void addMended(std::string_view frame, bool hasOwnHead);
  // Damaged ones that are not among the frames.
  void addUntold(std::uint64_t pictures);
  // Behind the last one: so many are said to be in the file.
  void expect(std::uint64_t pictures);

  // Seconds of all frames, at the rate of DV; of those that are damaged or missing.
  double seconds() const { return static_cast<double>(frames_) * step_; }
  double lost() const;
  bool hasFrames() const { return frames_ > 0; }
  // Whether any frame was mended.
  bool isTorn() const { return isTorn_; }

 private:
  struct Count {
    TimeCode code;
    RecordingTime time;
  };
  // Numbers without a picture, and those of them in whose place the one before was repeated.
  struct Leap {
    std::uint32_t numbers = 0;
    std::uint32_t filled = 0;
    std::uint32_t distance = 0;  // in numbers, from the leap before
  };
  void addNumber(std::string_view frame);
  void addCount(std::optional<Count> count, bool startsRecording);
  void addLeap(const Leap& leap);

  double step_ = 0.04;          // from frame to frame
  std::uint32_t ofNumber_ = 1;  // frames that have the same number
  std::uint64_t frames_ = 0;
  std::uint64_t damaged_ = 0;
  std::uint64_t misplaced_ = 0;  // other frames with blocks that do not say what they are
  std::uint64_t missing_ = 0;
  bool isTorn_ = false;
  std::uint32_t unnumbered_ = 0;  // mended ones since the last one with a number
  std::optional<Count> last_;
  std::uint32_t repeats_ = 0;     // of the last one's number
  std::uint32_t sinceLeap_ = 0;   // in numbers
  bool isSteady_ = false;         // the last one followed the one before
  std::optional<Leap> doubtful_;  // before the last one, if the next one follows
  // The latest leaps that are alike and as far apart as where a fifth is left out.
  Leap likely_;
  std::uint32_t likelyCount_ = 0;
};

// Of a file of DV alone, or of another format with DV in it.
Outcome<DvLoss> dvLoss(const std::string& path);

}  // namespace tessarin::joining
