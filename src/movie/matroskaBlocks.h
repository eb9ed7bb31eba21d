// The blocks of a Matroska file: packets of its streams.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "movie/FileBytes.h"
#include "movie/MediaPiece.h"

namespace tessarin {

struct MatroskaBlock {
  std::uint64_t track = 0;
  int time = 0;  // behind its cluster's, in the unit of the segment
  MediaPiece content;
  bool isLaced = false;  // several packets
};

// Those in this part of the file, which begins with any element of a segment. Behind something else
// it goes on with the next cluster.
void forEachBlock(FileBytes& bytes, std::uint64_t begin, std::uint64_t end,
                  const std::function<void(const MatroskaBlock&)>& visit);

struct MatroskaPictures {
  std::vector<MediaPiece> pictures;
  double step = 0;  // seconds of a picture; 0: not told
};

// Of the first track with pictures. Nothing of other files, of packed tracks, and where the file
// cannot be read.
MatroskaPictures matroskaPictures(const std::string& path);

}  // namespace tessarin
