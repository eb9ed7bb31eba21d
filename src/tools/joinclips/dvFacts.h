// Raw DV: what tells whether one file goes on in another.
#pragma once

#include <cstdint>
#include <string>

#include "classShared/Outcome.h"

namespace tessarin::joining {

struct DvFrameFacts {
  std::int64_t recorded = 0;  // seconds, by the camera's clock
  std::string timeCode;
  bool beginsRecording = false;
};

struct DvFacts {
  bool is625 = false;
  int soundKind = -1;  // rate and bits of its sound; -1: none
  std::uint64_t frames = 0;
  DvFrameFacts first;
  DvFrameFacts last;

  double seconds() const;
};

// By its first and its last frame. Fails for a file that is not of whole frames, or whose frames
// tell no date or time code.
Outcome<DvFacts> dvFacts(const std::string& path);

// Whether the second begins where the first ends, by both date and time code.
bool goesOn(const DvFacts& first, const DvFacts& next);

}  // namespace tessarin::joining
