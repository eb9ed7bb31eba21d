// Time code: the numbers that tapes and cameras give to their pictures.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin {

// The number of the first picture on the tape, or in the camera's count, and how it is told.
struct TimeCode {
  std::uint32_t firstFrame = 0;
  int framesPerSecond = 25;   // of the count: 30 for 30000/1001
  bool dropsNumbers = false;  // two a minute, nine minutes of ten, so that it keeps the time
  bool operator==(const TimeCode&) const = default;
};

// "10:00:00:00", or with ";" or "." before the frames where numbers are dropped, for pictures of
// this rate; nothing for anything else.
std::optional<TimeCode> timeCode(std::string_view text, double picturesPerSecond);
// The other way, with ";" where numbers are dropped.
std::string timeCodeText(const TimeCode& code);
// The code so many pictures later; behind the last one of a day comes the first.
TimeCode laterTimeCode(TimeCode code, std::uint32_t pictures);

// Whether the text has the form of a time code of any rate, and numbers that are possible.
bool isTimeCode(std::string_view text);

// The code that a movie with pictures of this rate begins with: `text` counts pictures of
// `ownRate` (0: unknown, and taken for the same). Nothing for what is no code of that rate.
std::optional<TimeCode> timeCodeAtRate(std::string_view text, double ownRate,
                                       double picturesPerSecond);
// That of the time of a day, "14:05:33": it keeps that time.
std::optional<TimeCode> timeCodeOfDay(std::string_view text, double picturesPerSecond);

// A time code track, an atom "trak" of one sample.
struct TimeCodePlace {
  std::uint32_t id = 0;
  std::uint64_t position = 0;       // in the file, of timeCodeSample()
  std::uint64_t movieDuration = 0;  // in the movie's ticks
  std::uint32_t perSecond = 25;     // the track's own ticks
  std::uint32_t perFrame = 1;
  std::uint64_t duration = 0;  // in these
};
std::string timeCodeTrack(const TimeCode& code, const TimeCodePlace& place);
std::string timeCodeSample(const TimeCode& code);

}  // namespace tessarin
