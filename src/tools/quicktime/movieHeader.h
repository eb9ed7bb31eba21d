// The "moov" atom of a movie: what its tracks are and where their samples stand in the file. Pure
// functions of values.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ffmpeg/pictureColours.h"
#include "movie/timeCode.h"
#include "tools/quicktime/movieTexts.h"

namespace tessarin::quicktime {

struct Fraction {
  std::int64_t numerator = 1;
  std::int64_t denominator = 1;
  bool operator==(const Fraction&) const = default;
};

constexpr double perSecond(const Fraction& rate) {
  return static_cast<double>(rate.numerator) / static_cast<double>(rate.denominator);
}

enum class FieldOrder { progressive, topFirst, bottomFirst };

struct VideoFormat {
  std::string codec = "icod";  // four letters
  std::string codecName = "Apple Intermediate Codec";
  int width = 0;
  int height = 0;
  Fraction frameRate = {25, 1};  // frames per second
  Fraction pixelAspect = {1, 1};
  FieldOrder fieldOrder = FieldOrder::progressive;
  PictureColours colours;  // without primaries the movie says none
};

// 16-bit samples, low byte first, channels interleaved.
struct SoundFormat {
  int channels = 2;
  int sampleRate = 48000;
  // The channels' places, lowest bit first: 1 front left, 2 front right, 4 front centre, 8 low
  // frequency, 0x10 and 0x20 back, 0x200 and 0x400 side. 0: unknown.
  std::uint32_t channelPlaces = 0;
  // Samples by which the sound begins after the picture; before it when negative.
  std::int64_t startOffset = 0;
};

// Samples of one track that stand together in the file.
struct Chunk {
  std::uint64_t position = 0;  // in the file
  std::uint32_t samples = 0;   // frames, or sample moments of a sound track
};

struct VideoTrack {
  VideoFormat format;
  std::vector<std::uint32_t> frameSizes;
  std::vector<Chunk> chunks;
};

// What a sound is called.
struct SoundName {
  std::string language;  // the code of ISO 639-2, three letters; else none is said
  std::string text;      // who or what is heard; cut where the movie holds no more
};

struct SoundTrack {
  SoundFormat format;
  std::vector<Chunk> chunks;
  SoundName name = {};
};

struct TimeCodeTrack {
  TimeCode code;
  std::uint64_t position = 0;  // in the file, of the number: 32 bits, high byte first
};

struct Movie {
  VideoTrack video;
  // All are enabled. One that is alone belongs to the group of alternatives that sound usually is;
  // several are heard together, as editing programs and recorders with a track for each microphone
  // have it: of alternatives a player takes one, and of tracks that are not enabled some editing
  // programs show none.
  std::vector<SoundTrack> sound;
  std::optional<TimeCodeTrack> timeCode;
  std::vector<MovieText> texts;
  std::uint64_t made = 0;  // seconds since the beginning of 1904 (UTC), 32 bits; 0: unknown
};

// The picture counts in ticks of which a frame has a whole number. The movie counts in finer ones
// where those are too coarse to place the sound.
struct TimeScale {
  std::uint32_t perSecond = 25;
  std::uint32_t perFrame = 1;
  std::uint32_t finer = 400;  // the movie's ticks in one of the picture

  std::uint32_t moviePerSecond() const { return perSecond * finer; }
};
TimeScale timeScale(const Fraction& frameRate);

// The atom with its header. Positions beyond 32 bits make 64-bit chunk tables.
std::vector<std::uint8_t> movieHeader(const Movie& movie);

}  // namespace tessarin::quicktime
