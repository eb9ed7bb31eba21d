// Where the pictures and the sound of an AVI file are.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "movie/MediaPiece.h"

namespace tessarin {

struct AviStream {
  std::string name;      // of its chunks, in the first two letters: "00", "01"
  bool isSound = false;  // else of pictures; others are left out
  double step = 0;       // seconds of a picture, or of a byte of plain sound; 0: not told
  // Without empty ones, which repeat the picture before.
  std::vector<MediaPiece> chunks;
  // Where they were read in order: those that an index names, or without one those that the head of
  // the file tells.
  std::uint64_t expected = 0;
};

// The streams by the index behind the first part of the file (idx1), or by those of all its parts
// (OpenDML), in order. Programs pass over what is not where the index has it, without a word.
// Nothing for other files, for those without such an index, and where it cannot be read.
std::vector<AviStream> aviStreams(const std::string& path);

// The first stream with pictures, as they stand in the file one behind the other, whatever an index
// says and in all its parts: what is read of a file without an index, or with bytes that were lost
// or added. Behind something else it goes on with the next chunk of a stream.
AviStream aviPicturesInOrder(const std::string& path);

// How many pictures an AVI file says to have: those of its first stream with pictures.
std::optional<std::uint64_t> aviPictures(const std::vector<AviStream>& streams);

// How many chunks of sound do not begin where they should: what a stream lost there it has not made
// up for. 0 where that is said of most of them, by an index that is wrong.
std::uint64_t lostSoundChunks(const std::string& path, const std::vector<AviStream>& streams);

}  // namespace tessarin
