#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "classShared/TextAdditions.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/places.h"
#include "support/shell.h"
#include "tools/gettimestamps/RecordingTime.h"
#include "tools/gettimestamps/card.h"
#include "tools/gettimestamps/containers.h"
#include "tools/gettimestamps/source.h"
#include "tools/gettimestamps/timesInStreams.h"
#include "tools/movieBytes.h"

namespace tessarin {
namespace {

using namespace test;

constexpr std::size_t at2010 = 3376044333;  // 24 December 2010, 14:05:33, since 1904
constexpr std::size_t from1904To1970 = 2082844800;

class RecordingTimes : public testing::Test {
 protected:
  RecordingTimes() {
    ::setenv("TZ", "East-2", 1);
    ::tzset();
  }
  ~RecordingTimes() override {
    ::unsetenv("TZ");
    ::tzset();
  }

  // What is known of a clip of this name with these bytes: "ORIGIN TIME".
  std::string timeOf(const std::string& name, const std::string& bytes) {
    return timeOf(folder.write(name, bytes));
  }
  static std::string timeOf(const std::string& path) {
    const auto found = factsOfSource(path).time;
    if (!found)
      return "none";
    return found->origin + " " + (found->time ? found->time->text() : "none");
  }

  ScopedTemporaryFolder folder;
};

TEST_F(RecordingTimes, OfTextsStandAsTheCameraWroteThem) {
  const std::pair<const char*, const char*> texts[] = {
      {"2010-12-24T14:05:33-0800", "2010-12-24 14.05.33"},
      {"2010-12-24 14:05:33.250 +01:00", "2010-12-24 14.05.33"},
      {"2010:12:24 14:05", "2010-12-24 14.05.00"},
      {"2010/12/24 14:05:33\n", "2010-12-24 14.05.33"},
      {"2010-12-24T14:05:33.000000Z", "2010-12-24 16.05.33"},  // UTC is no camera's clock
      {"FRI DEC 24 14:05:33 2010\n", "2010-12-24 14.05.33"},
      {"Wed Dec  1 04:05:33 2010", "2010-12-01 04.05.33"},
      {"2010", "none"},
      {"2010-12-24", "none"},
      {"1969-12-24 14:05:33", "none"},
      {"2101-01-01 00:00:00", "none"},
      {"2010-02-30 14:05:33", "none"},
      {"2010-12-24 14:05:33 by me", "none"},
      {"Fri Foo 24 14:05:33 2010", "none"},
      {"", "none"}};
  for (const auto& [text, expected] : texts) {
    const auto time = recordingTimeOfText(text);
    EXPECT_EQ(time ? time->text() : "none", expected) << text;
  }
}

TEST_F(RecordingTimes, AreFoundInEveryKindOfClip) {
  const std::string header = movieHeader(at2010);
  const std::string frame = dvFrame("FFD6E210", "FFA8B6E1");
  const struct {
    const char* why;
    std::string name, bytes, expected;
  } clips[] = {
      {"the header of a movie", "a.mov", quickTime(header), "container 2010-12-24 14.05.33"},
      {"one that counts from 1970", "b.mp4", quickTime(movieHeader(at2010 - from1904To1970)),
       "container 2010-12-24 14.05.33"},
      {"a clock that was never set", "c.mov", quickTime(movieHeader(86400)), "none"},
      {"no date", "d.mov", quickTime(movieHeader(0)), "none"},
      {"the key is worth more than the header", "e.mov",
       quickTime(header + atom("meta", dateKey("2015-01-19T12:45:11-0800"))),
       "container 2015-01-19 12.45.11"},
      {"metadata as MPEG-4 has them", "f.mp4",
       quickTime(header + atom("meta", bigEndian(0, 4) + dateKey("2015-01-19T12:45:11-0800"))),
       "container 2015-01-19 12.45.11"},
      {"user data", "g.mov",
       quickTime(header + atom("udta", dayOfUserData("2016-05-04T03:02:01+0900"))),
       "container 2016-05-04 03.02.01"},
      {"a year alone is no time", "h.mov", quickTime(header + atom("udta", dayOfUserData("2016"))),
       "container 2010-12-24 14.05.33"},
      {"Matroska tells UTC", "i.mkv", matroska(314892333), "container 2010-12-24 16.05.33"},
      {"MXF", "j.mxf", mxf("07DA 0C 18 0E 05 21 00"), "container 2010-12-24 14.05.33"},
      {"AVI of a photo camera", "k.avi", avi("FRI DEC 24 14:05:33 2010\n"),
       "container 2010-12-24 14.05.33"},
      {"AVCHD", "l.mts", transportBytes(h264Bytes("20190424222400")), "stream 2019-04-24 22.24.00"},
      {"AVCHD in another container", "m.mkv", matroska(314892333, h264Bytes("20190424222400")),
       "stream 2019-04-24 22.24.00"},
      {"DV", "n.dv", frame + frame, "stream 2010-02-16 21.36.28"},
      {"DV of 525 lines, one frame", "o.dv", dvFrame("FFD6E210", "FFA8B6E1", false),
       "stream 2010-02-16 21.36.28"},
      {"DV in AVI", "p.avi", avi("", frame), "stream 2010-02-16 21.36.28"},
      {"DV is worth more than what its container says, and may begin far behind", "q.mov",
       atom("free", std::string(5 << 20, '\0')) + quickTime(header, frame),
       "stream 2010-02-16 21.36.28"},
      {"a fault of the tape is left out", "r.dv",
       dvFrame("FFFFFFFF", "FFFFFFFF") + dvFrame("FFC1E111", "FFA8B6E1") + frame + frame,
       "stream 2010-02-16 21.36.28"},
      {"DV that a program made", "s.mov", quickTime(header, dvFrame("FFFFFFFF", "FFFFFFFF")),
       "container 2010-12-24 14.05.33"},
      {"no movie", "t.mts", "Dear diary", "none"},
      {"an empty one", "u.mov", "", "none"}};
  for (const auto& clip : clips)
    EXPECT_EQ(timeOf(clip.name, clip.bytes), clip.expected) << clip.why;
  EXPECT_EQ(timeOf(folder.file("gone.mov")), "none");
  EXPECT_EQ(timeOf(folder.path()), "none");
}

TEST_F(RecordingTimes, AreFirstOfAllThoseThatTheCameraNotedBesideTheClip) {
  folder.write("SD_VIDEO/PRG001/mov001.moi", moiBytes(2011, 5, 15, 17, 58, 48000));
  EXPECT_EQ(timeOf("SD_VIDEO/PRG001/MOV001.MOD", ""), "beside 2011-05-15 17.58.48");
  EXPECT_EQ(timeOf("SD_VIDEO/PRG001/MOV001.mpg", ""), "none");
  folder.write("CLIP/C0001M01.XML",
               "<?xml?><NonRealTimeMeta><Duration value=\"9\"/>\n"
               "<CreationDate value=\"2013-04-05T06:07:08+09:00\"/></NonRealTimeMeta>");
  EXPECT_EQ(timeOf("CLIP/C0001.MP4", quickTime(movieHeader(at2010))), "beside 2013-04-05 06.07.08");

  folder.write("BDMV/PLAYLIST/00000.MPL",
               playlistBytes({{"00001", "20101224140533"}, {"00002", "", 6}, {"00003", ""}}, ""));
  const std::string stream = transportBytes(h264Bytes("20190424222400"));
  EXPECT_EQ(timeOf("BDMV/STREAM/00001.MTS", stream), "card 2010-12-24 14.05.33");
  EXPECT_EQ(timeOf("BDMV/STREAM/00002.MTS", stream), "card 2010-12-24 14.05.33")
      << "its other part";
  EXPECT_EQ(timeOf("BDMV/STREAM/00003.MTS", stream), "card 2019-04-24 22.24.00");
  EXPECT_EQ(timeOf("BDMV/STREAM/00009.MTS", stream), "card 2019-04-24 22.24.00");
  EXPECT_EQ(timeOf("BDMV/STREAM/00008.MTS", "damaged"), "card none");
}

TEST_F(RecordingTimes, ComeWithWhatElseTheClipSaysOfItsRecording) {
  const auto facts = [](const std::string& path) {
    const KnownFacts known = factsOfSource(path);
    const std::string zone = known.time && known.time->time ? known.time->time->zoneText() : "";
    return fmt::format("{}|{}|{}|{}|{}", zone, known.timeCode, known.make, known.model,
                       known.place);
  };
  const auto said = [&](const std::string& name, const std::string& bytes) {
    return facts(folder.write(name, bytes));
  };
  const std::string header = movieHeader(at2010);
  EXPECT_EQ(said("a.mov", quickTime(header)), "-0000||||") << "nobody knows its zone";
  EXPECT_EQ(said("b.mov", quickTime(header + atom("meta", dateKey("2015-01-19T12:45:11-0800")))),
            "-0800||1999-01-01T00:00:00||")
      << "the first of its keys is the maker";
  const std::string place = "+48.1371+011.5754/";
  EXPECT_EQ(
      said("c.mov", quickTime(header + atom("udta", atom("\251xyz", bigEndian(18, 2) +
                                                                        bigEndian(0, 2) + place)))),
      "-0000||||" + place);
  EXPECT_EQ(said("d.mkv", matroska(314892333)), "+0200||||") << "UTC becomes this machine's time";

  // 18: zone 1E is 15 hours, which there are nowhere; 13: the time code.
  EXPECT_EQ(said("e.mts", transportBytes(h264Bytes("20190424222400"))), "|00:00:00:00|||");
  const std::string message = fromHex("17EE8C60F84D11D98CD60800200C9A66") + "MDPM" +
                              fromHex("04 13 52235514 18 2A201210 19 07185309 E0 01030000");
  EXPECT_EQ(said("f.mkv", message), "-0500|14:55:23;12|Panasonic||");
  EXPECT_EQ(said("g.mkv", replaceAll(message, fromHex("52235514"), fromHex("AA999999"))),
            "-0500||Panasonic||");
  // 48 1/2 degrees north, 11 degrees 30 minutes 36 seconds west; the receiver's state; the model.
  const std::string position = fromHex(
      "0E 18 2A201210 19 07185309 B1 4E000000 B2 00610002 B3 00000001 B4 00000001 B5 57000000 B6 "
      "000B0001 B7 001E0001 "
      "B8 0168000A BE 41000000 E4 494C4345 E5 2D374D33 E6 00000000");
  const auto with = [&](const std::string& tags) {
    return message.substr(0, message.find("MDPM") + 4) + tags;
  };
  EXPECT_EQ(said("m.mkv", with(position)), "-0500|||ILCE-7M3|+48.5000-011.5100/");
  EXPECT_EQ(said("n.mkv", with(replaceAll(position, "\xBE\x41", "\xBEV"))), "-0500|||ILCE-7M3|");
  EXPECT_EQ(said("o.mkv", with(replaceAll(position, "\xB6", "\xC6"))), "-0500|||ILCE-7M3|");

  std::string frame = dvFrame("FFD6E210", "FFA8B6E1");
  frame.replace(86, 5, fromHex("13 648480C0"));
  EXPECT_EQ(said("h.dv", frame + frame), "|00:00:04:24|||");

  // A sequence of 25 pictures a second, a group at 02:03:04:05, its first picture the third shown.
  const auto mpeg = [](const std::string& group) {
    return fromHex("000001B3 2D0240 33 FFFFE018 000001B8") + fromHex(group) +
           fromHex("00000100 008FFFF8");
  };
  EXPECT_EQ(said("i.mpg", mpeg("08 388280")), "|02:03:04:07|||") << "an open group";
  EXPECT_EQ(said("j.mpg", mpeg("08 3882C0")), "|02:03:04:05|||");
  EXPECT_EQ(said("k.mpg", mpeg("00 080040")), "||||") << "0 is what nobody has set";
  EXPECT_EQ(said("l.mpg", mpeg("FF FFFFFF")), "||||");

  folder.write("CLIP/C0001M01.XML",
               "<NonRealTimeMeta><LtcChangeTable tcFps=\"30\"><LtcChange frameCount=\"0\" "
               "value=\"67212901\" status=\"increment\"/></LtcChangeTable>"
               "<CreationDate value=\"2013-04-05T06:07:08+09:00\"/>"
               "<Device manufacturer=\"Sony\" modelName=\"ILCE-6700\"/></NonRealTimeMeta>");
  EXPECT_EQ(said("CLIP/C0001.MP4", ""), "+0900|01:29:21;27|Sony|ILCE-6700|");
}

// Whatever is damaged, times that come out are times, and reading ends soon.
TEST_F(RecordingTimes, SurviveEveryCutAndEveryWrongByte) {
  const std::string header = movieHeader(at2010);
  for (const std::string& whole :
       {quickTime(header + atom("meta", dateKey("2015-01-19T12:45:11-0800"))),
        quickTime(header + atom("udta", dayOfUserData("2016-05-04T03:02:01+0900"))),
        matroska(314892333), mxf("07DA 0C 18 0E 05 21 00"), avi("FRI DEC 24 14:05:33 2010\n")}) {
    const auto check = [&](const std::string& bytes) {
      const std::string path = folder.write("damaged", bytes);
      for (const auto& read : containerReaders) {
        BoundedFile file(path);
        const auto time = read(file);
        EXPECT_TRUE(!time || time->isValid());
      }
    };
    for (std::size_t length = 0; length < whole.size(); length += 7)
      check(whole.substr(0, length));
    for (std::size_t index = 0; index < whole.size(); ++index) {
      std::string damaged = whole;
      damaged[index] = index % 2 == 0 ? '\xFF' : '\0';
      check(damaged);
    }
  }
  const std::string frame = dvFrame("FFD6E210", "FFA8B6E1");
  for (std::size_t length = 0; length < 2000; length += 7)
    factsInDv(frame.substr(0, length));
}

// Each item asks the same stream for its time, which does not tell.
TEST_F(RecordingTimes, OfAVastPlaylistTakeNoLongerThanItsStreams) {
  std::vector<CardClip> clips(65535, CardClip{"00001", "", 6});
  folder.write("BDMV/PLAYLIST/00000.MPL", playlistBytes(clips));
  folder.write("BDMV/STREAM/00001.MTS", transportBytes(std::string(3 << 20, 'x')));
  const auto times = clipTimes(folder.file("BDMV"));
  ASSERT_TRUE(times);
  EXPECT_EQ(times.value().problems.size(), 1u);
  EXPECT_EQ(timeOf(folder.file("BDMV/STREAM/00001.MTS")), "card none");
}

TEST_F(RecordingTimes, AreToldByTheProgram) {
  const std::string program = quoted(test::builtFile("resources/tools/gettimestamps")) + " --file ";
  const std::string clip = folder.write("-x.mov", quickTime(movieHeader(at2010)));
  const auto told = runShell(program + quoted(clip));
  EXPECT_EQ(told.output, "container : 2010-12-24 14.05.33\nzone : -0000\n");
  EXPECT_EQ(told.status, 0);
  folder.write("BDMV/PLAYLIST/00000.MPL", "?");
  const std::string damaged = folder.write("BDMV/STREAM/00001.MTS", "damaged");
  const auto silent = runShell(program + quoted(damaged) + " 2>/dev/null");
  EXPECT_EQ(silent.output, "card : \n");
  EXPECT_EQ(silent.status, 1);
  EXPECT_EQ(runShell(program + quoted(folder.file("gone.mov"))).status, 1);
  // What cannot be read may tell of a time.
  const auto unread =
      runShell("ASAN_OPTIONS=verify_asan_link_order=0 " + test::preloading("failingReads") +
               " FAILING_PATH=" + quoted(clip) + " FAILING_FROM=8 " + program + quoted(clip));
  EXPECT_EQ(unread.output, "gettimestamps: " + clip + ": it cannot be read everywhere\n");
  EXPECT_EQ(unread.status, 3);
}

}  // namespace
}  // namespace tessarin
