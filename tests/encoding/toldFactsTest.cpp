#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "encoding/recordingDate.h"
#include "encoding/toldFacts.h"

namespace tessarin {
namespace {

class ToldFacts : public testing::Test {
 protected:
  ToldFacts() {
    ::setenv("TZ", "East-2", 1);
    ::tzset();
  }
  ~ToldFacts() override {
    ::unsetenv("TZ");
    ::tzset();
  }
  static MovieFacts factsOf(const std::string& toolOutput) {
    Source source;
    addRecordingTime(toolOutput, "/nowhere/clip.mts", source);
    return toldFacts(source);
  }
};

constexpr std::uint64_t at140533 = 3376044333;  // 24 December 2010, 14:05:33 UTC, since 1904

TEST_F(ToldFacts, SayTheMomentByTheZoneThatIsKnown) {
  const MovieFacts own = factsOf("stream : 2010-12-24 14.05.33\nzone : -0530\n");
  EXPECT_EQ(own.made, at140533 + 5 * 3600 + 1800);
  EXPECT_EQ(own.date, "2010-12-24T14:05:33-0530");
  EXPECT_EQ(own.timeOfDay, "14:05:33");
  const MovieFacts unknown = factsOf("stream : 2010-12-24 14.05.33\n");
  EXPECT_EQ(unknown.made, at140533 - 2 * 3600) << "by this machine's zone";
  EXPECT_EQ(unknown.date, "2010-12-24T14:05:33") << "which nobody claims of the camera";
  const MovieFacts header = factsOf("container : 2010-12-24 14.05.33\nzone : -0000\n");
  EXPECT_EQ(header.made, at140533) << "stands as it is";
  EXPECT_EQ(header.date, "");
  EXPECT_EQ(factsOf("stream : 1970-01-01 00.00.00\nzone : +0100").made, 2082844800u - 3600);
  EXPECT_EQ(factsOf("stream : 2100-12-31 23.59.59\nzone : +0100").made, std::nullopt)
      << "beyond 32 bits";

  Source ofFile;
  ofFile.recorded = "2010-12-24 14:05:33 +0100";
  ofFile.recordedBy = RecordedBy::file;
  const MovieFacts file = toldFacts(ofFile);
  EXPECT_EQ(file.made, at140533 - 3600);
  EXPECT_EQ(file.date + file.timeOfDay, "") << "no recording's";
}

TEST_F(ToldFacts, AreOnlyWhatCanBe) {
  const MovieFacts good = factsOf(
      "card : \ntimecode : 10:11:12;13\nmake : Sony\nmodel : A 1\nplace : +48.1+011.5/\n"
      "make : other\n");
  EXPECT_EQ(good.timeCode + good.make + good.model + good.place, "10:11:12;13SonyA 1+48.1+011.5/");
  EXPECT_EQ(factsOf("card : \ntimecode : 99:99:99:99\nmake : \x1B[31m\nmodel : " +
                    std::string(101, 'x') + "\nplace : here\nzone : +2500\n"),
            MovieFacts());
  for (const char* place : {"+4808.22+01134.52/", "+480813.5+0113431.4+519.000/", "-90+180/",
                            "+27.5916+086.5640+8850CRSWGS_84/", "+48.1371+011.5754"})
    EXPECT_TRUE(isPlace(place)) << place;
  for (const char* place : {"", "+", "+48", "+48.1", "48.1+11.5/", "+95+011/", "+48+181/", "+1+2/",
                            "+48.1.2+011.5/", "+48e1+011/", "+48+011/<b>", "+nan+011/"})
    EXPECT_FALSE(isPlace(place)) << place;
}

}  // namespace
}  // namespace tessarin
