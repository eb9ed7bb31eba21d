#include <gmock/gmock.h>

#include "core/tapeRecordings.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string tape = "/Bänder/Sommer 03.DV";

TEST(TapeRecordings, TakeThePlaceOfTheirTape) {
  const Arguments search = recordingSearch({"/a.mov", "/b.dif", tape, "/c.dv/bytes 0-1/c-01.dv"});
  ASSERT_EQ(search.size(), 5u);
  const TapeRecordings found =
      foundRecordings(search,
                      "tape 1: 250 of 300 pictures\n"
                      "recording 0: unclear: cannot be read everywhere\n"
                      "recording 1: bytes 0-144000, 1 pictures\n"
                      "recording 1: bytes 144000-432000, 2 pictures, unclear\n"
                      "recording 2: bytes 0-1, 1 pictures\n"
                      "recording x\n");
  std::vector<std::string> paths{"/b.dif", tape, "/a.mov"};
  splitTapes(paths, found);
  EXPECT_THAT(paths, ElementsAre("/b.dif", tape + "/bytes 0-144000/Sommer 03-01.DV",
                                 tape + "/bytes 144000-432000/Sommer 03-02.DV", "/a.mov"));
  EXPECT_THAT(found.unclear, ElementsAre("/b.dif", paths[2]));
}

TEST(TapeRecordings, OfOneRecordingATapeStaysAsItIs) {
  const Arguments search = recordingSearch({tape});
  EXPECT_THAT(foundRecordings(search, "recording 0: bytes 0-9, 1 pictures\n").recordings,
              IsEmpty());
  EXPECT_THAT(recordingSearch({"/a.mov"}), IsEmpty());
  const TapeRecordings wrong =
      foundRecordings(search, "recording 0: bytes 0-9, 1 pictures\nrecording 0: bytes 9-x, 1\n");
  EXPECT_THAT(wrong.recordings, IsEmpty());
}

TEST(TapeRecordings, TheSearchTellsHowFarItIs) {
  const Arguments search = recordingSearch({"/a.dv", "/b.dv"});
  const auto stand = standOfSearch(search,
                                   "tape 0: 250 of 260 pictures\n"
                                   "recording 0: bytes 0-9, 260 pictures\n"
                                   "tape 1: 250 of 1000 pictures\n");
  ASSERT_TRUE(stand);
  EXPECT_EQ(stand->tape, "/b.dv");
  EXPECT_EQ(stand->fraction, 0.25);
  for (const char* wrong : {"", "tape 1: 250 of 10", "tape 2: 1 of 2 pictures\n", "tape x\n"})
    EXPECT_FALSE(standOfSearch(search, wrong)) << wrong;
}

}  // namespace
}  // namespace tessarin
