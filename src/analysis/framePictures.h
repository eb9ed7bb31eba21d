// What the pictures that the analysis decodes say about the source: that there are any, and in
// which order their fields follow each other. Read from the YUV4MPEG2 file that ffmpeg writes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "analysis/Fields.h"

namespace tessarin {

// Counts of one file, or of several (+=).
struct FieldMotion {
  int changes = 0;  // pictures that differ from the one before
  int top = 0;      // of these, pictures whose top field comes first
  int bottom = 0;   // and those whose bottom field does; the rest does not tell

  FieldMotion& operator+=(const FieldMotion& other);
};

struct FramePictures {
  Fields order = Fields::progressive;  // what the first picture's decoder claims
  int width = 0;
  int height = 0;
  int whole = 0;  // pictures; a last one that is cut off does not count
  FieldMotion motion;
  std::vector<std::uint8_t> first;  // planes of the first whole picture, without gaps
};

// One picture at a time: all of them together take longer than a window may stand still.
class FramePictureReader {
 public:
  explicit FramePictureReader(const std::string& path);

  // Reads the next picture and compares it with the one before; false when there is none.
  bool readNext();
  // Of those that were read. Nothing when there is no such file, or no YUV4MPEG2 header of 8 bits
  // 4:2:0 at its start.
  std::optional<FramePictures> take() { return std::exchange(pictures_, std::nullopt); }

 private:
  std::ifstream file_;
  std::optional<FramePictures> pictures_;
  std::size_t luma_ = 0;  // bytes of a picture
  std::size_t chroma_ = 0;
  std::vector<std::uint8_t> before_;
  std::vector<std::uint8_t> picture_;
};

// Compares two pictures that follow each other (luma, without gaps). Where things move, the fields
// that are next to each other in time are more alike than those that are furthest apart: the second
// field of the first picture and the first of the second one.
FieldMotion fieldMotion(std::span<const std::uint8_t> before, std::span<const std::uint8_t> after,
                        int width, int height);

}  // namespace tessarin
