#include <gtest/gtest.h>

#include "ffmpeg/codecListing.h"
#include "support/AnalysisTools.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"

namespace tessarin {
namespace {

TEST(CodecListing, TellsTheVersionOfFfmpegAndNothingElse) {
  EXPECT_EQ(versionOfListing("ffmpeg version 5.1.6-0+deb12u1 Copyright (c) 2000-2024\nCodecs:\n"),
            "5.1.6-0+deb12u1");
  EXPECT_EQ(versionOfListing("ffmpeg version N-12345-gabcdef\nCodecs:\n"), "N-12345-gabcdef");
  EXPECT_EQ(versionOfListing("Codecs:\n DEV.L. ffmpeg version 5\n"), "");
  EXPECT_EQ(versionOfListing(""), "");
}

TEST(CodecListing, IsKeptWhenItIsOne) {
  const test::AnalysisTools tools;
  const test::ScopedTemporaryFolder folder;
  const test::ScopedEnvironment cache("XDG_CACHE_HOME", folder.path());
  const test::ScopedEnvironment ffmpeg("TESSARIN_FFMPEG", folder.writeScript("one", "exit 0"));
  if (recallCodecListing())
    GTEST_SKIP() << "a test of the same process has asked before";
  // Nothing of this is an ffmpeg's answer.
  for (const char* answer :
       {"", "no more processes", "Codecs:\n DEV.L. prores\n", "ffmpeg version 1\n"})
    EXPECT_FALSE(takeCodecListing(answer)) << answer;
  EXPECT_EQ(codecListing(), "");
  EXPECT_TRUE(takeCodecListing("ffmpeg version 1\nCodecs:\n DEV.L. prores\n"));
  EXPECT_TRUE(startsWith(folder.read("Tessarin/codecs.txt"), folder.file("one") + " "));
  EXPECT_TRUE(recallCodecListing());
}

}  // namespace
}  // namespace tessarin
