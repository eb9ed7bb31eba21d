// Recording times inside AVCHD and DV streams and beside MOD and TOD files.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "classShared/Outcome.h"
#include "tools/gettimestamps/RecordingTime.h"

namespace tessarin {

// The bytes of the first video stream of a transport stream with packets of 188, 192 (AVCHD) or
// 204 bytes; damaged packets are left out. Empty when these bytes are no transport stream.
std::string videoOfTransportStream(std::string_view bytes);

// The time in the first "MDPM" message of a raw H.264 stream that holds a whole one.
std::optional<RecordingTime> recordingTimeInH264(std::string_view stream);

// The time in the first such message in bytes of another kind, where it lies in one piece: H.264 in
// a container that puts no packets around it.
std::optional<RecordingTime> recordingTimeInBytes(std::string_view bytes);

// The time in the first frame of DV that tells one and that the next one agrees with; the frames
// may lie anywhere in the bytes.
std::optional<RecordingTime> recordingTimeInDv(std::string_view bytes);

// What the MOI file beside a MOD or TOD clip says.
Outcome<RecordingTime> recordingTimeOfMoi(std::string_view bytes);

}  // namespace tessarin
