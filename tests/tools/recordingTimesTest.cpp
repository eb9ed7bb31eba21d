#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

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
    const auto found = timeOfSource(path);
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
    recordingTimeInDv(frame.substr(0, length));
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
  EXPECT_EQ(told.output, "container : 2010-12-24 14.05.33\n");
  EXPECT_EQ(told.status, 0);
  folder.write("BDMV/PLAYLIST/00000.MPL", "?");
  const std::string damaged = folder.write("BDMV/STREAM/00001.MTS", "damaged");
  const auto silent = runShell(program + quoted(damaged) + " 2>/dev/null");
  EXPECT_EQ(silent.output, "card : \n");
  EXPECT_EQ(silent.status, 1);
  EXPECT_EQ(runShell(program + quoted(folder.file("gone.mov"))).status, 1);
}

}  // namespace
}  // namespace tessarin
