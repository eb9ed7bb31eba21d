#include <gmock/gmock.h>

#include "support/ScopedTemporaryFolder.h"
#include "support/places.h"
#include "support/shell.h"
#include "tools/cardBytes.h"
#include "tools/gettimestamps/card.h"
#include "tools/gettimestamps/playlist.h"
#include "tools/gettimestamps/timesInStreams.h"

namespace tessarin {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string textOf(const std::optional<RecordingTime>& time) {
  return time ? time->text() : "none";
}

TEST(RecordingTime, IsReadFromDecimalDigitsAndCheckedAgainstTheCalendar) {
  EXPECT_EQ(textOf(recordingTimeFromBcd(fromHex("20101224140533"))), "2010-12-24 14.05.33");
  EXPECT_EQ(textOf(recordingTimeFromBcd(fromHex("20120229000000"))), "2012-02-29 00.00.00");
  for (const std::string wrong :
       {"FFFFFFFFFFFFFF", "20110229000000", "20101324140533", "20100024140533", "20101200140533",
        "20101224240533", "20101224146033", "20101224140560", "2010122414053A", "00000101000000",
        "201012241405", ""})
    EXPECT_EQ(textOf(recordingTimeFromBcd(fromHex(wrong))), "none") << wrong;
}

std::vector<std::string> clipsOf(const Outcome<Playlist>& playlist) {
  std::vector<std::string> lines;
  if (playlist)
    for (const PlaylistClip& clip : playlist.value().clips)
      lines.push_back(clip.name + (clip.continues ? " + " : " = ") + textOf(clip.time));
  return lines;
}

TEST(CardPlaylist, GivesEachClipTheTimeOfItsEntryMark) {
  const std::vector<CardClip> clips = {{"00003", "20101224140533", 1},
                                       {"00001", "20101225090000"},
                                       {"00002", "", 6},
                                       {"00007", notSet}};
  for (const auto offset : {ExtensionOffset::extension, ExtensionOffset::dataBlock}) {
    const auto playlist = parsePlaylist(playlistBytes(clips, "20101224140530", offset));
    EXPECT_THAT(clipsOf(playlist),
                ElementsAre("00003 = 2010-12-24 14.05.33", "00001 = 2010-12-25 09.00.00",
                            "00002 + none", "00007 = none"));
    EXPECT_EQ(textOf(playlist.value().time), "2010-12-24 14.05.30");
    EXPECT_THAT(playlist.value().problems, IsEmpty());
  }
}

TEST(CardPlaylist, WithoutMakersDataStillNamesItsClips) {
  EXPECT_THAT(clipsOf(parsePlaylist(
                  playlistBytes({{"00003", "20101224140533"}}, notSet, ExtensionOffset::absent))),
              ElementsAre("00003 = none"));
}

TEST(CardPlaylist, BadItemsAreLeftOutAndTheOthersKeepTheirMarks) {
  const auto playlist = parsePlaylist(
      playlistBytes({{"../..", "20101224140533"}, {"00\n01", ""}, {"00002", "20101225090000"}}));
  EXPECT_THAT(clipsOf(playlist), ElementsAre("00002 = 2010-12-25 09.00.00"));
  EXPECT_EQ(playlist.value().problems.size(), 1U);
  for (const std::string& none : {std::string(), std::string("MPLS"), std::string("MPLS0100"),
                                  "XPLS" + playlistBytes({{"00001", notSet}}).substr(4)})
    EXPECT_FALSE(parsePlaylist(none)) << none.size();
}

// Whatever is damaged, times that come out are times, and reading ends.
TEST(CardPlaylist, EveryCutAndEveryWrongByteIsSurvived) {
  const std::string whole =
      playlistBytes({{"00001", "20101224140533"}, {"00002", "20101225090000"}}, "20101224140533");
  const auto check = [](const std::string& bytes) {
    const auto playlist = parsePlaylist(bytes);
    if (!playlist)
      return;
    for (const PlaylistClip& clip : playlist.value().clips)
      EXPECT_TRUE(!clip.time || clip.time->isValid());
  };
  for (std::size_t length = 0; length < whole.size(); ++length)
    check(whole.substr(0, length));
  for (std::size_t index = 0; index < whole.size(); ++index)
    for (const char byte : {'\0', '\x7F', '\xFF'}) {
      std::string damaged = whole;
      damaged[index] = byte;
      check(damaged);
    }
  const auto cut = parsePlaylist(whole.substr(0, 60));
  ASSERT_TRUE(cut);
  EXPECT_THAT(cut.value().problems, ElementsAre("the list of clips is cut short"));
}

TEST(CardStream, HoldsTheTimeInItsFirstPictures) {
  for (const std::string time : {"20190424222400", "20000101000001"})  // needs bytes 03 put in
    for (const std::size_t step : {std::size_t{188}, std::size_t{192}, std::size_t{204}}) {
      const std::string bytes = transportBytes(h264Bytes(time), step);
      EXPECT_EQ(textOf(factsInH264(videoOfTransportStream(bytes)).time),
                textOf(recordingTimeFromBcd(fromHex(time))))
          << step;
    }
  EXPECT_EQ(textOf(factsInH264(h264Bytes(notSet)).time), "none");
  EXPECT_EQ(textOf(factsInH264(h264Bytes(notSet) + h264Bytes("20190424222400")).time),
            "2019-04-24 22.24.00")
      << "a later picture";
}

TEST(CardStream, LostBytesAndOtherDamageAreSurvived) {
  const std::string picture = transportBytes(h264Bytes("20190424222400"));
  std::string shifted = picture + picture;
  shifted.erase(576, 50);  // the first message is lost with these
  EXPECT_EQ(textOf(factsInH264(videoOfTransportStream(shifted)).time), "2019-04-24 22.24.00");
  const auto check = [](const std::string& bytes) {
    const auto time = factsInH264(videoOfTransportStream(bytes)).time;
    EXPECT_TRUE(!time || time->isValid());
  };
  for (std::size_t length = 0; length < picture.size(); length += 7)
    check(picture.substr(0, length));
  for (std::size_t index = 0; index < picture.size(); ++index) {
    std::string damaged = picture;
    damaged[index] = '\xFF';
    check(damaged);
  }
  EXPECT_EQ(videoOfTransportStream(std::string(100000, 'G')), "");
  EXPECT_EQ(videoOfTransportStream("no transport stream at all"), "");
}

TEST(MoiFile, HoldsTheTimeOfTheClipBesideIt) {
  const auto time = recordingTimeOfMoi(fromHex("5636 00000106 07DB 05 0F 11 3A BB80 00001FE0"));
  ASSERT_TRUE(time);
  EXPECT_EQ(time.value().text(), "2011-05-15 17.58.48");
  EXPECT_FALSE(recordingTimeOfMoi(moiBytes(2011, 13, 1, 0, 0, 0)));
  EXPECT_FALSE(recordingTimeOfMoi(moiBytes(2011, 5, 15, 17, 58, 60000)));
  for (std::size_t length = 0; length < 14; ++length)
    EXPECT_FALSE(recordingTimeOfMoi(moiBytes(2011, 5, 15, 17, 58, 48000).substr(0, length)));
  EXPECT_FALSE(recordingTimeOfMoi("V7" + moiBytes(2011, 5, 15, 17, 58, 48000).substr(2)));
}

struct GetTimestamps : testing::Test {
  void write(const std::string& name, const std::string& bytes) const { folder.write(name, bytes); }
  std::vector<std::string> timesIn(const std::string& name) const {
    std::vector<std::string> lines;
    const auto times = clipTimes(folder.file(name));
    if (!times)
      return {times.reason()};
    for (const ClipTime& clip : times.value().clips)
      lines.push_back(clip.name + " : " + clip.time.text());
    return lines;
  }
  std::vector<std::string> problemsIn(const std::string& name) const {
    const auto times = clipTimes(folder.file(name));
    return times ? times.value().problems : std::vector<std::string>{times.reason()};
  }

  ScopedTemporaryFolder folder;
};

TEST_F(GetTimestamps, ReadsTheWholeCardFromWhicheverOfItsFoldersIsNamed) {
  write("card/PRIVATE/AVCHD/BDMV/PLAYLIST/00000.MPL",
        playlistBytes({{"00001", "20101224140533"}, {"00002", "20101224999999", 6}}));
  write("card/PRIVATE/AVCHD/BDMV/PLAYLIST/00001.MPL",
        playlistBytes({{"00001", "20111111111111"}, {"00005", notSet}}, "20111111111111"));
  write("card/PRIVATE/AVCHD/BDMV/STREAM/00005.MTS", transportBytes(h264Bytes("20111112101010")));
  write("card/PRIVATE/AVCHD/BDMV/STREAM/00009.MTS", transportBytes(h264Bytes("20111113101010")));
  for (const std::string place : {"", "/PRIVATE", "/PRIVATE/AVCHD", "/PRIVATE/AVCHD/BDMV",
                                  "/PRIVATE/AVCHD/BDMV/PLAYLIST/", "/PRIVATE/AVCHD/BDMV/STREAM"})
    EXPECT_THAT(timesIn("card" + place),
                ElementsAre("00001 : 2010-12-24 14.05.33", "00002 : 2010-12-24 14.05.33",
                            "00005 : 2011-11-12 10.10.10", "00009 : 2011-11-13 10.10.10"))
        << place;
  EXPECT_THAT(problemsIn("card"), IsEmpty());
}

TEST_F(GetTimestamps, ContinuedClipTakesTheTimeOfTheClipBeforeWhereverThatComesFrom) {
  write("bdmv/playlist/00000.mpls",
        playlistBytes(
            {{"00001", notSet}, {"00002", "20101224150000", 6}, {"00003", "", 6}, {"00004", ""}}));
  write("bdmv/stream/00001.m2ts", transportBytes(h264Bytes("20101224140533")));
  EXPECT_THAT(timesIn("."),
              ElementsAre("00001 : 2010-12-24 14.05.33", "00002 : 2010-12-24 14.05.33",
                          "00003 : 2010-12-24 14.05.33"));
}

TEST_F(GetTimestamps, PlaylistsOwnTimeIsForItsFirstClipAndTheLastResortForOthers) {
  write("PLAYLIST/00000.MPL",
        playlistBytes({{"00001", ""}, {"00002", ""}, {"00003", ""}}, "20101224140533"));
  write("STREAM/00001.MTS", transportBytes(h264Bytes("20101225000000")));
  write("STREAM/00002.MTS", transportBytes(h264Bytes("20101226000000")));
  EXPECT_THAT(timesIn("PLAYLIST"),
              ElementsAre("00001 : 2010-12-24 14.05.33", "00002 : 2010-12-26 00.00.00",
                          "00003 : 2010-12-24 14.05.33"));
}

TEST_F(GetTimestamps, BrokenCardGivesWhatCanBeRead) {
  write("PLAYLIST/00000.MPL", "MPLS0100");
  write("PLAYLIST/00001.MPL", playlistBytes({{"00001", "20101224140533"}}));
  write("PLAYLIST/00002.MPL", "");
  write("PLAYLIST/folder.MPL/file", "");
  write("STREAM/00002.MTS", "damaged");
  EXPECT_THAT(timesIn("."), ElementsAre("00001 : 2010-12-24 14.05.33"));
  EXPECT_THAT(problemsIn("."), ElementsAre(HasSubstr("00000.MPL: the playlist is cut short"),
                                           HasSubstr("00002.MPL: this is no playlist"),
                                           HasSubstr("folder.MPL: cannot be read"),
                                           HasSubstr("00002.MTS: no recording time")));
}

TEST_F(GetTimestamps, FolderOfModAndTodFilesIsReadFromTheFilesBesideThem) {
  write("MOV001.MOD", "");
  write("MOV001.MOI", moiBytes(2011, 5, 15, 17, 58, 48000));
  write("mov002.tod", "");
  write("MOV002.MOI", moiBytes(2011, 5, 16, 8, 0, 59999));
  write("MOV003.MOD", "");
  write("MOV004.MOD", "");
  write("MOV004.MOI", "V6");
  EXPECT_THAT(timesIn("."),
              ElementsAre("MOV001 : 2011-05-15 17.58.48", "mov002 : 2011-05-16 08.00.59"));
  EXPECT_THAT(problemsIn("."), ElementsAre(HasSubstr("MOV003.MOD: no MOI file beside it"),
                                           HasSubstr("MOV004.MOI: the MOI file is cut short")));
}

TEST_F(GetTimestamps, ProgramPrintsTimesAndSaysWhatIsWrong) {
  const std::string program = quoted(test::builtFile("resources/tools/gettimestamps"));
  write("card/PLAYLIST/00000.MPL", playlistBytes({{"00001", "20101224140533"}}));
  write("card/PLAYLIST/00001.MPL", "?");
  const auto whole =
      runShell(program + " " + quoted(folder.file("card/PLAYLIST/")) + " 2>/dev/null");
  EXPECT_EQ(whole.output, "00001 : 2010-12-24 14.05.33\n");
  EXPECT_EQ(whole.status, 0);
  const auto errors = runShell(program + " " + quoted(folder.file("card")) + " 2>&1 >/dev/null");
  EXPECT_THAT(errors.output, HasSubstr("00001.MPL: this is no playlist\n"));
  EXPECT_EQ(runShell(program + " " + quoted(folder.file("gone"))).status, 1);
  EXPECT_EQ(runShell(program).status, 2);
}

}  // namespace
}  // namespace tessarin
