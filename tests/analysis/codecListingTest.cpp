#include <gtest/gtest.h>

#include "analysis/codecListing.h"
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

TEST(CodecListing, OfTheInstalledFfmpegNamesItsCodecs) {
  const test::ScopedTemporaryFolder folder;
  const test::ScopedEnvironment cache("XDG_CACHE_HOME", folder.path());
  EXPECT_NE(versionOfListing(codecListing()), "");
  EXPECT_NE(codecListing().find(" prores "), std::string::npos);
}

}  // namespace
}  // namespace tessarin
