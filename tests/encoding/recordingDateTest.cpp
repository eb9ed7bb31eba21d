#include <gtest/gtest.h>

#include "encoding/recordingDate.h"
#include "support/LogCapture.h"
#include "support/ScopedTemporaryFolder.h"

namespace tessarin {
namespace {

class RecordingDates : public testing::Test {
 protected:
  // A file of this size with the marker at an offset and the text 13 bytes behind its start.
  std::string fileWith(std::string_view text, std::size_t offset = 100, std::size_t size = 4000) {
    std::string content(size, '\x11');
    content.replace(offset, 4, "\xFF\xFF\x1E\x20");
    content.replace(offset + 13, text.size(), text);
    content.resize(size);
    return folder_.write("clip.mts", content);
  }

  test::ScopedTemporaryFolder folder_;
  test::LogCapture log_;
};

TEST_F(RecordingDates, readsBothLayouts) {
  EXPECT_EQ(recordingDate(fileWith("24.12.2010")), (RecordingDate{"24", "12", "2010"}));
  EXPECT_TRUE(log_.has("j = 100"));
  EXPECT_TRUE(log_.has("dateData : <32342e31322e32303130>"));
  EXPECT_TRUE(log_.has("separateurInt = 2"));
  EXPECT_TRUE(log_.has("date eu"));
  EXPECT_TRUE(log_.has("24 / 12 / 2010"));
  log_.clear();
  EXPECT_EQ(recordingDate(fileWith("2010.12.24", 0)), (RecordingDate{"24", "12", "2010"}));
  EXPECT_TRUE(log_.has("date us"));
  EXPECT_TRUE(log_.has("24 / 12 / 2010")) << "in the same order";
  EXPECT_TRUE(recordingDateStamp(folder_.file("clip.mts")));
}

TEST_F(RecordingDates, refusesOtherTexts) {
  for (const char* text : {"24/12/2010", "4.12.20100", "24122010.."}) {
    log_.clear();
    EXPECT_FALSE(recordingDateStamp(fileWith(text))) << text;
    EXPECT_TRUE(log_.has("date us / en :-(")) << text;
  }
  for (const char* text : {"ab.cd.efgh", "2010.1x.24"})
    EXPECT_FALSE(recordingDateStamp(fileWith(text))) << text;
}

TEST_F(RecordingDates, needTheWholeDateInTheFirstThousandBytes) {
  EXPECT_TRUE(recordingDateStamp(fileWith("24.12.2010", 1000 - 23)));
  for (const std::size_t offset : {1000 - 22, 1000 - 8, 995, 997, 1000})
    EXPECT_FALSE(recordingDateStamp(fileWith("24.12.2010", offset))) << offset;
  EXPECT_TRUE(recordingDateStamp(fileWith("24.12.2010", 10, 33)));
  EXPECT_FALSE(recordingDateStamp(fileWith("24.12.2010", 10, 32))) << "a short file";
}

}  // namespace
}  // namespace tessarin
