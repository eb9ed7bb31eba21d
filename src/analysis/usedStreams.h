// Which streams of a source are converted, and what is told about the others. Pure functions.
#pragma once

#include <optional>
#include <string_view>

#include "analysis/Source.h"
#include "classShared/TextAdditions.h"

namespace tessarin {

// The stream whose pictures ffmpeg decoded in the run that made the report.
std::optional<int> mappedVideo(std::string_view report);

// Puts the streams that are converted first: the one whose pictures were decoded, and the sounds of
// its programme that can be decoded. Sounds that cannot are taken out of the
// source, so that no conversion fails because of them; `mute`: one that the report does not tell
// of. Adds what has to be told (remarks) and whether ffmpeg could choose otherwise (isMapped).
void chooseStreams(Source& source, std::string_view report, std::optional<int> mute = std::nullopt);

// The sound that would be converted, where ffmpeg says that it misses something of it and yet has
// described it: it has to be tried.
std::optional<int> doubtfulSound(std::string_view report);
// Whether the report of a run that decoded nothing but a sound says that there was none.
bool heardNothing(std::string_view report);

// Whether more of the source has to be read to say which streams it has: the pictures, or the first
// sound of their programme, have no parameters yet.
bool missesParameters(std::string_view report);

// ---- For the commands that read a source

// What stands before "-i": the format, and how far ffmpeg has to look for the parameters.
Arguments inputOptions(const Source& source);
// "-map" for the streams of the source, where ffmpeg could choose others; empty elsewhere.
Arguments mapOfVideo(const Source& source);
Arguments mapOfStreams(const Source& source);

}  // namespace tessarin
