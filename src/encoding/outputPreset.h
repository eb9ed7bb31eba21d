// The output sizes and the rules that match them with a source and an editing application.
//
// A size is a row of one fixed list; every property of a row is read from its label: width and
// height around the "x", "p" or "i", and the rates that it stands for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/Value.h"

namespace tessarin {

// Rows of the list with a meaning of their own.
inline constexpr int rowSameAsSourceForSoft = 0;  // what the chosen application accepts
inline constexpr int rowSameAsSource = 1;         // any size
inline constexpr int firstConcreteRow = 4;        // rows 4 to 12 are sizes
inline constexpr int rowFallback = 5;             // 1280x720 progressive, 24/25/30

// No editing application: every row is compliant.
inline constexpr int softNone = -1;

// The thirteen labels, or the names of the icons beside them (which say what applications accept
// the row). The list lives as long as the program.
const std::vector<std::string>& presetSizesList(bool images);

// The label of a row; nothing when there is no such row.
std::optional<std::string> presetLabel(std::int64_t row);

// A label without the rates: the text before " ->".
std::string presetShortLabel(std::string_view label);

// What a row is called for a source of this rate ("v0_fps"), without blanks and in small letters:
// "720p25", "1080i60", "hdv1080p24". "" for a row that is no size.
std::string presetSizeName(std::int64_t row, double sourceFps);

// The frame of a row, read from its label; 0 and 0 when it names none.
struct FrameSize {
  int width = 0;
  int height = 0;
};
FrameSize presetFrameSize(std::string_view label);

// Whether the editing application (the selector's segment 0 to 3, or softNone) accepts the row.
bool presetIsCompliant(int row, int soft);

// The row for a source, and what to tell when none fits.
struct PresetChoice {
  int row = -1;  // -1: the entry has no SourceInfo
  // Set when an alert is due: for a missing SourceInfo, and with the debug flag when no row fits.
  std::string alertTitle;
  std::string alertText;
};
PresetChoice choosePreset(const Dico& entry, int soft);

// The row alone, the report in the log: a row of the list that is a size, or -1 when the entry has
// no SourceInfo.
int presetAutoComputedFromSrc(const Dico& entry, int soft);

// `info` is a batch row, a job or a SourceInfo: "fpsSrc" decides when it is there, else
// "v0_fields".
bool isSourceProgressive(const Dico& info);

// Frames per second above 31.
bool isHighFrameRate(double fps);

// The rate in whole frames per second, half up; 0 when unknown ("v0_fps" of a SourceInfo or job).
int roundedFps(const Dico& info);

// Whether a progressive source of 50 or 60 frames is to become an interlaced row of 50 fields, so
// that its frames become fields. Without a label: no.
bool needsInterleaveToI50(const Dico& info, const std::optional<std::string>& label);

// Whether an output may be offered for the row: for QuickTime, Apple Intermediate Codec or ProRes,
// whichever of the three flags is set.
bool cellAllowedOut(const Dico& entry, bool quickTimeCell, bool aicCell, bool proresCell);

// Whether this is one of the five flavours of ProRes ("apcn" …).
bool isProresFlavour(std::string_view code);

// The name of the export settings with the ProRes flavour put in: "pr1080p25" and "apch" give
// "prHd1080p25". Names without "pr" and unknown flavours change nothing; no name gives none.
std::optional<std::string> whichPresetProres(const std::optional<std::string>& initialPreset,
                                             std::string_view prefProres);

}  // namespace tessarin
