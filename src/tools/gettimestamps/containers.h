// Recording times that containers tell of what they hold.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "tools/gettimestamps/BoundedFile.h"
#include "tools/gettimestamps/RecordingTime.h"
#include "tools/gettimestamps/mxfFile.h"

namespace tessarin {

// QuickTime and MPEG-4: the creation date of the recording (key or user data), else that of the
// movie's header. The header's counts from 1904, some writers' from 1970; whether it is the
// camera's local time, as with most cameras, or UTC cannot be told, and it stands as it is.
std::optional<RecordingTime> recordingTimeOfQuickTime(BoundedFile& file);
// What the same say of the camera and of the place, by their keys or user data; as they stand.
struct CameraFacts {
  std::string make;
  std::string model;
  std::string place;  // ISO 6709
};
CameraFacts cameraOfQuickTime(BoundedFile& file);
// Where the samples of a QuickTime file begin; 0 when it has none.
std::uint64_t samplesOfQuickTime(BoundedFile& file);

// Matroska: the date of the segment, which is UTC.
std::optional<RecordingTime> recordingTimeOfMatroska(BoundedFile& file);

// AVI: the date of digitisation, as photo cameras write it.
std::optional<RecordingTime> recordingTimeOfAvi(BoundedFile& file);

// All of them, in the order in which they are asked.
inline constexpr std::array containerReaders = {recordingTimeOfQuickTime, recordingTimeOfMatroska,
                                                recordingTimeOfMxf, recordingTimeOfAvi};

}  // namespace tessarin
