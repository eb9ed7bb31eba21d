// What is in a unit of pictures or sound, as far as joining has to know. Pure functions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tessarin::joining {

// How decoding may begin with these pictures (MPEG-2, H.264, H.265; their first bytes are enough).
struct PictureStart {
  bool isKey = false;  // a decoder can begin here
  // Pictures that are shown before this one, and stored behind it, need nothing from before.
  bool isClosed = false;
};
PictureStart pictureStart(std::span<const std::uint8_t> bytes);

// The whole frames of sound in a unit (MPEG audio, AC-3, E-AC-3, AAC with headers).
struct SoundFrames {
  std::vector<std::size_t> starts;  // offset of each, and of what is behind the last one
  double duration = 0;              // of one, in ticks of Time

  std::size_t count() const { return starts.empty() ? 0 : starts.size() - 1; }
};
// None for other sound.
SoundFrames soundFrames(std::span<const std::uint8_t> bytes);

// A unit of samples without frames, as Blu-ray and AVCHD have them (LPCM).
struct PlainSound {
  double duration = 0;  // of all its samples, in ticks of Time
  double missing = 0;   // of those that are not there
};
// Nothing for other sound, as far as its head tells.
std::optional<PlainSound> plainSound(std::span<const std::uint8_t> bytes);

}  // namespace tessarin::joining
