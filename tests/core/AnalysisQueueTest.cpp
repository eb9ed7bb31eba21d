#include <gmock/gmock.h>

#include <filesystem>

#include "CoreFixture.h"
#include "core/AnalysisQueue.h"
#include "jobs/admittedSources.h"
#include "jobs/jobPlan.h"
#include "jobs/newRow.h"
#include "prefs/utilsAlert.h"
#include "support/ScopedEnvironment.h"
#include "support/shell.h"

namespace tessarin {
namespace {

using test::CoreFixture;

class AnalysisQueueTest : public CoreFixture {};

TEST_F(AnalysisQueueTest, MakesARowOfEverySourceAndTellsOfTheOthers) {
  const std::string good = folder.file("good.mts");
  ASSERT_TRUE(test::makeInterlacedClip(good));
  const std::string bad = folder.write("bad.mts", std::string(5000, 'x'));
  const std::string gone = folder.file("gone.mts");
  analyse({bad, good, gone});

  ASSERT_EQ(app.table().count(), 1);
  EXPECT_EQ(app.table().sourcePath(0), good);
  const Source& source = app.table().source(0);
  EXPECT_EQ(source.pictures.width, 720);
  EXPECT_EQ(source.pictures.rate, 50);
  EXPECT_EQ(source.pictures.fields, Fields::topFirst);
  EXPECT_TRUE(pathExists(source.thumbnail));
  ASSERT_EQ(refused.size(), 2u);
  EXPECT_EQ(refused[0], std::make_pair(bad, localisationString("why_noMovie")));
  EXPECT_EQ(refused[1], std::make_pair(gone, localisationString("why_missing")));
  // Idle again, with nothing left behind.
  EXPECT_TRUE(app.queue().isOpenPermitted());
  EXPECT_FALSE(app.interface.analysisPanel.isShown());
  EXPECT_TRUE(app.interface.batchGoBt.isEnabled());
  for (const char* key : {"analysisSrcPathesDico", "analysisSrcPathStr", "analysisSrcCurrentDico",
                          "analysisDeb", "imgPathStr"})
    EXPECT_EQ(preferences.prefRead(key), nullptr) << key;
}

// Its thumbnail shows the first picture, which the run that described it has decoded.
TEST_F(AnalysisQueueTest, AShortClipIsNotOpenedForItsThumbnail) {
  const std::string clip = folder.file("clip.mts");
  ASSERT_TRUE(test::makeInterlacedClip(clip));
  const std::string runs = folder.file("runs");
  const std::string tool = folder.write(
      "ffmpeg", "#!/bin/sh\necho \"$*\" >> " + test::quoted(runs) + "\nexec ffmpeg \"$@\"\n");
  std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
  {
    const test::ScopedEnvironment ours("TESSARIN_FFMPEG", tool);
    analyse({clip});
  }
  ASSERT_EQ(app.table().count(), 1);
  EXPECT_EQ(folder.read("runs").find("scale=160"), std::string::npos) << folder.read("runs");

  // As ffmpeg would make it, but for the noise of two encoders.
  const Source& source = app.table().source(0);
  const std::string direct = folder.file("direct.jpg");
  EXPECT_EQ(test::runShell(test::quoted(thumbnailCommand(source, direct, true))).status, 0);
  const std::string compared =
      test::runShell("ffmpeg -nostdin -hide_banner -i " + test::quoted(source.thumbnail) + " -i " +
                     test::quoted(direct) +
                     " -lavfi '[0]format=yuv444p[a];[1]format=yuv444p[b];[a][b]psnr' -f null - "
                     "2>&1 | sed -n 's/.*average:\\([0-9]*\\).*/\\1/p'")
          .output;
  ASSERT_FALSE(compared.empty());
  EXPECT_GE(std::stoi(compared), 25) << compared;
}

// Trimmed clips begin inside a group of pictures: up to the first key frame ffmpeg has copies of
// one picture, which show nothing of the fields.
TEST_F(AnalysisQueueTest, TheFieldsOfATrimmedClipAreSeenFurtherIn) {
  const std::string whole = folder.file("whole.mts");
  // Top field first, and the stream says bottom field first.
  ASSERT_TRUE(test::makeClip(test::interlacedPicture("720x576", "4") +
                                 "-c:v libx264 -preset ultrafast -flags +ildct+ilme -g 25 "
                                 "-mpegts_m2ts_mode 1 -f mpegts",
                             whole));
  const std::string bytes = folder.read("whole.mts");
  std::vector<std::string> paths = {whole};
  for (const std::size_t percent : {35U, 50U, 60U})
    paths.push_back(folder.write(std::to_string(percent) + ".mts",
                                 bytes.substr(bytes.size() * percent / 100 / 192 * 192)));
  analyse(paths);
  ASSERT_EQ(app.table().count(), 4);
  for (int row = 0; row < app.table().count(); ++row) {
    EXPECT_EQ(app.table().source(row).pictures.fields, Fields::topFirst) << row;
    EXPECT_EQ(app.table().source(row).pictures.claim, Fields::bottomFirst) << row;
  }
}

// Words that tell of failures elsewhere, and streams that nobody needs.
TEST_F(AnalysisQueueTest, AClipsOwnWordsAndAttachmentsRefuseNothing) {
  const std::string picture = test::progressivePicture("320x240", "0.4");
  const std::string note = folder.write("note.txt", "no movie");
  const std::string titled = folder.file("titled.mov");
  const std::string attached = folder.file("attached.mkv");
  ASSERT_TRUE(test::makeClip(picture + "-metadata title='Trial and error 2020' "
                                       "-metadata comment='Unknown format'",
                             titled));
  ASSERT_TRUE(test::makeClip(
      picture + "-attach " + test::quoted(note) + " -metadata:s:t mimetype=text/plain", attached));
  analyse({titled, attached});
  EXPECT_TRUE(refused.empty()) << refused.front().second;
  EXPECT_EQ(app.table().count(), 2);
}

TEST_F(AnalysisQueueTest, AFolderCountsAloneAndDuplicatesOnce) {
  const std::string inside = folder.file("card/STREAM/00001.MTS");
  folder.write("card/STREAM/note.txt", "no movie");
  ASSERT_TRUE(test::makeInterlacedClip(inside));
  const std::string beside = folder.file("beside.mts");
  std::filesystem::copy_file(inside, beside);
  analyse({folder.file("card"), beside});
  ASSERT_EQ(app.table().count(), 1);
  EXPECT_EQ(app.table().sourcePath(0), inside);

  // A folder that is searched holds no movies of earlier runs, however its path is written.
  const std::string movie = folder.file("out/Tessarin/card.mts");
  ASSERT_TRUE(mkdir(folder.file("out/Tessarin")));
  std::filesystem::copy_file(inside, movie);
  std::filesystem::create_directory_symlink(folder.file("out"), folder.file("movies"));
  app.interface.destination.setText(folder.file("movies/"));
  EXPECT_THAT(sourcesBelow(folder.path(), outputFolder(app.interface.destination.text())),
              testing::Not(testing::Contains(movie)));
  EXPECT_THAT(sourcesBelow(folder.file("out/Tessarin"), folder.file("out/Tessarin")),
              testing::ElementsAre(movie));

  // Known already: nothing to do, and nothing to complain about.
  analyse({inside});
  EXPECT_EQ(app.table().count(), 1);
  EXPECT_TRUE(log.mentions("doublon             : pas de sur-analyse pour rien ;-) #1/1"));
  EXPECT_TRUE(alerts.shown.empty());

  analyse({folder.file("card/STREAM/note.txt")});
  ASSERT_EQ(alerts.shown.size(), 1u);
  EXPECT_EQ(alerts.shown[0].informative, localisationString("D_go_source3"));
}

TEST_F(AnalysisQueueTest, ADroppedLinkIsFollowedAndANamedOneKeepsItsName) {
  ASSERT_TRUE(test::makeInterlacedClip(folder.file("00001.MTS")));
  std::filesystem::create_symlink(folder.file("00001.MTS"), folder.file("Wedding.mts"));
  analyse({folder.file("Wedding.mts")});
  app.queue().takeSources({folder.file("Wedding.mts")});
  serve();
  ASSERT_EQ(app.table().count(), 2);
  EXPECT_EQ(app.table().sourcePath(0), folder.file("00001.MTS"));
  EXPECT_EQ(app.table().sourcePath(1), folder.file("Wedding.mts"));
}

TEST_F(AnalysisQueueTest, StopGivesUpTheRest) {
  std::vector<std::string> paths;
  for (const char* name : {"1.mts", "2.mts", "3.mts"})
    paths.push_back(folder.file(name));
  ASSERT_TRUE(test::makeInterlacedClip(paths[0]));
  for (const std::size_t copy : {1u, 2u})
    std::filesystem::copy_file(paths[0], paths[copy]);
  app.draggedFiles(paths);
  EXPECT_FALSE(app.queue().isOpenPermitted());
  EXPECT_TRUE(app.interface.analysisWheelProgInd.isTurning());
  app.iba_analysisStopBt();
  serve();
  EXPECT_EQ(app.table().count(), 0);
  EXPECT_TRUE(log.has("analysis stop       : final end"));
  analyse({paths[1]});
  EXPECT_EQ(app.table().count(), 1);
}

TEST_F(AnalysisQueueTest, SeveralAtATimeComeInTheirOrder) {
  app.setJobs(3);
  std::vector<std::string> paths;
  std::vector<std::string> told;
  app.queue().rowReady.connect([&](int row) { told.push_back(app.table().sourcePath(row)); });
  app.queue().refused.connect(
      [&](const std::string& path, const std::string&) { told.push_back(path); });
  for (const char* card : {"a", "b", "c", "d"}) {
    std::filesystem::create_directory(folder.file(card));
    paths.push_back(folder.file(std::string(card) + "/00000.mts"));
  }
  ASSERT_TRUE(test::makeInterlacedClip(paths[0]));
  std::filesystem::copy_file(paths[0], paths[2]);
  std::filesystem::copy_file(paths[0], paths[3]);
  folder.write("b/00000.mts", "no movie");  // is over long before the first
  analyse(paths);
  EXPECT_EQ(told, paths);
  ASSERT_EQ(app.table().count(), 3);
  std::set<std::string> thumbnails;
  for (int row = 0; row < 3; ++row) {
    thumbnails.insert(app.table().row(row).thumbnail());
    EXPECT_TRUE(pathExists(app.table().row(row).thumbnail()));
    EXPECT_EQ(app.table().source(row).pictures.fields, Fields::topFirst);
  }
  EXPECT_EQ(thumbnails.size(), 3u);
}

TEST_F(AnalysisQueueTest, FilesHandedOverDuringAnAnalysisWaitForItsEnd) {
  app.draggedFiles({folder.write("1.mts", "no movie")});
  app.applicationOpenFiles({folder.write("2.mts", "no movie")});
  app.applicationOpenFiles({folder.write("3.mts", "no movie")});
  folder.write("card/5.mts", "no movie");
  app.applicationOpenFiles({folder.file("card")});
  app.applicationOpenFiles({folder.write("6.mts", "no movie")});  // not beside the folder
  app.draggedFiles({folder.write("4.mts", "no movie")});          // refused
  for (int set = 0; set < 4; ++set)
    serve();
  ASSERT_EQ(refused.size(), 5u);
  EXPECT_EQ(refused[2].first, folder.file("3.mts"));
  EXPECT_EQ(refused[4].first, folder.file("6.mts"));
}

TEST_F(AnalysisQueueTest, FoldersTakenTogetherAreOneSet) {
  folder.write("eins/1.mts", "no movie");
  folder.write("zwei/2.mts", "no movie");
  const std::vector<std::string> cards{folder.file("eins"), folder.file("zwei"),
                                       folder.file("zwei/2.mts")};
  for (int time = 0; time < 2; ++time)
    app.takeTogether(cards);  // the second time behind the analysis
  for (int set = 0; set < 2; ++set)
    serve();
  ASSERT_EQ(refused.size(), 4u);
  EXPECT_EQ(refused[0].first, folder.file("eins/1.mts"));
  EXPECT_EQ(refused[1].first, folder.file("zwei/2.mts"));
}

TEST_F(AnalysisQueueTest, TheCaptionCountsAsItAlwaysDid) {
  std::vector<std::string> paths;
  for (const char* name : {"1.mts", "2.mts", "3.mts"})
    paths.push_back(folder.write(name, "no movie"));
  std::vector<std::string> captions;
  app.interface.analysisCaptionStr.changed.connect([&] {
    const std::string& text = app.interface.analysisCaptionStr.text();
    if (captions.empty() || captions.back() != text)
      captions.push_back(text);
  });
  analyse(paths);
  EXPECT_EQ(captions, (std::vector<std::string>{"0/2", "1/2", ""}));
}

TEST_F(AnalysisQueueTest, AFormatThatFfmpegCannotTellIsNamedToIt) {
  const std::string whole = folder.file("whole.mpg");
  ASSERT_TRUE(
      test::makeClip(test::progressivePicture("352x288", "0.4") + "-c:v mpeg2video -f vob", whole));
  // More than ffmpeg looks at is in front of the pictures; file(1) tells by the first bytes.
  const std::string bytes = readWholeFile(whole).value();
  const std::string clip =
      folder.write("late.mpg", bytes.substr(0, 14) + std::string(6000000, '\0') + bytes);
  const std::string text = folder.write("text.mpg", "Dear diary");
  analyse({clip, text});
  ASSERT_EQ(app.table().count(), 1);
  EXPECT_EQ(app.table().source(0).toldFormat, "mpeg");
  EXPECT_EQ(app.table().source(0).pictures.width, 352);
  ASSERT_EQ(refused.size(), 1u);
  EXPECT_EQ(refused[0].first, text);
  EXPECT_EQ(preferences.prefRead("ffFileForceFormatStr"), nullptr);
  convert();
  ASSERT_EQ(ended.size(), 1u);
  EXPECT_EQ(ended[0].kind, JobEnd::Kind::converted) << ended[0].reason;
}

}  // namespace
}  // namespace tessarin
