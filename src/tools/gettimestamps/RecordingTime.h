// When a camera began to record a clip: its local time, without a zone.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tessarin {

struct RecordingTime {
  int year = 0;
  int month = 0;   // 1 to 12
  int day = 0;     // 1 to 31
  int hour = 0;    // 0 to 23
  int minute = 0;  // 0 to 59
  int second = 0;  // 0 to 59

  bool operator==(const RecordingTime&) const = default;

  // Whether there is such a moment in the calendar, in the years that cameras can know
  // (1970 to 2199).
  bool isValid() const;
  // "2010-12-24 14.05.33": sorts by time, and can stand in any file name.
  std::string text() const;
};

// Seven bytes of binary-coded decimal: century, year, month, day, hour, minute, second (20 10 12 24
// 14 05 33 is 24 December 2010, 14:05:33). Nothing when the bytes say otherwise: FF is "not set".
std::optional<RecordingTime> recordingTimeFromBcd(std::string_view bytes);

}  // namespace tessarin
