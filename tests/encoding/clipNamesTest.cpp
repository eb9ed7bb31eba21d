#include <gtest/gtest.h>

#include "encoding/naming.h"
#include "support/LogCapture.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"
#include "utils/files.h"
#include "utils/times.h"

namespace tessarin {
namespace {

TEST(ClipNameOfTimeStamps, takesTheLineOfTheClip) {
  const std::string output =
      "00001 : 2010-12-24 14;05;33\n"
      "00010 : other\r\n"
      "00002 : a : b\n"
      "00003: no blank before\n";
  EXPECT_EQ(clipNameOfTimeStamps(output, "00001"), "2010-12-24 14;05;33-00001");
  EXPECT_EQ(clipNameOfTimeStamps(output, "00010"), "other-00010");
  EXPECT_EQ(clipNameOfTimeStamps(output, "00002"), "a : b-00002");
  for (const char* clip : {"0000", "00003", "a", "2010-12-24 14;05;33", ""})
    EXPECT_EQ(clipNameOfTimeStamps(output, clip), "") << clip;
  EXPECT_EQ(clipNameOfTimeStamps("", "00001"), "");
}

TEST(ClipNameOfDate, dropsTheZoneAndColons) {
  EXPECT_EQ(clipNameOfDate("2010-12-24 14:05:33 +0100", "MVI_0001"),
            "clip-2010-12-24 14;05;33-MVI_0001");
  EXPECT_EQ(clipNameOfDate("2010-12-24 14:05:33 -0500", "a::b;;;c"),
            "clip-2010-12-24 14;05;33 -0500-a;b;;c")
      << "western zones stay; one pass over \";;\"";
}

// A card in a folder, and a resources folder whose gettimestamps is a script.
class ClipNames : public testing::Test {
 protected:
  void writeTool(const std::string& commands) const {
    folder_.writeScript("resources/tools/gettimestamps", commands);
  }

  test::LogCapture log_;
  test::ScopedTemporaryFolder folder_;
  test::TestBundle bundle_{folder_.file("resources"), "en"};
};

TEST_F(ClipNames, askTheToolAboutACard) {
  const std::string clip = folder_.write("a card's \"%s\"/BDMV/STREAM/00001.MTS", "");
  ASSERT_TRUE(mkdir(folder_.file("a card's \"%s\"/BDMV/PLAYLIST")));
  writeTool(
      "[ \"$#\" = 1 ] && cd \"$1\" && pwd > ../asked && echo '00000 : x' && "
      "echo '00001 : 2010-12-24 14.05.33'");
  EXPECT_EQ(dateCreation2iMovieN(clip), "2010-12-24 14.05.33-00001");
  EXPECT_EQ(folder_.read("a card's \"%s\"/BDMV/asked"),
            folder_.file("a card's \"%s\"/BDMV/PLAYLIST") + "\n");
  EXPECT_TRUE(log_.has("dateCreation2iMovieN…"));
}

TEST_F(ClipNames, areTheFileNameWhereTheToolKnowsNothing) {
  const std::string clip = folder_.write("BDMV/STREAM/00001.MTS", "");
  folder_.write("BDMV/PLAYLIST/00000.MPL", "");
  EXPECT_EQ(dateCreation2iMovieN(clip), "00001.MTS") << "there is no tool";
  writeTool("echo '00002 : x'");
  EXPECT_EQ(dateCreation2iMovieN(clip), "00001.MTS") << "the clip is not in the list";
}

TEST_F(ClipNames, useTheDateOfTheFileElsewhere) {
  const std::string clip = folder_.write("SD_VIDEO/PRG001/MVI_0001.MOD", "");
  EXPECT_EQ(dateCreation2iMovieN(clip),
            clipNameOfDate(dateDescription(*fileCreationDate(clip)), "MVI_0001"));
  EXPECT_EQ(dateCreation2iMovieN(folder_.file("SD_VIDEO/PRG001/gone.MOD")), "gone.MOD");
}

}  // namespace
}  // namespace tessarin
