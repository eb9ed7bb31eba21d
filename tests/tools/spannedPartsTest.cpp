// Which files are parts of one recording: by what is known of them.
#include <gmock/gmock.h>

#include <functional>

#include "tools/joinclips/partNames.h"
#include "tools/joinclips/partOverlap.h"
#include "tools/joinclips/spannedParts.h"

namespace tessarin::joining {
namespace {

// A part of 10 s at 25 pictures a second, the first of a recording that begins at 5 s.
ClipFacts partFrom(Time begin) {
  ClipFacts part;
  part.bytes = 6144 * 1000;
  part.packetSize = 192;
  part.streams = {{1, StreamKind::pictures, 0x1B}, {2, StreamKind::sound, 0x81}};
  part.parameters = {{1, "1920x1080"}, {2, "stereo"}};
  part.firstDecoded = wrapped(begin);
  part.firstShown = wrapped(begin + 7200);
  part.lastDecoded = wrapped(begin + 10 * second - 3600);
  part.end = wrapped(begin + 10 * second + 7200);
  part.step = 3600;
  return part;
}

TEST(SpannedParts, GoOnWithoutAGapOrNotAtAll) {
  for (const Time begin : {5 * second, Time{-3 * second}}) {  // the clock wraps in the second
    const ClipFacts first = partFrom(begin);
    const ClipFacts next = partFrom(begin + 10 * second);
    EXPECT_TRUE(goesOn(first, next));
    EXPECT_THAT(lengthsOf({first, next, partFrom(begin + 20 * second)}),
                testing::ElementsAre(10, 20, 30));
    EXPECT_FALSE(goesOn(next, first));
  }
  ClipFacts tooShort = partFrom(15 * second);
  tooShort.parameters.clear();
  EXPECT_TRUE(goesOn(partFrom(5 * second), tooShort));
  ClipFacts withoutTables = tooShort;
  withoutTables.streams.clear();
  withoutTables.met = {1};
  EXPECT_TRUE(goesOn(partFrom(5 * second), withoutTables));
  withoutTables.met = {1, 7};
  EXPECT_FALSE(goesOn(partFrom(5 * second), withoutTables)) << "a stream that was not listed";
  const std::pair<const char*, std::function<void(ClipFacts & first, ClipFacts & next)>> doubts[] =
      {{"a minute later", [](auto&, auto& next) { next.firstDecoded += 60 * second; }},
       {"two pictures later", [](auto&, auto& next) { next.firstDecoded += 2 * 3600; }},
       {"the last picture once more", [](auto&, auto& next) { next.firstDecoded -= 3600; }},
       {"the clock began anew", [](auto&, auto& next) { next.firstDecoded = second / 2; }},
       {"another sound", [](auto&, auto& next) { next.streams[1].codec = 0x80; }},
       {"another size", [](auto&, auto& next) { next.parameters[1] = "1440x1080"; }},
       {"packets of another size", [](auto&, auto& next) { next.packetSize = 188; }},
       {"a packet that is cut", [](auto& first, auto&) { ++first.bytes; }},
       {"recorded later",
        [](auto& first, auto& next) { first.recorded = 100, next.recorded = 170; }},
       {"recorded before",
        [](auto& first, auto& next) { first.recorded = 100, next.recorded = 90; }}};
  for (const auto& [what, change] : doubts) {
    ClipFacts first = partFrom(5 * second);
    ClipFacts next = partFrom(15 * second);
    change(first, next);
    EXPECT_FALSE(goesOn(first, next)) << what;
  }
}

TEST(SpannedParts, MayBeginWithTheLastPacketsOfTheOneBefore) {
  const auto sums = [](const std::string& packets) {
    return std::vector<std::uint64_t>(packets.begin(), packets.end());
  };
  const auto repeated = [&](const std::string& last, const std::string& first) {
    return repeatedPackets(sums(last), sums(first));
  };
  const std::string some = "abcdefghijklmnopqrst";
  EXPECT_EQ(repeated("xyz" + some, some + "uv"), some.size());
  EXPECT_EQ(repeated("x" + some + some + "a", some + "auv"), some.size() + 1) << "the last ones";
  EXPECT_EQ(repeated("xyz" + some, some.substr(1) + "uv"), some.size() - 1);
  EXPECT_EQ(repeated("xyz" + some, some.substr(0, 19) + "uv"), 0u);
  EXPECT_EQ(repeated("xyz" + std::string(40, 'f'), std::string(40, 'f') + "uv"), 0u)
      << "these may be alike by chance";
  EXPECT_EQ(repeated("xyz" + some, some), 0u) << "nothing would be left";
  EXPECT_EQ(repeated("", some), 0u);
  EXPECT_EQ(repeated(some, ""), 0u);
}

// Only the first picture of each group tells its time, of fifteen here.
TEST(SpannedParts, OfProgramStreamsGoOnByTheClockAsWell) {
  ClipFacts first = partFrom(5 * second);
  first.lastDecoded = wrapped(15 * second - 15 * 3600);
  first.clockEnd = 15 * second - 9000;
  ClipFacts next = partFrom(15 * second);
  next.clockBegin = 15 * second - 4500;
  EXPECT_TRUE(goesOn(first, next));
  next.clockBegin = 15 * second + second / 2;
  EXPECT_FALSE(goesOn(first, next)) << "the clock stood still between them";
  next.clockBegin = 15 * second - 4500;
  next.firstDecoded += 15 * 3600;
  EXPECT_FALSE(goesOn(first, next)) << "a group is missing";
}

TEST(SpannedParts, AreLookedForByNumberAndByTheCardOrTheSize) {
  EXPECT_EQ(nextName("/card/STREAM/00009.MTS"), "/card/STREAM/00010.MTS");
  EXPECT_EQ(nextName("/card/STREAM/09999.MTS"), "/card/STREAM/10000.MTS");
  EXPECT_EQ(nextName("/2010/clip 9.m2ts"), "/2010/clip 10.m2ts");
  EXPECT_EQ(nextName("/2010/clip.mts"), std::nullopt);
  constexpr std::uint64_t cutAtFour = 4'286'724'096;
  constexpr std::uint64_t cutAtTwo = 2'146'959'360;
  for (const auto& [says, bytes, may] :
       {std::tuple{CardSays::goesOn, std::uint64_t{6144}, true},
        std::tuple{CardSays::apart, cutAtFour, false},
        std::tuple{CardSays::nothing, cutAtFour, true},
        std::tuple{CardSays::nothing, cutAtTwo, true},
        std::tuple{CardSays::nothing, std::uint64_t{3'000'000'000}, false},
        std::tuple{CardSays::nothing, std::uint64_t{6'000'000'000}, false}})
    EXPECT_EQ(mayGoOn(says, bytes), may) << bytes;
}

}  // namespace
}  // namespace tessarin::joining
