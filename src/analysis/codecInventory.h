// Which codecs the tools can handle, taken once at start.
//
// The questions and answers are those of a registry of media components with four-character codes;
// here the registry is filled from what ffmpeg and movtool can do (installedComponents.h).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "analysis/QTCompDesc.h"

namespace tessarin {

// One answer, 1 or 0, for each wanted code, in the same order: whether the upper-case subtype of
// some component contains it. The type does not matter, so a decoder answers like an encoder.
std::vector<int> CheckAllCodecs(const std::vector<std::string>& wantedCodes,
                                const std::vector<QTCompDesc>& components);
// The same for the components of this installation.
std::vector<int> CheckAllCodecs(const std::vector<std::string>& wantedCodes);

// Labels of the ProRes encoders in the order 4444, HQ, standard, proxy, LT, such as
// "Apple ProRes 422 High Quality (imco:apch:appl)". Nothing when there are no components at all.
std::optional<std::vector<std::string>> proresEncoderQuery(
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
// Fills codecInventory() and proresEncoderLabels() from componentList(). Called once, at start,
// when the codecListing is known.
void takeCodecInventory();
// The labels that the last inventory found, in the order of proresEncoderQuery.
const std::vector<std::string>& proresEncoderLabels();

}  // namespace tessarin
