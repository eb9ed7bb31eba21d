// Clips of P2 cards: CONTENTS/VIDEO has the pictures of each, AUDIO the channels of its sound, a
// file each, and CLIP an XML that tells of it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/gettimestamps/card.h"
#include "tools/gettimestamps/sideXml.h"

namespace tessarin {

// What the XML says.
struct P2Clip {
  std::string name;
  std::string id;  // of the whole world
  std::size_t sounds = 0;
  // The clips before and behind it, where a recording was cut; "" for none.
  std::string previous;
  std::string next;
  std::optional<std::int64_t> frames;
  std::optional<std::int64_t> offset;  // frames of the recording before it
  std::optional<RecordingTime> time;
  SideFacts facts;
};
// Nothing for another XML.
std::optional<P2Clip> p2ClipOfXml(const SideXml& document);

// Whether it is an MXF file in the folder VIDEO of such a card, by the names of files and folders.
bool isOnP2Card(const std::string& clip);
// What the card says of these pictures; nothing where it says nothing, or speaks of another clip.
std::optional<P2Clip> p2ClipOf(const std::string& pictures);

struct P2Sounds {
  std::vector<std::string> files;  // in the order of the channels
  std::size_t missing = 0;         // of which the card speaks, and which are not there
  bool isByName = false;           // for the card does not say how many there are
};
// The files with the sound of these pictures: those of their own name, whatever the XML says.
P2Sounds p2SoundsOf(const std::string& pictures);

}  // namespace tessarin
