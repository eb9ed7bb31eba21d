// Which codecs the tools can handle, taken once at start.
//
// The questions and answers are those of a registry of media components with four-character codes;
// here the registry is filled from what ffmpeg and movtool can do (installedComponents.h).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "analysis/QTCompDesc.h"
#include "ffmpeg/proresFlavours.h"

namespace tessarin {

// One answer, 1 or 0, for each wanted code, in the same order: whether the upper-case subtype of
// some component contains it. The type does not matter, so a decoder answers like an encoder.
std::vector<int> CheckAllCodecs(const std::vector<std::string>& wantedCodes,
                                const std::vector<QTCompDesc>& components);
// The same for the components of this installation.
std::vector<int> CheckAllCodecs(const std::vector<std::string>& wantedCodes);

struct ProresEncoder {
  std::string name;              // "Apple ProRes 422 High Quality"
  const ProresFlavour* flavour;  // of the table; never null
  bool operator==(const ProresEncoder&) const = default;
};

// The ProRes encoders in the order of proresFlavours. Nothing when there are no components at all.
std::optional<std::vector<ProresEncoder>> proresEncoderQuery(
    const std::vector<QTCompDesc>& components);

// What is there; false until the inventory was taken.
struct CodecInventory {
  bool wmv = false;            // Windows Media can be read
  bool vp6 = false;            // On2 VP6 can be read
  bool aic = false;            // Apple Intermediate Codec can be written
  bool prores = false;         // ProRes can be written
  bool mpeg2 = false;          // MPEG-2 video can be read
  bool mts = false;            // AVCHD transport streams can be read
  bool proresEncoder = false;  // the ProRes encoders could be listed, perhaps none
};

// The process-wide inventory.
CodecInventory& codecInventory();
// Fills codecInventory() and proresEncoders() from componentList(). Called once, at start,
// when the codecListing is known.
void takeCodecInventory();
// Those that the last inventory found.
const std::vector<ProresEncoder>& proresEncoders();

}  // namespace tessarin
