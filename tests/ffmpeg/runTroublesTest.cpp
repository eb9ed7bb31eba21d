#include <gmock/gmock.h>

#include "classShared/TextAdditions.h"
#include "ffmpeg/runTroubles.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* source = "/clips/six.MTS";

RunTroubles troublesOf(std::string_view report) {
  RunTroubles troubles(source, "/movies/six.mov");
  for (const std::string_view line : splitLines(report))
    troubles.addLine(line);
  return troubles;
}

constexpr const char* description =
    "ffmpeg version 5.1.9-0+deb12u1 Copyright (c) 2000-2026 the FFmpeg developers\n"
    "[mpegts @ 0x55d3] Packet corrupt (stream = 0, dts = 406800).\n"
    "/clips/six.MTS: corrupt input packet in stream 0\n"
    "[h264 @ 0x55d3] concealing 492 DC, 492 AC, 492 MV errors in B frame\n"
    "Input #0, mpegts, from '/clips/six.MTS':\n"
    "  Metadata:\n"
    "    title           : error while decoding MB 7 26\n"
    "                    : /clips/six.MTS: Input/output error\n"
    "  Stream #0:0[0x100]: Video: h264 (High) ([27][0][0][0] / 0x001B), yuv420p\n"
    "  Stream #0:1[0x101]: Audio: ac3 (AC-3 / 0x332D4341), 48000 Hz, mono\n"
    "Stream mapping:\n"
    "  Stream #0:0 -> #0:0 (h264 (native) -> prores (native))\n"
    "Output #0, mov, to '/movies/six.mov':\n"
    "  Stream #0:0: Audio: none\n";

RunTroubles troublesOfRun(const std::string& lines) {
  return troublesOf(description + lines);
}

TEST(RunTroubles, WhatComesBeforeTheConversionAndItsUsualChatterIsNone) {
  const RunTroubles troubles = troublesOfRun(
      "[h264 @ 0x5] non-existing PPS 0 referenced\n"
      "    Last message repeated 1 times\n"
      "[h264 @ 0x5] decode_slice_header error\n"
      "[h264 @ 0x5] co located POCs unavailable\n"
      "[h264 @ 0x5] mmco: unref short failure\n"
      "-async is forwarded to lavfi similarly to -af aresample=async=3000.\n"
      "frame=   80 fps= 25 q=-0.0 Lsize=    6540kB time=00:00:03.16 speed=0.97x\n"
      "[AVIOContext @ 0x5] Statistics: 199157 bytes read, 0 seeks\n"
      "video:6512kB audio:25kB subtitle:0kB other streams:0kB muxing overhead: unknown\n");
  EXPECT_EQ(troubles.damagedPictures(), 0u);
  EXPECT_EQ(troubles.damagedSound(), 0u);
  EXPECT_EQ(troubles.readError(), "");
  EXPECT_EQ(troubles.givenUp(), "");
  EXPECT_FALSE(troubles.endsEarly());
  EXPECT_FALSE(troubles.losesOutput());
}

TEST(RunTroubles, DamagedPicturesAreCountedOnceByEveryVersion) {
  struct Case {
    const char* lines;
    std::size_t pictures;
    std::size_t sound;
  };
  for (const Case& each :
       {// 5.1: what was concealed is marked later, and the packet was damaged on the way.
        Case{"/clips/six.MTS: corrupt input packet in stream 0\n"
             "    Last message repeated 1 times\n"
             "[h264 @ 0x5] error while decoding MB 7 26, bytestream -47\n"
             "[h264 @ 0x5] concealing 492 DC, 492 AC, 492 MV errors in B frame\n"
             "/clips/six.MTS: corrupt decoded frame in stream 0\n",
             1, 0},
        // 3.1 and 2018 do not mark it.
        Case{"[mpeg2video @ 0x5] ac-tex damaged at 30 28\n"
             "[mpeg2video @ 0x5] Warning MVs not available\n"
             "[mpeg2video @ 0x5] concealing 360 DC, 360 AC, 360 MV errors in B frame\n",
             1, 0},
        // Nor what 3.1 does not conceal, as of pictures in 4:4:4.
        Case{"[h264 @ 0x5] error while decoding MB 15 2, bytestream 10587\n"
             "[h264 @ 0x6] error while decoding MB 34 1, bytestream 8057\n",
             2, 0},
        Case{"[vist#0:0/h264 @ 0x5] [dec:h264 @ 0x6] Error submitting packet to decoder: Invalid "
             "data found when processing input\n"
             "    Last message repeated 2 times\n"
             "[vist#0:0/h264 @ 0x5] [dec:h264 @ 0x6] corrupt decoded frame\n"
             "[aist#0:1/aac @ 0x5] [dec:aac @ 0x6] Error submitting packet to decoder: Invalid "
             "data found when processing input\n"
             "[in#0/mpegts @ 0x7] corrupt input packet in stream 1\n",
             4, 1},
        Case{"Error while decoding stream #0:1: Invalid data found when processing input\n"
             "Error while decoding stream #0:0: Operation not permitted\n"
             "frame=   80 fps= 25\n",
             1, 1},
        Case{"[dvvideo @ 0x5] AC EOB marker is absent pos=66\n"
             "[dvvideo @ 0x5] Concealing bitstream errors\n"
             "[dvvideo @ 0x5] Concealing bitstream errors\n",
             2, 0},
        // Copied, not decoded.
        Case{"[mpegts @ 0x5] Packet corrupt (stream = 0, dts = 406800).\n"
             "/clips/six.MTS: corrupt input packet in stream 0\n",
             1, 0},
        Case{"/clips/six.MTS: corrupt input packet in stream 1\n", 0, 1}}) {
    // Up to 4.4 the lines of streams begin with four blanks.
    for (const std::string& streams :
         {std::string(description), replaceAll(description, "  Stream", "    Stream")}) {
      const RunTroubles troubles = troublesOf(streams + each.lines);
      EXPECT_EQ(troubles.damagedPictures(), each.pictures) << each.lines;
      EXPECT_EQ(troubles.damagedSound(), each.sound) << each.lines;
    }
  }
}

TEST(RunTroubles, ReadingThatEndsIsToldFromReadingThatFails) {
  EXPECT_EQ(troublesOfRun("/clips/six.MTS: Input/output error\n").readError(),
            "Input/output error");
  EXPECT_EQ(troublesOfRun("joinclips: /clips/seven.MTS: Input/output error\n").readError(),
            "Input/output error");
  EXPECT_EQ(troublesOfRun("[aist#0 @ movtool] /clips/six.MTS: Input/output error\n").readError(),
            "Input/output error");
  EXPECT_EQ(
      troublesOfRun("[in#0/mpegts @ 0x5] Error during demuxing: Stale file handle\n").readError(),
      "Stale file handle");
  const RunTroubles stopped = troublesOfRun("/clips/six.MTS: Operation not permitted\n");
  EXPECT_EQ(stopped.readError(), "");
  EXPECT_EQ(stopped.givenUp(), "Operation not permitted");
  const RunTroubles lost = troublesOfRun(
      "[matroska,webm @ 0x5] 0x00 at pos 250350 (0x3d1ee) invalid as first byte of an EBML "
      "number\n");
  EXPECT_NE(lost.givenUp(), "");
  EXPECT_EQ(lost.damagedPictures(), 1u);
  EXPECT_TRUE(
      troublesOfRun("[mov,mp4 @ 0x5] stream 0, offset 0x6cd61: partial file\n").endsEarly());
  EXPECT_TRUE(
      troublesOfRun("[matroska,webm @ 0x5] File ended prematurely at pos. 77\n").endsEarly());
  EXPECT_TRUE(troublesOfRun("Error writing trailer of /movies/six.mov: No space left on device\n")
                  .losesOutput());
}

TEST(RunTroubles, NamesOfFilesAreNoComplaints) {
  const std::string name = "/clips/x: Input/output error\n[h264 @ 0x1] concealing 1 DC, 1 AC\nend";
  RunTroubles troubles(name, "/movies/Error writing trailer.mov");
  const std::string report = "Stream mapping:\nInput #0, mov, from '" + name + "':\n" +
                             "[mov @ 0x5] failed at " + name + "\n" +
                             "/movies/Error writing trailer.mov: 2 seconds\n";
  for (const std::string_view line : splitLines(report))
    troubles.addLine(line);
  EXPECT_EQ(troubles.readError(), "");
  EXPECT_EQ(troubles.damagedPictures(), 0u);
  EXPECT_FALSE(troubles.losesOutput());
}

TEST(RunTroubles, ComplaintsAreKeptWithoutWhatIsNone) {
  const RunTroubles troubles = troublesOfRun(
      "Unknown encoder 'prores_ks'\n"
      "[AVIOContext @ 0x5] Statistics: 199157 bytes read, 0 seeks\n"
      "-async is forwarded to lavfi similarly to -af aresample=async=3000.\n"
      "Conversion failed!\n");
  EXPECT_EQ(troubles.complaints().back(), "Unknown encoder 'prores_ks'");
  RunTroubles many;
  for (int line = 0; line < 100'000; ++line)
    many.addLine("[h264 @ 0x5] error while decoding MB " + std::to_string(line));
  EXPECT_EQ(many.complaints().front(), "error while decoding MB 0");
  EXPECT_EQ(many.complaints().back(), "error while decoding MB 99999");
  EXPECT_LE(many.complaints().size(), 200u);
  EXPECT_THAT(RunTroubles().complaints(), IsEmpty());
}

}  // namespace
}  // namespace tessarin
