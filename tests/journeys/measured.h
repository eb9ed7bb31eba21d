// What a finished movie is: what it says of itself, and what its pictures and sound show.
#pragma once

#include <cstdint>
#include <string>

namespace tessarin::test {

struct Measured {
  // As ffprobe names them. `shape` is the display aspect ratio.
  std::string codec;
  std::string size;    // "1920x1080"
  std::string fields;  // "tb", "bt", "progressive", …
  std::string rate;    // "30000/1001"
  std::string shape;   // "16:9"
  std::string soundCodec;
  std::int64_t channels = 0;
  std::int64_t samplingRate = 0;
  double duration = 0;  // of the pictures, in seconds, as the movie says
  // By the decoded pictures, times in seconds.
  int frames = 0;
  double longestStep = 0;   // between the times of two pictures
  double shortestStep = 0;  // likewise
  double flash =
      -1;  // the time of the first picture with a white middle; negative when there is none
  double beep = -1;     // the end of the silence at the start; negative when there is none
  double sideLuma = 0;  // the brightest of the picture's leftmost twentieth, 0…255
  std::int64_t topFirst = 0;
  std::int64_t bottomFirst = 0;
  std::int64_t progressive = 0;
  double luma = 0;    // PSNR in dB against the other movie, of all pictures together; "inf" is 99
  double chroma = 0;  // likewise, of the worse of the two planes
};

// How the pictures of the movie and those of the other are brought to the same size and the same
// moments: chains of ffmpeg's filters, "null" for none. They are compared one by one in their
// order, whatever their times.
struct Comparison {
  std::string movieFilters = "null";
  std::string originalFilters = "null";
};

// Decodes both once. What cannot be read is a failure of the running test.
Measured measured(const std::string& movie, const std::string& original, const Comparison& how);

}  // namespace tessarin::test
