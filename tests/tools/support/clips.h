// Clips with known content, and what is seen and heard in a movie.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "support/ScopedTemporaryFolder.h"
#include "support/places.h"
#include "support/shell.h"

namespace tessarin::test {

// As a word of the shell.
inline const std::string movtool = quoted(builtFile("resources/tools/movtool"));

// The entries of a settings file; those that a test does not care for are small and quick.
struct Settings {
  std::string codec = "icod";
  std::string profile = "standard";
  int width = 320;
  int height = 240;
  std::string scan = "p";
  std::string rate = "25";
  bool letterbox = false;

  std::string write(const ScopedTemporaryFolder& folder) const {
    return folder.write("settings",
                        "<plist version=\"1.0\"><dict><key>version</key><integer>1</integer>"
                        "<key>codec</key><string>" +
                            codec + "</string><key>profile</key><string>" + profile +
                            "</string><key>quantiser</key><integer>2</integer>"
                            "<key>width</key><integer>" +
                            std::to_string(width) + "</integer><key>height</key><integer>" +
                            std::to_string(height) + "</integer><key>scan</key><string>" + scan +
                            "</string><key>rate</key><string>" + rate +
                            "</string><key>letterbox</key><" + (letterbox ? "true" : "false") +
                            "/></dict></plist>");
  }
};

// Makes a clip with ffmpeg: all arguments but the output.
inline std::string makeClip(const ScopedTemporaryFolder& folder, const std::string& name,
                            const std::string& arguments) {
  std::string path = folder.file(name);
  const ShellResult result = runShell("ffmpeg -v error -y " + arguments + " " + test::quoted(path));
  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_EQ(result.output, "");
  return path;
}

// Exports into "out.mov" and expects that all goes well; returns what movtool prints.
inline std::string exported(const ScopedTemporaryFolder& folder, const Settings& settings,
                            const std::string& clip) {
  const ShellResult result =
      runShell(movtool + " -s " + test::quoted(settings.write(folder)) + " -i " +
               test::quoted(clip) + " -y -o " + test::quoted(folder.file("out.mov")));
  EXPECT_EQ(result.status, 0) << result.output;
  return result.output;
}

// Pictures that ffmpeg's "idet" filter finds of each kind.
struct FieldCounts {
  int top = 0;
  int bottom = 0;
  int progressive = 0;
};
inline FieldCounts fieldCounts(const std::string& movie) {
  const ShellResult result = runShell("ffmpeg -hide_banner -i " + test::quoted(movie) +
                                      " -an -vf idet -f null - 2>&1 | sed -n 's/.*Multi frame "
                                      "detection: TFF: *\\([0-9]*\\) BFF: *\\([0-9]*\\) "
                                      "Progressive: *\\([0-9]*\\).*/\\1 \\2 \\3/p'");
  FieldCounts counts;
  EXPECT_EQ(std::sscanf(result.output.c_str(), "%d %d %d", &counts.top, &counts.bottom,
                        &counts.progressive),
            3)
      << result.output;
  return counts;
}

// The mean peak ratios of luma and both planes of chroma between two movies, in decibels, after
// these filters on either.
inline std::array<double, 3> planeRatios(const std::string& movie, const std::string& truth,
                                         const std::string& common) {
  const ShellResult result =
      runShell("ffmpeg -hide_banner -i " + test::quoted(movie) + " -i " + test::quoted(truth) +
               " -lavfi '[0:v]" + common + "[a];[1:v]" + common +
               "[b];[a][b]psnr' -f null - 2>&1 | sed -n 's/.*PSNR y:\\([^ ]*\\) u:\\([^ ]*\\) "
               "v:\\([^ ]*\\).*/\\1 \\2 \\3/p'");
  std::array<double, 3> planes{};
  EXPECT_EQ(std::sscanf(result.output.c_str(), "%lf %lf %lf", &planes[0], &planes[1], &planes[2]),
            3)
      << result.output;
  return planes;
}

// The lowest of the three. Chroma is brought to common lines per field for interlaced pictures.
inline double lowestPeakRatio(const std::string& movie, const std::string& truth,
                              bool interlaced = true) {
  const auto planes = planeRatios(
      movie, truth, std::string("scale=interl=") + (interlaced ? "1" : "0") + ",format=yuv422p");
  return *std::min_element(planes.begin(), planes.end());
}

}  // namespace tessarin::test
