// Recordings that were put behind each other in one source.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/Source.h"
#include "classShared/TextAdditions.h"

namespace tessarin {

// Whether the tool joinclips reads sources of this format.
bool mayHoldParts(const Source& source);

// The command that lists the recordings of a source, a line for each; all its files are read.
Arguments jointList(const Source& source);

// Whether that tool tells what is missing in such a source, of which ffmpeg says nothing: of DV,
// of Motion JPEG, and in Matroska.
bool mayLackPictures(const Source& source);
// The command that tells it, as such a list does.
Arguments lossList(const Source& source);

// What such a list says.
struct PartList {
  std::vector<double> seconds;          // of the pictures of each recording that can be joined
  bool hasMore = false;                 // another one has another codec, or is of another format
  bool hasBothSizes = false;            // of packets, of which ffmpeg reads one
  std::optional<std::int64_t> streams;  // that the recordings have when they are joined
  bool hasClockSteps = false;           // inside a recording, which joinclips mends
  bool isTorn = false;                  // frames of DV, which joinclips looks for
  double picturesLost = 0;              // seconds of pictures in missing packets
  // Holes, or times that are off: what is missing has to be measured.
  bool isDoubtful = false;
  bool lacksSound = false;
  bool addsSound = false;  // the first of them have none, so that the analysis may not know of it

  // Other lines are passed over.
  void addLine(std::string_view line);
  bool isToBeJoined() const {
    return seconds.size() > 1 || hasMore || hasBothSizes || hasClockSteps || isTorn;
  }
};
PartList partList(std::string_view text);

// Has the source read as one recording, where that has to be, or there are several files.
void takeParts(Source& source, const PartList& parts);

}  // namespace tessarin
