#include <gtest/gtest.h>

#include "ffmpeg/failureWords.h"

namespace tessarin {
namespace {

TEST(FailureWords, AreThoseOfTheCauseAndNotOfItsConsequences) {
  EXPECT_EQ(
      failureWords("Could not write header for output file #0 (incorrect codec parameters ?): "
                   "No space left on device\nError initializing output stream 0:1 -- \n"
                   "Conversion failed!\n"),
      "Could not write header for output file #0 (incorrect codec parameters ?): No space "
      "left on device");
  EXPECT_EQ(
      failureWords("[mov @ 0x1] [x @ 0x2] codec is not supported\n    title : No space left on "
                   "device\n[AVIOContext @ 0x3] Statistics: 559636 bytes read, 2 seeks\n"
                   "    Last message repeated 1 times\n"),
      "codec is not supported");
  EXPECT_EQ(failureWords("Output file is empty, nothing was encoded\nframe=    0 fps=0.0\n"),
            "Output file is empty, nothing was encoded");
  EXPECT_EQ(failureWords("ffmpeg version 5.1\n\nConversion failed!"), "");
}

}  // namespace
}  // namespace tessarin
