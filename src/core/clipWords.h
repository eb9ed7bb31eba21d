// What a clip is, and what becomes of it, in the words of those who film. Pure functions.
#pragma once

#include <string>
#include <vector>

#include "encoding/Row.h"
#include "jobs/forecast.h"

namespace tessarin {

// Of each sound: "ac3, deu, stereo, 48 kHz, 192 kb/s", with its number before it where there are
// several, which is that of a choice (soundChoice.h).
std::vector<std::string> soundsInWords(const Source& source);
// "1920×1080, 25 pictures/s interlaced" and "0:20"; what is not known is left out.
// "parts: 00000.MTS, 00001.MTS" of a recording in several files, "" of others.
std::string partWords(const Source& source);
std::vector<std::string> clipWords(const Source& source);
// "ProRes HQ, 1920×1080, 25 pictures/s interlaced, 2 sound channels".
std::string movieWords(const Forecast& movie);

// A line each: when it was recorded, its streams, the movie that comes out of it, what is left out,
// remarks. `movie` as forecastOf() tells it.
std::vector<std::string> clipDetails(const Row& row, const std::optional<Forecast>& movie);

}  // namespace tessarin
