// Joining recordings: made-up packets in, times and counters out.
#include <gmock/gmock.h>

#include <cmath>
#include <map>

#include "support/ScopedTemporaryFolder.h"
#include "support/places.h"
#include "support/shell.h"
#include "tools/joinclips/JointFinder.h"
#include "tools/joinclips/PartShifter.h"
#include "tools/joinclips/unitContent.h"

namespace tessarin::joining {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int pictures = 0x1011;
constexpr int sound = 0x1100;
constexpr Time picture = 3600;
constexpr Time frame = 2160;             // of MPEG sound at 48 kHz
constexpr std::size_t frameSize = 1152;  // at 384 kbit/s
constexpr std::size_t framesOfUnit = 3;  // a unit of sound has several, so that units must be cut

Bytes timeBytes(int mark, Time time) {
  time = wrapped(time);
  const auto byte = [](Time value) { return static_cast<std::uint8_t>(value); };
  return {byte(mark << 4 | (time >> 30 & 7) << 1 | 1), byte(time >> 22), byte(time >> 14 | 1),
          byte(time >> 7), byte(time << 1 | 1)};
}

Bytes unitOf(int kind, Time shown, std::optional<Time> decoded, const Bytes& content) {
  Bytes unit = {0,
                0,
                1,
                static_cast<std::uint8_t>(kind),
                0,
                0,
                0x80,
                static_cast<std::uint8_t>(decoded ? 0xC0 : 0x80),
                static_cast<std::uint8_t>(decoded ? 10 : 5)};
  const Bytes first = timeBytes(decoded ? 3 : 2, shown);
  unit.insert(unit.end(), first.begin(), first.end());
  if (decoded) {
    const Bytes second = timeBytes(1, *decoded);
    unit.insert(unit.end(), second.begin(), second.end());
  }
  unit.insert(unit.end(), content.begin(), content.end());
  return unit;
}

// A recording: the table of programmes, then a picture and the sound beside it in turn.
class Recording {
 public:
  explicit Recording(Time start) : start_(start) {}

  void addTable() { addUnit(0, Bytes(100, 0)); }
  // The `number`th that is shown and the `order`th that is stored.
  void addPicture(int number, int order, bool isKey = false) {
    Bytes content = {0, 0, 1, 9, 0x10, 0, 0, 1, static_cast<std::uint8_t>(isKey ? 0x67 : 0x41)};
    content.resize(700, 0x55);
    addUnit(pictures,
            unitOf(0xE0, start_ + number * picture, start_ + (order - 1) * picture, content));
  }
  void addSound(Time at, std::size_t frames = framesOfUnit) {
    Bytes content(frames * frameSize, 0x11);
    for (std::size_t each = 0; each < frames; ++each)
      std::copy_n(Bytes{0xFF, 0xFD, 0xE4, 0x00}.begin(), 4,
                  content.begin() + static_cast<std::ptrdiff_t>(each * frameSize));
    addUnit(sound, unitOf(0xC0, start_ + at, std::nullopt, content));
  }
  void addPlainSound(int number, Time late = 0, bool hasTime = true) {
    Bytes content(4 + 240 * 4, 0x11);
    std::copy_n(Bytes{0x03, 0xC0, 0x31, 0x40}.begin(), 4, content.begin());  // stereo, 48 kHz
    Bytes unit = unitOf(0xBD, start_ + number * second / 200 + late, std::nullopt, content);
    if (!hasTime)
      unit[7] = 0;  // what stands in its place is filling
    addUnit(sound, unit);
  }
  // `count` pictures in groups of five, with sound that begins and ends so much later than they do.
  static Recording made(Time start, int count, Time soundLater = 0, Time soundEndsLater = 0) {
    Recording made(start);
    made.addTable();
    Time heard = soundLater;
    constexpr auto unit = static_cast<Time>(framesOfUnit) * frame;
    for (int number = 0; number < count; ++number) {
      if (number > 0 && number % 50 == 0)
        made.addTable();
      made.addPicture(number, number, number % 5 == 0);
      const Time end =
          number + 1 < count ? (number + 1) * picture : count * picture + soundEndsLater;
      for (; heard + unit <= end; heard += unit)
        made.addSound(heard);
      if (const Time rest = (end - heard) / frame; number + 1 == count && rest > 0)
        made.addSound(heard, static_cast<std::size_t>(rest));
    }
    return made;
  }

  std::vector<TransportPacket> packets;

 private:
  void addUnit(int stream, const Bytes& unit) {
    for (std::size_t done = 0; done < unit.size();) {
      TransportPacket packet;
      const std::size_t part = std::min<std::size_t>(184, unit.size() - done);
      packet.bytes = {
          0x47, static_cast<std::uint8_t>((done == 0 ? 0x40 : 0) | stream >> 8),
          static_cast<std::uint8_t>(stream),
          static_cast<std::uint8_t>((part < 184 ? 0x30 : 0x10) | (counters_[stream]++ & 0xF))};
      if (part < 184)
        packet.bytes[4] = static_cast<std::uint8_t>(183 - part);
      std::copy_n(unit.begin() + static_cast<std::ptrdiff_t>(done), part,
                  packet.bytes.end() - static_cast<std::ptrdiff_t>(part));
      packets.push_back(packet);
      done += part;
    }
  }

  Time start_;
  std::map<int, int> counters_;
};

struct Joined {
  std::vector<TransportPacket> packets;
  std::vector<PartShifter::Part> parts;
  std::map<int, std::vector<Time>> shown;  // by stream, in order of the times
  std::size_t soundFrames = 0;
  int lostPackets = 0;
};

Joined join(const std::vector<Recording>& recordings, bool areFiles = false) {
  Joined joined;
  PartShifter shifter([&](const TransportPacket& packet) { joined.packets.push_back(packet); });
  JointFinder finder(shifter);
  bool isFirst = false;
  for (const Recording& recording : recordings) {
    for (TransportPacket packet : recording.packets) {
      packet.beginsFile = std::exchange(isFirst, false);
      finder.add(packet);
    }
    isFirst = areFiles;
  }
  finder.finish();
  shifter.finish();
  joined.parts = shifter.parts();
  std::map<int, int> counters;
  for (const TransportPacket& packet : joined.packets) {
    if (const auto [last, isNew] = counters.try_emplace(packet.stream(), packet.counter());
        !isNew) {
      joined.lostPackets += packet.counter() != ((last->second + 1) & 0xF) ? 1 : 0;
      last->second = packet.counter();
    }
    const auto head = unitHead(packet);
    if (head)
      joined.shown[packet.stream()].push_back(*head->shown);
    if (packet.stream() == sound)
      for (const std::uint8_t byte : packet.payload().subspan(head ? head->length : 0))
        joined.soundFrames += byte == 0xFD ? 1 : 0;
  }
  std::sort(joined.shown[pictures].begin(), joined.shown[pictures].end());
  return joined;
}

void expectSteady(const std::vector<Time>& times) {
  for (std::size_t at = 1; at < times.size(); ++at)
    EXPECT_EQ(times[at] - times[at - 1], picture) << "picture " << at;
}

TEST(JoinClips, PartsFollowWithoutGapsWhateverTheirClocksSay) {
  // Of 26 pictures the sound is no whole number of frames. The tenth begins behind all the others.
  std::vector<Recording> parts;
  for (const int seconds : {10, 10, 2, 60, 51, 51, 0, 11, 3, 400})
    parts.push_back(Recording::made(seconds * second, 26, -700, 2000));
  const Joined joined = join(parts);
  EXPECT_EQ(joined.parts.size(), 10u);
  EXPECT_NEAR(joined.parts.back().seconds, 26.0 / 25, 1e-6);
  EXPECT_EQ(joined.lostPackets, 0);
  ASSERT_EQ(joined.shown.at(pictures).size(), 260u);
  expectSteady(joined.shown.at(pictures));
  // Not a frame too much or too few after nine joints, by more than half a one.
  const auto& times = joined.shown.at(sound);
  const double heard = static_cast<double>(joined.soundFrames) * frame;
  EXPECT_NEAR(heard, 260.0 * picture, 1.5 * frame);
  EXPECT_NEAR(static_cast<double>(times.back() - times.front()), heard, framesOfUnit * frame);
}

TEST(JoinClips, SoundKeepsItsPlaceAndItsPauses) {
  // The first goes on for a second behind its pictures, the second begins a second late.
  const Joined joined = join({Recording::made(0, 50, 0, second), Recording::made(0, 50, second),
                              Recording::made(0, 50, -second)});
  ASSERT_EQ(joined.shown.at(pictures).size(), 150u);
  expectSteady(joined.shown.at(pictures));
  const auto& times = joined.shown.at(sound);
  EXPECT_GE(joined.soundFrames, (6 * second - second - second / 2) / frame);
  std::vector<Time> pauses;
  for (std::size_t at = 1; at < times.size(); ++at)
    if (const Time step = times[at] - times[at - 1]; step > static_cast<Time>(framesOfUnit) * frame)
      pauses.push_back(times[at]);
  // Two seconds are the first part; where it begins late is where the second begins to be heard.
  ASSERT_EQ(pauses.size(), 1u);
  EXPECT_EQ(pauses.front(), 2 * second + second);
}

TEST(JoinClips, ACutPartBeginsWithItsFirstKeyPicture) {
  Recording cut = Recording::made(3 * second, 20);
  cut.packets.erase(cut.packets.begin(), cut.packets.begin() + 7);  // inside the first group
  Recording open(0);
  open.addTable();
  open.addPicture(2, 0, true);
  open.addPicture(0, 1);  // shown before the key picture: they need the group before
  open.addPicture(1, 2);
  for (int number = 3; number < 20; ++number)
    open.addPicture(number, number, number % 5 == 0);
  const Joined joined = join({Recording::made(9 * second, 20), cut, open});
  EXPECT_EQ(joined.lostPackets, 0);
  EXPECT_EQ(joined.parts.size(), 3u);
  ASSERT_EQ(joined.shown.at(pictures).size(), 20u + 15u + 18u);
  expectSteady(joined.shown.at(pictures));
}

TEST(JoinClips, NoJointIsMadeUpAndDamageStays) {
  const Recording whole = Recording::made(-2 * second, 100);  // the clock wraps in it
  Recording holed = whole;
  holed.packets.erase(holed.packets.begin() + 100, holed.packets.begin() + 300);
  Recording wrong = whole;
  for (TransportPacket& packet : wrong.packets)
    if (const auto head = unitHead(packet);
        head && packet.stream() == pictures && *head->shown == wrapped(10 * picture - 2 * second))
      shiftTimes(packet.payload(), *head, -5 * second);
  Recording wrongTwice = wrong;
  for (TransportPacket& packet : wrongTwice.packets)
    if (const auto head = unitHead(packet);
        head && packet.stream() == pictures && *head->shown == wrapped(11 * picture - 2 * second))
      shiftTimes(packet.payload(), *head, -5 * second);
  // Three pictures, the first of them a key picture behind a table.
  const auto wrongByHours = [&whole](int hours) {
    Recording recording = whole;
    for (TransportPacket& packet : recording.packets)
      if (const auto head = unitHead(packet); head && packet.stream() == pictures)
        if (const Time at = difference(*head->shown, -2 * second) / picture; at >= 50 && at < 53)
          shiftTimes(packet.payload(), *head, hours * 3600 * second);
    return recording;
  };
  for (const Recording& recording :
       {whole, holed, wrong, wrongTwice, wrongByHours(2), wrongByHours(-2)}) {
    const Joined joined = join({recording});
    ASSERT_EQ(joined.parts.size(), 1u);
    EXPECT_NEAR(joined.parts[0].seconds, 4, 1e-6);
    for (const int stream : {0, pictures, sound}) {
      const auto of = [stream](const std::vector<TransportPacket>& packets) {
        std::vector<std::array<std::uint8_t, 188>> bytes;
        for (const TransportPacket& packet : packets)
          if (packet.stream() == stream)
            bytes.push_back(packet.bytes);
        return bytes;
      };
      EXPECT_EQ(of(joined.packets), of(recording.packets));
    }
  }
  // The same shot in two files.
  Recording first = whole;
  Recording second = whole;
  first.packets.resize(200);
  second.packets.erase(second.packets.begin(), second.packets.begin() + 200);
  EXPECT_EQ(join({first, second}, true).packets.size(), whole.packets.size());
  EXPECT_EQ(join({first, second}, true).parts.size(), 1u);
}

// No packet is missing, so it is the clock that was set, of all streams or of the pictures alone.
TEST(JoinClips, AClockThatIsSetInARecordingIsMended) {
  const Recording whole = Recording::made(2 * second, 100);
  const auto expected = join({whole}).shown;
  for (const bool isOfAll : {false, true})
    for (const Time by : {second / 3, 3 * second}) {
      Recording set = whole;
      for (TransportPacket& packet : set.packets)
        if (const auto head = unitHead(packet);
            head && (isOfAll || packet.stream() == pictures) &&
            difference(*head->shown, 2 * second + 52 * picture) >= 0)
          shiftTimes(packet.payload(), *head, -by);
      const Joined joined = join({set});
      ASSERT_EQ(joined.parts.size(), 1u) << by;
      EXPECT_TRUE(joined.parts[0].hasClockSteps);
      EXPECT_EQ(joined.shown, expected) << by << " " << isOfAll;
    }
}

TEST(JoinClips, PicturesInMissingPacketsAreCounted) {
  constexpr int count = 100;
  const auto lostWithout = [](const auto& isMissing) {
    Recording recording = Recording::made(0, count);
    int number = -1;
    int packet = 0;
    std::erase_if(recording.packets, [&](const TransportPacket& each) {
      if (each.stream() != pictures)
        return false;
      packet = each.beginsUnit() ? 0 : packet + 1;
      number += packet == 0 ? 1 : 0;
      return isMissing(number, packet);
    });
    return std::lround(join({recording}).parts.at(0).picturesLost * 25);
  };
  EXPECT_EQ(lostWithout([](int number, int) { return number / 2 == 16 || number == 60; }), 3);
  EXPECT_EQ(lostWithout([](int number, int) { return number / 4 == 8; }), 4) << "counters fit";
  EXPECT_EQ(lostWithout([](int number, int packet) {
              return number / 3 == 11 || (number == 36 && packet < 3);
            }),
            4)
      << "the counter stays, as where a packet comes twice";
  EXPECT_EQ(lostWithout([](int number, int) { return number % 32 / 4 == 1; }), 0)
      << "pictures are left out";
}

TEST(JoinClips, PacketsThatWereOverwrittenAreMissed) {
  const test::ScopedTemporaryFolder folder;
  const Recording whole = Recording::made(0, 100);
  std::string bytes;
  for (const TransportPacket& packet : whole.packets)
    bytes.append(packet.bytes.begin(), packet.bytes.end());
  const auto list = [&](std::size_t begin, std::size_t packets) {
    std::string clip = bytes;
    clip.replace(begin * 188, packets * 188, packets * 188, '\0');
    return test::runShell(test::quoted(test::builtFile("resources/tools/joinclips")) + " --list " +
                          test::quoted(folder.write("x.ts", clip)))
        .output;
  };
  EXPECT_THAT(list(0, 0), testing::Not(testing::HasSubstr("missing")));
  for (std::size_t begin = 100; begin < 116; ++begin)
    EXPECT_THAT(list(begin, 40), testing::HasSubstr("packets missing with")) << begin;
}

TEST(JoinClips, AHoleThatEndsAsAFileBeginsIsToldAndNoJoint) {
  const Recording whole = Recording::made(0, 100);
  const auto at = [](const Recording& recording, int stream, Time shown) {
    return std::find_if(recording.packets.begin(), recording.packets.end(),
                        [=](const TransportPacket& packet) {
                          const auto head = unitHead(packet);
                          return packet.stream() == stream && head && head->shown == shown;
                        });
  };
  Recording holed = whole;
  holed.packets.erase(at(holed, pictures, 10 * picture), at(holed, pictures, 50 * picture) - 1);
  Joined joined = join({holed});
  ASSERT_EQ(joined.parts.size(), 1u);
  EXPECT_NEAR(joined.parts[0].seconds, 4, 1e-6);
  EXPECT_NEAR(joined.parts[0].picturesMissing, 41.0 / 25, 1e-6);
  EXPECT_NEAR(joined.parts[0].soundMissing, 40.0 / 25, 0.1);
  // A recording whose clock is as far ahead.
  Recording first = whole;
  first.packets.erase(at(first, pictures, 10 * picture), first.packets.end());
  joined = join({first, Recording::made(50 * picture, 50)});
  ASSERT_EQ(joined.parts.size(), 2u);
  EXPECT_EQ(joined.parts[0].soundMissing + joined.parts[1].soundMissing, 0);

  Recording mute = whole;
  const auto isHeard = [&](const TransportPacket& packet) {
    const auto place = &packet - mute.packets.data();
    return packet.stream() == sound && place > 200 && place < 400;
  };
  std::erase_if(mute.packets, isHeard);
  joined = join({mute});
  EXPECT_EQ(joined.parts[0].picturesMissing, 0);
  EXPECT_GT(joined.parts[0].soundMissing, 0.3);
}

// Units of plain samples, of 240 moments each; some are missing, or a packet of one is.
TEST(JoinClips, PlainSoundThatIsMissingIsTold) {
  for (const int lost : {0, 1, 10}) {
    Recording recording(0);
    for (int number = 0; number < 50; ++number) {
      recording.addPicture(number, number, number % 5 == 0);
      for (int unit = 0; unit < 8; ++unit)
        if (const int place = number * 8 + unit; place < 100 || place >= 100 + lost)
          recording.addPlainSound(place);
    }
    EXPECT_NEAR(join({recording}).parts.at(0).soundMissing, lost * 0.005, 1e-3);
    if (lost > 0)
      continue;
    int packets = 0;
    std::erase_if(recording.packets, [&packets](const TransportPacket& packet) {
      return packet.stream() == sound && ++packets == 100;
    });
    EXPECT_NEAR(join({recording}).parts.at(0).soundMissing, 184.0 / 192000, 1e-3);
  }
}

TEST(JoinClips, PlainSoundWhoseTimesAreMissingOrOffIsWhole) {
  for (const bool isOff : {false, true}) {
    Recording recording(0);
    for (int number = 0; number < 50; ++number) {
      recording.addPicture(number, number, number % 5 == 0);
      for (int unit = number * 8; unit < number * 8 + 8; ++unit)
        recording.addPlainSound(unit, isOff ? unit % 3 * 150 : 0, isOff || unit % 8 == 0);
    }
    EXPECT_EQ(join({recording}).parts.at(0).soundMissing, 0) << isOff;
  }
}

TEST(JoinClips, FramesOfSoundAreToldByTheirHeads) {
  struct Case {
    Bytes head;
    std::size_t size;
    double duration;
  };
  for (const auto& [head, size, duration] :
       {Case{{0x0B, 0x77, 0, 0, 0x14, 0x40}, 768, 2880},                 // AC-3, 192 kbit/s
        Case{{0x0B, 0x77, 0x01, 0x7F, 0x30, 0x80}, 768, 2880},           // E-AC-3
        Case{{0xFF, 0xFD, 0xA4, 0}, 576, 2160},                          // MPEG-1 layer 2
        Case{{0xFF, 0xF1, 0x4C, 0x80, 0x20, 0x1F, 0xFC}, 256, 1920}}) {  // AAC
    Bytes two = head;
    two.resize(size);
    const Bytes one = two;
    two.insert(two.end(), one.begin(), one.end());
    two.insert(two.begin(), 3, 0x22);  // the end of a frame that began in the unit before
    const SoundFrames frames = soundFrames(two);
    EXPECT_THAT(frames.starts, testing::ElementsAre(3, 3 + size, 3 + 2 * size));
    EXPECT_DOUBLE_EQ(frames.duration, duration);
  }
  EXPECT_EQ(soundFrames(Bytes(5000, 0x0B)).count(), 0u);
}

TEST(JoinClips, TellsOfAFileThatCannotBeReadAndNotOfAReaderWhoHasEnough) {
  const test::ScopedTemporaryFolder folder;
  const std::string tool = test::quoted(test::builtFile("resources/tools/joinclips"));
  std::string bytes;
  for (int packet = 0; packet < 20000; ++packet)
    bytes += "\x47\x1f\xff\x10" + std::string(184, 'x');
  const std::string clip = test::quoted(folder.write("x.ts", bytes));
  EXPECT_EQ(test::runShell(tool + " " + clip + " 2>&1 | head -c 1000 | wc -c").output, "1000\n");
  const auto failing = test::runShell("ASAN_OPTIONS=verify_asan_link_order=0 " +
                                      test::preloading("failingReads") + " FAILING_PATH=" + clip +
                                      " FAILING_FROM=2000000 " + tool + " " + clip + " >/dev/null");
  EXPECT_EQ(failing.status, 1);
  EXPECT_EQ(failing.output, "joinclips: " + folder.file("x.ts") + ": Input/output error\n");
  EXPECT_EQ(test::runShell(tool + " /etc/passwd").status, 1);
}

}  // namespace
}  // namespace tessarin::joining
