// Short clips as camcorders make them, made by the installed ffmpeg.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/shell.h"

namespace tessarin::test {

// Video options of a moving picture of this size. The encoder needs "-top 1" as well: without it
// ffmpeg 5.1 marks the fields bottom first.
inline std::string interlacedPicture(const std::string& size, const std::string& seconds,
                                     const std::string& rate = "50") {
  return "-f lavfi -i testsrc2=s=" + size + ":r=" + rate + ":d=" + seconds +
         ",format=yuv420p,tinterlace=interleave_top,setfield=tff ";
}

inline std::string progressivePicture(const std::string& size, const std::string& seconds,
                                      const std::string& rate = "25") {
  return "-f lavfi -i testsrc2=s=" + size + ":r=" + rate + ":d=" + seconds + ",format=yuv420p ";
}

inline std::string tone(const std::string& seconds) {
  return "-f lavfi -i sine=1000:r=48000:d=" + seconds + " ";
}

inline bool makeClip(const std::string& options, const std::string& path) {
  const ShellResult result =
      runShell("ffmpeg -v error -nostdin -y " + options + " file:" + quoted(path));
  EXPECT_EQ(result.status, 0) << options << "\n" << result.output;
  return result.status == 0;
}

// Interlaced MPEG-2 at 50 fields with sound: quick to make and to convert.
inline bool makeInterlacedClip(const std::string& path, const std::string& seconds = "0.4") {
  return makeClip(interlacedPicture("720x576", seconds) + tone(seconds) +
                      "-c:v mpeg2video -flags +ildct+ilme -top 1 -q:v 2 -c:a mp2 -f mpegts",
                  path);
}

// AVCHD as camcorders write it: interlaced H.264 at 50 fields, AC-3.
inline bool makeAvchdClip(const std::string& path, const std::string& seconds = "0.4") {
  return makeClip(interlacedPicture("1920x1080", seconds) + tone(seconds) +
                      "-c:v libx264 -preset ultrafast -flags +ildct+ilme -top 1 "
                      "-c:a ac3 -ac 2 -f mpegts",
                  path);
}

// Progressive H.264 at 25 frames in a QuickTime movie.
inline bool makeProgressiveClip(const std::string& path, const std::string& seconds = "0.4") {
  return makeClip(progressivePicture("1280x720", seconds) + tone(seconds) +
                      "-c:v libx264 -preset ultrafast -c:a aac -f mov",
                  path);
}

// What ffmpeg says about the fields of all pictures of a short file, for idetCounts().
inline std::string idetReport(const std::string& path) {
  return runShell("ffmpeg -nostdin -i file:" + quoted(path) + " -vf idet -an -sn -f null - 2>&1")
      .output;
}

}  // namespace tessarin::test
