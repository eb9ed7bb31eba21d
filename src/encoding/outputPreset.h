// The rules that match the output sizes with a source and an editing application.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "encoding/Row.h"
#include "encoding/sizes.h"

namespace tessarin {

// The row for a source, and what to tell when none fits.
struct PresetChoice {
  int row = -1;  // -1: nothing is known of the source
  // Set when an alert is due: for that, and with the debug flag when no row fits.
  std::string alertTitle;
  std::string alertText;
};
PresetChoice choosePreset(const Row& row, Application application);

// The row alone, the report in the log: a row of the list that is a size, or -1 when nothing is
// known of the source.
int presetAutoComputedFromSrc(const Row& row, Application application);

// Frames per second above 31.
bool isHighFrameRate(double fps);

// The rate in whole frames per second, half up; 0 when unknown.
int roundedFps(const Source& source);

// Whether a progressive source of 50 or 60 frames is to become an interlaced row of 50 fields, so
// that its frames become fields. Without a row: no.
bool needsInterleaveToI50(const Source& source, const SizeRow* size);

// Whether the target of the choice may be offered for the row with the choice's size and speed.
bool cellAllowedOut(const Row& row, const Choice& choice);
// The same, where pictures that are stored in a size which no row has, and are shown in that of the
// chosen row, have that row's size: DVCPRO HD stores 1280x720 as 960x720.
bool isChoiceAllowed(const Row& row, const Choice& choice);

// The name of the export settings with the ProRes flavour put in: "pr1080p25" and "apch" give
// "prHd1080p25". Names without "pr" and unknown flavours change nothing; no name gives none.
std::optional<std::string> whichPresetProres(const std::optional<std::string>& initialPreset,
                                             std::string_view prefProres);

}  // namespace tessarin
