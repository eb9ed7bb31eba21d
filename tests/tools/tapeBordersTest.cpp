// Where the recordings of a tape meet.
#include <gtest/gtest.h>

#include "cardBytes.h"
#include "movieBytes.h"
#include "support/ScopedTemporaryFolder.h"
#include "tools/joinclips/TapeBorders.h"

namespace tessarin::joining {
namespace {

constexpr std::size_t pictureBytes = 144000;

// So many pictures, the first with this number and by the camera's clock at this one, which the
// camera may mark.
std::string shot(int code, int clock, int count, bool isMarked = false) {
  std::string frames;
  for (int each = 0; each < count; ++each)
    frames += test::dvPicture(code + each, clock + each, isMarked && each == 0);
  return frames;
}

std::string withoutClock(std::string frames) {
  for (std::size_t at = 0; at + 10 < frames.size(); ++at)
    if (frames[at] == '\x62' && frames[at + 5] == '\x63')
      frames.replace(at, 10, 10, '\xFF');
  return frames;
}

std::string withoutCode(std::string frames) {
  for (std::size_t at = 468; at < frames.size(); at += 24000)
    frames.replace(at, 5, 5, '\xFF');
  return frames;
}

std::string blank(int count) {
  return withoutCode(withoutClock(shot(0, 0, count)));
}

// How many pictures each recording has, with "?" where there may be more in it.
std::string foundIn(const std::string& tape) {
  TapeBorders borders;
  for (std::size_t at = 0; at < tape.size(); at += pictureBytes)
    borders.add(std::string_view(tape).substr(at, pictureBytes));
  std::string found;
  std::uint64_t next = 0;
  for (const TapeRecording& each : borders.finish()) {
    EXPECT_EQ(each.first, std::exchange(next, each.first + each.count));
    found += (found.empty() ? "" : " ") + std::to_string(each.count) + (each.isUnclear ? "?" : "");
  }
  EXPECT_EQ(next * pictureBytes, tape.size());
  return found;
}

TEST(TapeBorders, AreWhereClockOrCodeLeaps) {
  const std::string first = shot(1000, 0, 24);
  EXPECT_EQ(foundIn(first), "24");
  EXPECT_EQ(foundIn(first + shot(1024, 5000, 20) + shot(1044, 9000, 30)), "24 20 30");
  EXPECT_EQ(foundIn(first + shot(1024, 74, 20)), "24 20") << "by two seconds";
  EXPECT_EQ(foundIn(shot(1000, 5000, 24) + shot(1024, 0, 20)), "24 20") << "back";
  EXPECT_EQ(foundIn(first + shot(0, 25, 20)), "24 20") << "the code begins anew";
  EXPECT_EQ(foundIn(first + shot(9000, 25, 20)), "24 20") << "it leaps alone";
  EXPECT_EQ(foundIn(first + shot(1099, 99, 20, true)), "24 20") << "both, and it is marked";
  EXPECT_EQ(foundIn(withoutCode(first + shot(0, 5000, 20))), "24 20");
  EXPECT_EQ(foundIn(withoutClock(first + shot(0, 0, 20))), "24 20");
}

TEST(TapeBorders, AreNotInsideOfRecordings) {
  const std::string first = shot(1000, 0, 24);
  EXPECT_EQ(foundIn(first + shot(1099, 99, 20)), "44") << "pictures are missing";
  EXPECT_EQ(foundIn(first + shot(1023, 23, 1) + shot(1025, 25, 20)), "45") << "one comes twice";
  EXPECT_EQ(foundIn(first + shot(1020, 20, 20)), "44") << "some do";
  EXPECT_EQ(foundIn(first + shot(1300, 8000, 1) + shot(1025, 25, 20)), "45") << "one is damaged";
  EXPECT_EQ(foundIn(first + shot(3, 8000, 4) + shot(1028, 28, 20)), "48") << "four are";
  EXPECT_EQ(foundIn(first + blank(30) + shot(1054, 54, 20)), "74");
  EXPECT_EQ(foundIn(first + withoutClock(shot(1024, 0, 30)) + shot(1054, 54, 20)), "74");
  EXPECT_EQ(foundIn(first + withoutCode(shot(0, 24, 30)) + shot(1054, 54, 20)), "74");
  EXPECT_EQ(foundIn(first + shot(7, 9000, 1)), "25") << "the last one is damaged";
}

TEST(TapeBorders, AreNoneWhereTheyAreInDoubt) {
  const std::string first = shot(1000, 0, 24);
  EXPECT_EQ(foundIn(first + blank(3) + shot(0, 5000, 20)), "47?");
  EXPECT_EQ(foundIn(first + blank(3) + shot(0, 5000, 20, true)), "27 20") << "it is marked";
  EXPECT_EQ(foundIn(first + shot(7, 9000, 1) + shot(0, 5000, 20)), "45?") << "one is neither's";
  EXPECT_EQ(foundIn(shot(7, 9000, 3) + first), "27?") << "too short";
  EXPECT_EQ(foundIn(first + shot(7, 9000, 3)), "27?") << "likewise";
  EXPECT_EQ(foundIn(withoutClock(first + shot(1099, 0, 20))), "44?") << "or some are missing";
  EXPECT_EQ(foundIn(first + blank(3) + shot(0, 5000, 20) + shot(20, 9000, 25)), "47? 25");
  EXPECT_EQ(foundIn(first + shot(7, 9000, 3) + shot(0, 5000, 20) + shot(20, 7000, 25)), "47? 25");
  EXPECT_EQ(foundIn(blank(9)), "9?");
  EXPECT_EQ(foundIn(first + std::string(6 * pictureBytes, '\0')), "30?") << "no pictures";
}

TEST(TapeBorders, AreToldByBytes) {
  const test::ScopedTemporaryFolder folder;
  const auto read = [&folder](const std::string& bytes) {
    return readTape(folder.write("Sommer 03.dv", bytes));
  };
  const auto tape = read(shot(0, 0, 20) + shot(20, 5000, 9) + "torn");
  ASSERT_TRUE(tape) << tape.reason();
  ASSERT_EQ(tape->recordings.size(), 2u);
  EXPECT_EQ(tape->beginOf(0), 0u);
  EXPECT_EQ(tape->endOf(0), 20 * pictureBytes);
  EXPECT_EQ(tape->beginOf(1), 20 * pictureBytes);
  EXPECT_EQ(tape->endOf(1), 29 * pictureBytes + 4);
  EXPECT_FALSE(read("")) << "nothing";
  EXPECT_FALSE(read("RIFF" + shot(0, 0, 2))) << "of another format";
  std::string wide = shot(0, 0, 4);
  wide[pictureBytes + 1] = '\x0B';
  EXPECT_FALSE(read(wide)) << "pictures of several parts";
}

}  // namespace
}  // namespace tessarin::joining
