// How a source becomes the movie that the settings ask for: decisions, made before anything runs.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/movtool/ExportSettings.h"
#include "tools/movtool/SourceFacts.h"

namespace tessarin::movtool {

// What is read, and how. A movie of our own needs no more than its path.
struct ExportInput {
  std::string path;
  std::string format;           // that ffmpeg has to be told; empty: it finds out
  std::string probeSize;        // bytes, and microseconds, in which ffmpeg is to look for the
  std::string analyzeDuration;  // streams' parameters; likewise
  // For each of the sounds to take; "auto": ffmpeg's choice. None: likewise for all.
  std::vector<std::string> soundDecoders;
  // Seconds of all, where recordings were put behind each other that have to be joined.
  std::optional<double> joined;
  std::vector<std::string> parts;       // the files in which it goes on, of a joined one
  bool mayChangeSize = false;           // of its pictures, as in recordings behind each other
  std::vector<std::string> soundFiles;  // beside it, with its sounds
  std::optional<double> seconds;        // how long it is, where it does not tell that
  std::string fields;                   // "tff", "bff", "prog"; empty: as the pictures are flagged
  std::optional<double> rate;           // whole pictures a second; none: as ffmpeg guesses
  std::optional<int> pictureStream;     // ffmpeg's number; none: the first with pictures
  // Likewise of the sounds to take; none: all that there are, one below 0: no sound.
  std::vector<int> soundStreams;
  // To mix each of these sounds to, or the last number all that follow; none: as many as it has.
  std::vector<int> channels;
  bool isAvi = false;      // which does not tell when a picture is shown
  bool slow = false;       // pictures at half their speed, sound as it is
  bool slowSound = false;  // sound as long as slow pictures, at its own pitch
};

struct ExportPlan {
  std::string filters;  // ffmpeg's filter chain for the picture
  quicktime::Fraction frameRate = {25, 1};
  quicktime::Fraction pixelAspect = {1, 1};
  quicktime::FieldOrder fieldOrder = quicktime::FieldOrder::progressive;
  PictureColours colours;              // of the movie, all three of them
  quicktime::Fraction start = {0, 1};  // the source's moment with which the movie begins
};

// The source as it is to be exported: with the fields and the rate that the input is told to have;
// slow motion has half the rate and twice the duration.
SourceFacts asExported(SourceFacts source, const ExportInput& input);

// The rate that stands for a family beside this source: of 30 and 60 frames the exact one when the
// source has it, else the one of television (30000/1001), and so for 24.
quicktime::Fraction exportRate(std::optional<int> family, const quicktime::Fraction& source);

// Whether the movie has fewer colours or tones than the source: Apple Intermediate Codec has those
// of BT.709 in 8 bits, ProRes takes BT.2020, HLG and PQ as they are.
bool needsMapping(const SourceFacts& source, const ExportSettings& settings);

// Where the picture stands in the frame.
struct Placement {
  int width = 0;
  int height = 0;
  int left = 0;
  int top = 0;
  quicktime::Fraction pixelAspect = {1, 1};  // of the frame
};
Placement placement(const SourceFacts& source, const ExportSettings& settings);

// `source` asExported().
ExportPlan exportPlan(const SourceFacts& source, const ExportSettings& settings,
                      const ExportInput& input = {});

// Arguments for ffmpeg, without the program.
// Describes the input and gives its first picture as YUV4MPEG2.
std::vector<std::string> probeArguments(const ExportInput& input);
// Counts fields over the first seconds.
std::vector<std::string> fieldProbeArguments(const ExportInput& input);
// Tries the plan's filters with the first picture: fails with an ffmpeg that is too old for them.
std::vector<std::string> trialArguments(const ExportInput& input, const ExportPlan& plan);
// The pictures as YUV4MPEG2, and the sound of this place among those to take as WAVE, all from the
// movie's beginning on.
std::vector<std::string> pictureArguments(const ExportInput& input, const ExportPlan& plan);
std::vector<std::string> soundArguments(const ExportInput& input, std::size_t track,
                                        const ExportPlan& plan);

}  // namespace tessarin::movtool
