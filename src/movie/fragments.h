// The pictures of a movie in fragments (ISO/IEC 14496-12), whose index names none.
#pragma once

#include <string>
#include <vector>

#include "movie/MediaPiece.h"

namespace tessarin {

struct FragmentPictures {
  std::vector<MediaPiece> pictures;
  double step = 0;  // seconds of a picture; 0: not told
};

// Of the first track with pictures, up to the first fragment that is damaged. Nothing of other
// files, and where the file cannot be read.
FragmentPictures fragmentPictures(const std::string& path);

}  // namespace tessarin
