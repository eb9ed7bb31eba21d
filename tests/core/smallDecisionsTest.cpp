// The thumbnail, the time left and the reasons: small decisions of the controller.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "analysis/partFiles.h"
#include "core/spannedSources.h"
#include "core/storedRow.h"
#include "encoding/BatchEntry.h"
#include "jobs/BatchProgress.h"
#include "jobs/failureReason.h"
#include "jobs/newRow.h"
#include "jobs/proxies.h"
#include "prefs/utilsAlert.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"
#include "support/sources.h"

namespace tessarin {
namespace {

TEST(Thumbnail, HasTheShapeOfThePicture) {
  const auto filterOf = [](const Dico& facts) {
    return thumbnailCommand(test::sourceOf(facts), "/tmp/clip.jpg", true).at(12).substr(24);
  };
  EXPECT_EQ(filterOf({{"v0_dar", "16:9"}}), "scale=160:90");
  EXPECT_EQ(filterOf({{"v0_width", 640}, {"v0_height", 480}}), "scale=160:120");
  EXPECT_EQ(filterOf({{"v0_width", 720}, {"v0_height", 576}}), "scale=160:128");
  EXPECT_EQ(filterOf({}), "scale=160:90");
  // A telephone that was held upright.
  EXPECT_EQ(filterOf({{"v0_dar", "16:9"}, {"v0_rotation", -90}}), "scale=160:284");
  // The second try, and that of movies, take any picture of the same shape.
  const Arguments plain =
      thumbnailCommand(test::sourceOf({{"v0_width", 640}, {"v0_height", 480}}), "/a.jpg", false);
  EXPECT_NE(std::find(plain.begin(), plain.end(), "scale=160:120"), plain.end());
}

TEST(Thumbnail, IsTakenWhereTheClipHasBegun) {
  const auto pointOf = [](double seconds) {
    return thumbnailSeekPoint(test::sourceOf({{"w_duration", seconds}}));
  };
  EXPECT_EQ(pointOf(10), "0");
  EXPECT_EQ(pointOf(11), "10");
  EXPECT_EQ(pointOf(60.5), "60");
  EXPECT_EQ(pointOf(121), "120");
  EXPECT_EQ(thumbnailSeekPoint({}), "0");
}

TEST(Thumbnail, ItsNameIsNoPatternAndNobodyElses) {
  const test::ScopedTemporaryFolder folder;
  EXPECT_EQ(thumbnailPath(folder.path(), "/a/50%d.mts"), folder.file("50_d.jpg"));
  folder.write("clip.jpg", "another");
  const std::string second = thumbnailPath(folder.path(), "/a/clip.mts");
  EXPECT_NE(second, folder.file("clip.jpg"));
  EXPECT_FALSE(std::filesystem::exists(second));
}

TEST(SpannedSources, OfMorePartsThanARecordingMayHaveAreSeveral) {
  const test::ScopedTemporaryFolder folder;
  Arguments search{"joinclips", "--parts", "--"};
  std::string places;
  std::string times;
  for (std::size_t part = 0; part <= mostFurtherParts + 2; ++part) {
    search.push_back(folder.file(std::to_string(part) + ".dv"));
    folder.write(std::to_string(part) + ".dv", "bytes");
    places += " " + std::to_string(part);
    times += " " + std::to_string(10 * (part + 1));
  }
  const SpannedSources found = foundParts(search, "parts" + places + ":" + times + "\n");
  ASSERT_EQ(found.recordings.size(), 2U);
  const auto& first = found.recordings.at(folder.file("0.dv"));
  EXPECT_EQ(first.furtherParts.size(), mostFurtherParts);
  EXPECT_EQ(first.seconds, 10.0 * (mostFurtherParts + 1));
  const std::string next = std::to_string(mostFurtherParts + 1);
  const auto& second = found.recordings.at(folder.file(next + ".dv"));
  ASSERT_EQ(second.furtherParts.size(), 1U);
  EXPECT_EQ(second.furtherParts.front().begin, 10);
  EXPECT_EQ(second.seconds, 20);
  EXPECT_EQ(found.doubtful, std::vector{folder.file(std::to_string(mostFurtherParts) + ".dv")});
}

TEST(NewRow, TellsWhatTheSourceIs) {
  const test::TestBundle bundle;
  const Dico info{{"v0_width", 1920}, {"v0_height", 1080},  {"v0_fps", 59.94},
                  {"w_duration", 65}, {"v0_fields", "TFF"}, {"srcPathStr", "/a/clip.mts"}};
  const Row row = newRow(test::sourceOf(info), {outProres, 12, speedKeep});
  EXPECT_FALSE(row.isProgressive);
  EXPECT_EQ(row.caption.substr(0, 29), "clip.mts\n(1920x)1080i60\n0h01'");
  EXPECT_EQ(recordOfRow(row).text("fpsSrc"), "\n60i");
}

TEST(BatchProgress, ThePaceSaysNothingAtFirstAndForgetsOldSpeed) {
  Pace pace;
  pace.add(0, 0);
  pace.add(2, 20);
  EXPECT_EQ(pace.secondsFor(60), std::nullopt);
  pace.add(4, 40);
  EXPECT_EQ(pace.rate(), 10);
  EXPECT_EQ(pace.secondsFor(60), 6);
  for (int second = 5; second <= 40; ++second)
    pace.add(second, 40 + (second - 4));
  EXPECT_NEAR(*pace.rate(), 1, 0.01);
  EXPECT_EQ(clockText(65.4), "1:05");
  EXPECT_EQ(clockText(7389.4), "2:03:09");
}

TEST(BatchProgress, APauseDoesNotCountAndTheBarOfAClipRunsOnce) {
  StopWatch watch;
  const StopWatch::Time start;
  const auto at = [&](int seconds) { return start + std::chrono::seconds(seconds); };
  watch.start(at(10));
  watch.pause(at(12));
  EXPECT_EQ(watch.elapsed(at(5000)).count(), 2);
  watch.resume(at(5000));
  EXPECT_EQ(watch.elapsed(at(5001)).count(), 3);

  JobPlan plan;
  plan.needsSlowing = plan.needsExport = true;
  ClipProgress progress(plan);
  double last = 0;
  for (const double ofTool : {0.5, 1.0, 0.5, 1.0, 0.5, 1.0}) {
    if (ofTool < 1)
      progress.begin();
    progress.add(ofTool);
    EXPECT_GT(progress.fraction(), last);
    last = progress.fraction();
  }
  EXPECT_EQ(last, 1);
}

TEST(FailureReason, NamesTheCauseNotTheConsequence) {
  const test::TestBundle bundle;
  const auto reasonOf = [](const std::string& output) {
    const std::string source = "/clips/Permission denied.mts";
    return failureReason(withoutPath(output, source), source);
  };
  EXPECT_EQ(reasonOf("av_interleaved_write_frame(): No space left on device\n"
                     "Error writing trailer of /x.mov: Invalid argument\nConversion failed!\n"),
            localisationString("why_diskFull"));
  EXPECT_EQ(reasonOf("[mov @ 0x55] moov atom not found\n"
                     "/clips/Permission denied.mts: Invalid data found when processing input\n"),
            localisationString("why_incomplete"));
  EXPECT_EQ(reasonOf("frame=    1 fps=0\n[foo @ 0x1] cannot open /clips/Permission denied.mts\n"
                     "Conversion failed!\n\n"),
            localisationString("why_toolSays", "", "cannot open Permission denied.mts"));
  const std::string described =
      "Press [q] to stop, [?] for help\nOutput #0, mov, to '/x.mov':\n  Metadata:\n"
      "  Stream #0:1: Audio: pcm_s16le (sowt / 0x74776F73), 48000 Hz, stereo, s16, 1536 kb/s\n"
      "    Metadata:\n      encoder         : Lavc59.37.100 pcm_s16le\nframe=    5 fps=0.0\r";
  EXPECT_EQ(reasonOf(described), localisationString("why_silent"));
  EXPECT_EQ(reasonOf("Out of luck.\n" + described),
            localisationString("why_toolSays", "", "Out of luck"));
  EXPECT_EQ(reasonOf(""), localisationString("why_silent"));
}

TEST(FailureReason, ATaskIsToldByItsComplaintsAndASignalAsSuch) {
  ToolEnd end;
  end.status = 1;
  end.troubles.addLine("[mov @ 0x55] Cannot do this");
  end.troubles.addLine("[AVIOContext @ 0x55] Statistics: 199157 bytes read, 0 seeks");
  EXPECT_EQ(failureReason(end, "/a.mts"), localisationString("why_toolSays", "", "Cannot do this"));
  end.status = 139;  // of a shell between us and the tool
  EXPECT_EQ(failureReason(end, "/a.mts"),
            localisationString("why_crashed", "", "ffmpeg", "11", "Segmentation fault"));
  end.troubles.addLine("av_interleaved_write_frame(): No space left on device");
  EXPECT_EQ(failureReason(end, "/a.mts"), localisationString("why_diskFull"));
  end.signal = 11;
  EXPECT_EQ(failureReason(end, "/a.mts"),
            localisationString("why_crashed", "", "ffmpeg", "11", "Segmentation fault"));
}

TEST(FailureReason, NamesThePartThatCannotBeRead) {
  const test::TestBundle bundle;
  const auto reasonOf = [](const std::string& line) {
    ToolEnd end;
    end.status = 1;
    end.troubles = RunTroubles("/card/1.MP4", "/x.mov");
    end.troubles.addLine(line);
    end.troubles.addLine("pipe:0: Invalid data found when processing input");
    return failureReason(end, "/card/1.MP4");
  };
  EXPECT_EQ(reasonOf("joinclips: /card/2.MP4: it has no index"), "2.MP4: it has no index");
  EXPECT_EQ(reasonOf("movtool: joinclips: /card/1.MP4: they are not parts of one recording"),
            "1.MP4: they are not parts of one recording");
  EXPECT_EQ(reasonOf("joinclips: /card/2.MP4: Permission denied"),
            "2.MP4: " + localisationString("why_permission"));
  EXPECT_EQ(reasonOf("joinclips: /card/1.MP4: Permission denied"),
            localisationString("why_permission"));
}

TEST(Proxies, AreLeftOutWhereTheirRecordingIsThere) {
  const std::vector<std::string> recordings = {"/c/Clip/C0001.MXF",
                                               "/c/M4ROOT/CLIP/C0001.MP4",
                                               "/c/CONTENTS/VIDEO/0001AB.MXF",
                                               "/c/Sub/C0002S01.MXF",
                                               "/c/Sub/Clip one.MXF",
                                               "/c/XFVC/REEL_1/A_CANON.MP4",
                                               "/c/CLIPS001/AA000101.MXF",
                                               "/c/XFVC/REEL_1/B_CANON_Proxy.MP4"};
  std::vector<std::string> files = recordings;
  for (const char* copy : {"/c/Sub/C0001S01.MXF", "/c/M4ROOT/SUB/C0001S03.MP4",
                           "/c/CONTENTS/PROXY/0001ab.MP4", "/c/XFVC/REEL_1/A_CANON_Proxy.mp4"})
    files.insert(files.begin() + 2, copy);
  leaveOutProxies(files);
  EXPECT_EQ(files, recordings);
}

}  // namespace
}  // namespace tessarin
