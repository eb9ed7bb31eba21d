// What will come out of a row of the batch: said before it is converted, and beside the movie.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "encoding/Row.h"

namespace tessarin {

// Something of the source that the movie will not have.
struct LeftOut {
  // "pictures", "fields", "details", "colours", "sound", "channels", "subtitles" or "video".
  std::string kind;
  std::string text;  // what of it, in the user's language
};

// A sound of the movie.
struct ForecastSound {
  int channels = 2;
  int rate = 0;          // Hz, as the source has it; 0: unknown
  std::string language;  // "" where the source says none
};

struct Forecast {
  std::string codec;    // as ffmpeg calls it: "prores", "icod", or that of the source for a copy
  std::string flavour;  // of ProRes: "hq"; else ""
  bool isCopy = false;
  int width = 0;
  int height = 0;
  bool isInterlaced = false;  // top field first
  double rate = 0;            // pictures a second, each of two fields when it is interlaced
  std::vector<ForecastSound> sounds;
  std::vector<LeftOut> leftOut;
  std::vector<std::string> remarks;  // what else is to be known, in the user's language
};

// A pure function of the row and the flavour of ProRes (four characters), by the same plan that its
// conversion follows. Nothing for a row that cannot be converted.
std::optional<Forecast> forecastOf(const Row& row, std::string_view prefProres);

// "ProRes HQ", "Apple Intermediate Codec", "h264 (copy)".
std::string codecTitle(const Forecast& movie);
// In one line: "ProRes HQ 1920x1080i 50, PCM 2x48000". The rate of interlaced pictures is that of
// their fields.
std::string summaryOf(const Forecast& movie);
// All that is to be told besides, a line each: what is left out in one ("left out: 25 of 50
// pictures a second; …"), and the remarks.
std::vector<std::string> notesOf(const Forecast& movie);

}  // namespace tessarin
