// What a clip says of its recording besides the time, and which of it is believed. Pure functions.
#pragma once

#include <string>
#include <string_view>

namespace tessarin {

// Empty: unknown.
struct RecordingFacts {
  // The zone of the camera's clock: "+0100". "-0000": the time comes from a header that is to
  // count UTC, and often counts by the camera's clock; nobody knows.
  std::string zone;
  std::string
      timeCode;      // of the first picture: "10:00:00:00", or with ";" where numbers are dropped
  std::string make;  // of the camera
  std::string model;
  std::string place;  // ISO 6709: "+48.1371+011.5754/"
  std::string title;  // that the user gave the clip in the camera

  bool operator==(const RecordingFacts&) const = default;
};

bool isZone(std::string_view text);
// A word or some, of printable characters.
bool isCameraName(std::string_view text);
// Latitude and longitude on this earth, in degrees, degrees and minutes, or down to seconds; behind
// them perhaps a height and what it refers to.
bool isPlace(std::string_view text);

// Takes from the lines "WORD : TEXT" of the tool that reads clips what can be believed, and is not
// known yet.
void takeRecordingFacts(std::string_view toolOutput, RecordingFacts& facts);

}  // namespace tessarin
