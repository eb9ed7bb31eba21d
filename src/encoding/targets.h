// What movies can be made in: the targets, and the speeds that pictures can have in them.
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "analysis/codecInventory.h"
#include "encoding/BatchEntry.h"

namespace tessarin {

struct TargetRow {
  std::string_view word;  // at the command line and in its reports
  const char* title;      // what the window calls it, in every language
  const char* tip;        // key of what the window tells of it
  const char* icon;       // of its cell; the names of the images begin with it
  // The codec as ffmpeg calls it; "" for that of the source, whose pictures are copied.
  std::string_view codec;
  bool CodecInventory::*encoder;  // what has to be there; null: nothing
  int leastLines;                 // of a size, for the codec to take it
  std::string_view settings;      // names of the exports' settings begin with it
  bool hasFlavours;               // those of ProRes
  bool isNamedAfterRecording;     // movies' titles tell when; else they are the sources'
};

// By Target.
inline constexpr std::array targetTable = {
    TargetRow{"quicktime", "QuickTime", "tipSoftQuickTime", "iconQt", "", nullptr, 0, "", false,
              false},
    TargetRow{"aic", "AIC", "tipSoftIMovie", "iconImovie", "icod", &CodecInventory::aic, 0, "",
              false, true},
    TargetRow{"prores", "ProRes", "tipSoftFinalCutPro", "iconFcp", "prores",
              &CodecInventory::prores, 720, "pr", true, false},
};
// Whether there is what the target's movies are made with.
constexpr bool hasEncoder(const TargetRow& row, const CodecInventory& codecs) {
  return row.encoder == nullptr || codecs.*row.encoder;
}

inline constexpr std::array allTargets = {outQuickTime, outAic, outProres};

struct SpeedRow {
  std::string_view word;  // at the command line and in its reports
  const char* icon;       // of its cell; the names of the images begin with it
  const char* title;      // key of its text
  const char* tip;        // key of what the window tells of it
};

// By Speed.
inline constexpr std::array speedTable = {
    SpeedRow{"full", "fpsFull", "speedFull", "tipSpeedFull"},
    SpeedRow{"half", "fpsHalf", "speedHalf", "tipSpeedHalf"},
    SpeedRow{"slow", "fpsSlow", "speedSlow", "tipSpeedSlow"},
};
inline constexpr std::array allSpeeds = {speedKeep, speedHalf, speedSlow};

// Null for a number that is none of the table's.
constexpr const TargetRow* targetRow(Target target) {
  return target >= outQuickTime && target < outNone ? &targetTable[static_cast<std::size_t>(target)]
                                                    : nullptr;
}

}  // namespace tessarin
