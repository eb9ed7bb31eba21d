// What a settings file asks for: the kind of movie that an export makes.
//
// Keys of the property list (docs/export.md): "version" 1; "codec" "icod" or "prores"; "profile"
// "proxy", "lt", "standard", "hq" or "4444" (ProRes); "quantiser" 1 to 255 (Apple Intermediate
// Codec); "width" and "height"; "scan" "p" or "i"; "rate" "24", "25", "30", "50", "60" or
// "source"; "letterbox" true or false.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "classShared/Outcome.h"
#include "classShared/Value.h"
#include "tools/pictures/PictureCodec.h"

namespace tessarin::movtool {

struct ExportSettings {
  enum class Codec { aic, prores };

  Codec codec = Codec::aic;
  int proresProfile = 2;  // as ProresFlavour has it
  int quantiser = 2;
  int width = 0;
  int height = 0;
  bool interlaced = false;        // top field first
  std::optional<int> rateFamily;  // whole frames a second, 24 to 60; none: the source's rate
  bool letterbox = false;         // black bars rather than another shape of the pixels
};

// What the pictures are encoded with.
std::unique_ptr<pictures::PictureCodec> codecOf(const ExportSettings& settings);

// A missing or wrong key is a failure that names it.
Outcome<ExportSettings> exportSettings(const Value& list);

}  // namespace tessarin::movtool
