#include "encoding/toldFacts.h"

#include <algorithm>
#include <ctime>
#include <string>
#include <string_view>

#include "classShared/TextAdditions.h"

namespace tessarin {

namespace {

constexpr std::size_t momentLength = 19;  // "2010-12-24 14:05:33"

std::tm calendarOf(std::string_view moment) {
  const auto part = [moment](std::size_t at, std::size_t count) {
    return static_cast<int>(leadingInteger(moment.substr(at, count)));
  };
  std::tm calendar = {};
  calendar.tm_year = part(0, 4) - 1900;
  calendar.tm_mon = part(5, 2) - 1;
  calendar.tm_mday = part(8, 2);
  calendar.tm_hour = part(11, 2);
  calendar.tm_min = part(14, 2);
  calendar.tm_sec = part(17, 2);
  calendar.tm_isdst = -1;
  return calendar;
}

// Of "+0100".
std::int64_t secondsOfZone(std::string_view zone) {
  const std::int64_t minutes =
      leadingInteger(zone.substr(1, 2)) * 60 + leadingInteger(zone.substr(3, 2));
  return (zone.front() == '-' ? -60 : 60) * minutes;
}

std::optional<std::uint64_t> since1904(std::string_view moment, std::string_view zone) {
  constexpr std::int64_t from1904To1970 = 2082844800;
  std::tm calendar = calendarOf(moment);
  const std::int64_t seconds =
      from1904To1970 + (zone.empty() ? std::int64_t{::mktime(&calendar)}
                                     : std::int64_t{::timegm(&calendar)} - secondsOfZone(zone));
  if (seconds <= 0 || seconds > 0xFFFFFFFF)
    return std::nullopt;
  return static_cast<std::uint64_t>(seconds);
}

}  // namespace

MovieFacts toldFacts(const Source& source) {
  MovieFacts facts;
  const RecordingFacts& recording = source.recording;
  facts.make = recording.make;
  facts.model = recording.model;
  facts.place = recording.place;
  facts.timeCode = recording.timeCode;
  const double rate = source.pictures.rate.value_or(0);
  if (!facts.timeCode.empty())
    facts.timeCodeRate = isSourceProgressive(source) ? rate : rate / 2;
  if (source.recorded.size() < momentLength)
    return facts;
  const std::string moment = source.recorded.substr(0, momentLength);
  if (source.recordedBy == RecordedBy::file) {
    const std::string zone =
        source.recorded.substr(std::min(source.recorded.size(), momentLength + 1));
    facts.made = since1904(moment, isZone(zone) ? zone : "");
    return facts;
  }
  facts.made = since1904(moment, recording.zone);
  facts.timeOfDay = moment.substr(11);
  constexpr std::string_view headers = "-0000";
  if (recording.zone != headers)
    facts.date = moment.substr(0, 10) + "T" + facts.timeOfDay + recording.zone;
  return facts;
}

}  // namespace tessarin
