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

// What the pictures say of their recording; "": nothing.
struct StreamFacts {
  std::optional<RecordingTime> time;
  std::string timeCode;  // of the first picture: "10:00:00:00"
  std::string make;      // of the camera
  std::string model;
  std::string place;      // ISO 6709
  bool isUnread = false;  // the file could not be read everywhere
};

// From the "MDPM" messages of a raw H.264 stream, up to the first one that holds a whole time.
StreamFacts factsInH264(std::string_view stream);

// From such messages in bytes of another kind, where they lie in one piece: H.264 in a container
// that puts no packets around it.
StreamFacts factsInBytes(std::string_view bytes);

// From DV, whose frames may lie anywhere in the bytes. The time is that of the first frame that
// tells one and that the next one agrees with.
StreamFacts factsInDv(std::string_view bytes);

// The time code of the first group of pictures of MPEG-2, for the first picture that can be shown;
// "" where there is none, and of 0, which says that nobody has set it.
std::string timeCodeOfMpeg(std::string_view bytes);

// Four bytes of binary-coded decimal: frames (with a bit for dropped numbers), seconds, minutes,
// hours. "" when the bytes say otherwise: FF is "not set".
std::string timeCodeOfBytes(std::string_view bytes, bool mayDrop);

// What the MOI file beside a MOD or TOD clip says.
Outcome<RecordingTime> recordingTimeOfMoi(std::string_view bytes);

}  // namespace tessarin
