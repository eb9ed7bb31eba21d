// When a camera began to record a clip: its local time.
#pragma once

#include <cstdint>
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
  // Minutes by which the camera's clock is before UTC; nothing: unknown.
  std::optional<int> zone = {};
  // From a header that is to count UTC, and often counts by the camera's clock.
  bool isHeaders = false;

  bool operator==(const RecordingTime&) const = default;

  // Whether there is such a moment in the calendar, in the years that cameras can know
  // (1970 to 2100).
  bool isValid() const;
  // "2010-12-24 14.05.33": sorts by time, and can stand in any file name.
  std::string text() const;
  // "+0100", "-0000" of a header's, "" where nobody knows.
  std::string zoneText() const;
  // Seconds since 1970, as if it were the time of the zone without an offset.
  std::int64_t seconds() const;
};

// The moment that lies so many seconds after 1970 in a calendar without zones.
std::optional<RecordingTime> recordingTimeOfSeconds(std::int64_t seconds);
// The moment that is so many seconds after 1970 UTC, as this machine's clock shows it.
std::optional<RecordingTime> recordingTimeOfUtc(std::int64_t seconds);

// The number in one byte of binary-coded decimal, 0 to 99.
std::optional<int> numberOfBcd(std::uint32_t byte);

// The zone of a byte as cards and streams have it: 20 minus, 1E the hours, 01 half an hour. Nothing
// where it is not set (FF), and none of summer time (40), of which it is not known whether the hour
// is in it.
std::optional<int> zoneOfByte(std::uint32_t byte);

// Seven bytes of binary-coded decimal: century, year, month, day, hour, minute, second (20 10 12 24
// 14 05 33 is 24 December 2010, 14:05:33). Nothing when the bytes say otherwise: FF is "not set".
std::optional<RecordingTime> recordingTimeFromBcd(std::string_view bytes);

// A date and a time in words, as cameras write them: "2010-12-24T14:05:33+0100" (also with blanks,
// colons or slashes in the date, a fraction, or without seconds), or "Fri Dec 24 14:05:33 2010". A
// time with an offset is the camera's own and stands as it is; one of "Z" is UTC and becomes this
// machine's.
std::optional<RecordingTime> recordingTimeOfText(std::string_view text);

}  // namespace tessarin
