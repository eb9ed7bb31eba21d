// When a source was recorded: what the tool that reads cards, streams and containers says of it,
// and the date that some camcorders write as text near the start of a movie file.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "analysis/Source.h"
#include "classShared/TextAdditions.h"

namespace tessarin {

// Makes the tool tell when the source was recorded.
Arguments recordingTimeCommand(const std::string& path);
// Adds the time and what tells it: that which the tool told, else that of
// the file. What is no time in the tool's words counts for nothing.
void addRecordingTime(std::string_view toolOutput, const std::string& path, Source& source);

struct RecordingDate {
  std::string day;    // two digits
  std::string month;  // two digits
  std::string year;   // four digits

  bool operator==(const RecordingDate&) const = default;
};

// The date behind the marker FF FF 1E 20 in the first 1000 bytes of the file: ten characters, 13
// bytes after the marker's start, as 24.12.2010 or 2010.12.24. Nothing when the file cannot be
// read or has no complete date there; the log says how far it came.
std::optional<RecordingDate> recordingDate(std::string_view path);

// The same, when only the log is wanted: true when there is a date.
bool recordingDateStamp(std::string_view path);

}  // namespace tessarin
