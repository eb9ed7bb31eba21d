// Which files are parts of one recording, that the camera cut. Pure functions.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tools/joinclips/ProgrammeTables.h"
#include "tools/joinclips/TransportPacket.h"

namespace tessarin::joining {

// What is known of one file of a transport stream, without reading all of it.
struct ClipFacts {
  std::uint64_t bytes = 0;
  std::size_t packetSize = 0;
  // What stays the same in a recording: the table of its streams and, by stream, the parameters of
  // pictures and sound, as far as they are told (a last part may be too short for that).
  StreamList streams;
  std::set<int> met;  // streams of which a unit begins near the beginning
  std::map<int, std::string> parameters;
  Time firstDecoded = 0;
  Time lastDecoded = 0;
  Time firstShown = 0;
  Time end = 0;                          // of the picture that is shown last
  Time step = 0;                         // from one picture to the next
  std::optional<std::int64_t> recorded;  // seconds, by the camera's clock
  // The first and the last clock of a stream whose pictures do not all tell their times.
  std::optional<Time> clockBegin;
  std::optional<Time> clockEnd;
};

// What the list of the card says of a clip and the one before it.
enum class CardSays { nothing, apart, goesOn };

// Whether the two may be parts of one recording, so that it is worth reading them: the card says so
// or, where it says nothing, the first one is as large as cameras make a file at most.
bool mayGoOn(CardSays says, std::uint64_t bytesOfFirst);

// Whether the next one begins where the first ends, within less than a picture, with the same
// streams and at the time that is due. Less is no proof, and they have to stay apart.
bool goesOn(const ClipFacts& first, const ClipFacts& next);

// Whether the next one could be of the same recording by all that, and begins before the first
// ends. Only if it begins with what the first ends with (partOverlap.h) it is a part.
bool beginsInside(const ClipFacts& first, const ClipFacts& next);

// Seconds from the beginning of the first one to the beginning of each of the others, and to the
// end of the last one.
std::vector<double> lengthsOf(const std::vector<ClipFacts>& parts);

}  // namespace tessarin::joining
