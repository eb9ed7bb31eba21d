#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "encoding/naming.h"
#include "encoding/recordingDate.h"
#include "support/LogCapture.h"
#include "support/ScopedTemporaryFolder.h"
#include "utils/times.h"

namespace tessarin {
namespace {

TEST(ClipNameOfDate, dropsTheZoneAndColons) {
  EXPECT_EQ(clipNameOfDate("2010-12-24 14:05:33 +0100", "MVI_0001"),
            "clip-2010-12-24 14;05;33-MVI_0001");
  EXPECT_EQ(clipNameOfDate("2010-12-24 14:05:33 -0500", "a::b;;;c"),
            "clip-2010-12-24 14;05;33 -0500-a;b;;c")
      << "western zones stay; one pass over \";;\"";
}

class ClipNames : public testing::Test {
 protected:
  // A source whose file was last modified on 24 December 2010, 14:05:33 of this machine's time, and
  // copied now, with what the tool says of it.
  Source sourceOf(const std::string& name, const std::string& toolOutput) const {
    const std::string path = folder_.write(name, "");
    std::tm day = {};
    day.tm_year = 110;
    day.tm_mon = 11;
    day.tm_mday = 24;
    day.tm_hour = 14;
    day.tm_min = 5;
    day.tm_sec = 33;
    day.tm_isdst = -1;
    const timespec modified = {::mktime(&day), 0};
    const timespec times[] = {modified, modified};
    EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    Source source;
    addRecordingTime(toolOutput, path, source);
    return source;
  }
  std::string nameOf(const std::string& name, const std::string& toolOutput) const {
    return dateCreation2iMovieN(folder_.file(name), sourceOf(name, toolOutput));
  }

  test::LogCapture log_;
  test::ScopedTemporaryFolder folder_;
};

TEST_F(ClipNames, tellWhenTheClipWasRecorded) {
  EXPECT_EQ(nameOf("00001.MTS", "card : 2010-12-24 14.05.33\n"), "2010-12-24 14.05.33-00001");
  EXPECT_EQ(nameOf("00001.MTS", "card : \n"), "00001.MTS") << "the card does not tell";
  EXPECT_TRUE(log_.has("dateCreation2iMovieN…"));
  for (const char* origin : {"beside", "stream", "container"})
    EXPECT_EQ(nameOf("MVI_0001.MOD", std::string(origin) + " : 2011-05-15 17.58.48\n"),
              "clip-2011-05-15 17;58;48-MVI_0001");
}

TEST_F(ClipNames, takeTheDateOfTheFileWhereTheClipDoesNotTell) {
  for (const char* words :
       {"", "gettimestamps: no recording time\n", "stream : \n", "stream : yesterday\n",
        "stream : 2010-12-24 14.05.33 or so\n", "stream : ../../../../../x.y.z\n",
        "elsewhere : 2011-05-15 17.58.48\n"}) {
    const Source source = sourceOf("MVI_0001.MOD", words);
    EXPECT_EQ(source.recordedBy, RecordedBy::file) << words;
    EXPECT_EQ(textUpTo(dateCreation2iMovieN("MVI_0001.MOD", source), "33"),
              "clip-2010-12-24 14;05;")
        << words;
  }
  Source gone;
  addRecordingTime("", folder_.file("gone.MOD"), gone);
  EXPECT_EQ(dateCreation2iMovieN("/a/gone.MOD", gone), "gone.MOD");
}

}  // namespace
}  // namespace tessarin
