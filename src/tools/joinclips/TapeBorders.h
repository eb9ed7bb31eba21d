// Finds where the recordings of a tape meet, by the pictures of DV that it was captured into.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/Outcome.h"
#include "movie/timeCode.h"

namespace tessarin::joining {

struct TapeRecording {
  std::uint64_t first = 0;  // its first picture, counted on the tape
  std::uint64_t count = 0;
  bool isUnclear = false;  // there may be another border in it
};

// Takes the pictures of a tape in order, each once.
//
// A recording ends where the camera's clock leaps, or the time code does and not the clock with it:
// then pictures of one recording are missing. What a few pictures alone say is taken for damage. So
// is what does not tell, neither clock nor time code: where these would have leapt behind such
// pictures nobody knows which one is the first of the next recording, unless the camera marks it.
class TapeBorders {
 public:
  void add(std::string_view frame);
  // When all have been added; they lie behind each other without a gap.
  std::vector<TapeRecording> finish();

 private:
  struct Mark {
    std::uint64_t picture = 0;
    std::optional<std::int64_t> clock;  // seconds
    std::optional<TimeCode> code;
    bool beginsRecording = false;
  };
  enum class Behind { goesOn, mayBeOther, isOther };
  // What the pictures of a recording have told up to here.
  struct Run {
    std::uint64_t first = 0;
    std::uint64_t told = 0;     // pictures that tell something
    std::uint64_t strange = 0;  // pictures since then that tell something else
    bool isExact = false;       // begins with its first picture, not before
    Mark last;                  // the clock and the code were told by the pictures of these numbers
    std::uint64_t clockAt = 0;
    std::uint64_t codeAt = 0;

    void take(const Mark& mark);
  };
  std::optional<Mark> markOf(std::string_view frame);
  Behind judge(const Run& run, const Mark& mark) const;
  void takeMark(const Mark& mark);
  void settle();

  double step_ = 0.04;  // seconds from picture to picture
  std::uint64_t count_ = 0;
  std::uint64_t withoutHead_ = 0;  // the latest pictures
  Run run_;
  std::optional<Run> next_;  // seems to begin, and has not gone on long enough
  std::uint64_t first_ = 0;  // of the recording in hand
  bool isUnclear_ = false;   // likewise
  std::vector<TapeRecording> recordings_;
};

struct Tape {
  std::uint64_t bytes = 0;        // of the file
  std::uint64_t frameLength = 0;  // of a picture
  std::vector<TapeRecording> recordings;

  // Where the recording begins, and where it ends, in the file. What stands behind the last whole
  // picture is the last one's.
  std::uint64_t beginOf(std::size_t recording) const;
  std::uint64_t endOf(std::size_t recording) const;
};
// Reads a file of DV alone. Fails for anything else, and for DV that has several parts for each
// picture. Now and then `sign` is called with how many of the pictures are read, and of how many.
Outcome<Tape> readTape(const std::string& path,
                       const std::function<void(std::uint64_t, std::uint64_t)>& sign = {});

// Prints a line for each recording of these files, as main.cpp says.
void tellRecordings(const std::vector<std::string>& files);

}  // namespace tessarin::joining
