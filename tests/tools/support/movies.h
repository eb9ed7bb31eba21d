// Pictures for tests, and what ffmpeg makes of movies.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "support/ScopedTemporaryFolder.h"
#include "support/shell.h"
#include "tools/aic/aicEncoder.h"
#include "tools/quicktime/MovieWriter.h"

namespace tessarin::test {

// A 4:2:0 picture, its planes one after another.
struct Samples {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> bytes;

  Samples(int w, int h) : width(w), height(h), bytes(lumaSize() + 2 * chromaSize()) {}

  std::size_t lumaSize() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
  std::size_t chromaSize() const {
    return static_cast<std::size_t>((width + 1) / 2) * static_cast<std::size_t>((height + 1) / 2);
  }
  aic::Picture picture() const {
    const std::uint8_t* chroma = bytes.data() + lumaSize();
    return {bytes.data(), chroma, chroma + chromaSize(), width, (width + 1) / 2};
  }
};

// Soft shapes with noise of this amplitude, and another scene for another seed.
inline Samples naturalPicture(int width, int height, int noise, unsigned seed = 1) {
  Samples samples(width, height);
  std::mt19937 random(seed);
  const double phase = seed;
  std::size_t at = 0;
  for (int plane = 0; plane < 3; ++plane) {
    const int w = plane == 0 ? width : (width + 1) / 2;
    const int h = plane == 0 ? height : (height + 1) / 2;
    for (int y = 0; y < h; ++y) {
      for (int x = 0; x < w; ++x) {
        const double soft = 60 * std::sin(x * 0.045 + phase) * std::cos(y * 0.031 + plane);
        const double edge = (x / 23 + y / 17) % 2 == 0 ? 25 : -25;
        const int grain =
            noise > 0 ? static_cast<int>(random() % (2 * unsigned(noise) + 1)) - noise : 0;
        samples.bytes[at++] = static_cast<std::uint8_t>(128 + soft + edge + grain);
      }
    }
  }
  return samples;
}

// Nothing but noise, of the full range.
inline Samples noisePicture(int width, int height, unsigned seed = 1) {
  Samples samples(width, height);
  std::mt19937 random(seed);
  for (std::uint8_t& sample : samples.bytes)
    sample = static_cast<std::uint8_t>(random());
  return samples;
}

// The ratio of the full range to the mean error, in decibels; 100 for equal bytes.
inline double peakRatio(const std::vector<std::uint8_t>& a, const std::string& b) {
  EXPECT_EQ(a.size(), b.size());
  double error = 0;
  for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
    const double difference = a[i] - static_cast<double>(static_cast<std::uint8_t>(b[i]));
    error += difference * difference;
  }
  return error == 0 ? 100 : 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.size()) / error);
}

inline quicktime::VideoFormat videoFormat(int width, int height) {
  quicktime::VideoFormat format;
  format.width = width;
  format.height = height;
  return format;
}

// What ffmpeg decodes from a movie, as planes; a word of complaint fails the test.
inline std::string decodedPicture(const ScopedTemporaryFolder& folder, const std::string& movie) {
  const ShellResult result =
      runShell("ffmpeg -v error -xerror -y -i " + quoted(movie) + " -f rawvideo -pix_fmt yuv420p " +
               quoted(folder.file("decoded.yuv")));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "");
  return folder.read("decoded.yuv");
}

// Writes encoded frames as a movie; returns its path.
inline std::string writeMovie(const ScopedTemporaryFolder& folder,
                              const quicktime::VideoFormat& format,
                              const std::vector<std::vector<std::uint8_t>>& frames) {
  std::string path = folder.file("movie.mov");
  Outcome<quicktime::MovieWriter> movie = quicktime::MovieWriter::create(path, format);
  EXPECT_TRUE(movie.ok());
  for (const auto& frame : frames)
    EXPECT_TRUE(movie->addFrame(frame));
  EXPECT_TRUE(movie->finish(true).ok());
  return path;
}

// One entry of what ffprobe says of a movie's stream ("v:0", "a:0").
inline std::string probed(const std::string& movie, const std::string& stream,
                          const std::string& entry) {
  ShellResult result = runShell("ffprobe -v error -select_streams " + stream +
                                " -show_entries stream=" + entry + " -of csv=p=0 " + quoted(movie));
  while (!result.output.empty() && (result.output.back() == '\n' || result.output.back() == ','))
    result.output.pop_back();
  return result.output;
}

}  // namespace tessarin::test
