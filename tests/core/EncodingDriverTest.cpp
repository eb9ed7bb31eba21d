#include <dlfcn.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <thread>

#include "CoreFixture.h"
#include "analysis/probes.h"
#include "core/EncodingDriver.h"
#include "core/rowEdits.h"
#include "encoding/arithmetic.h"
#include "encoding/naming.h"
#include "prefs/utilsAlert.h"
#include "support/LoopUntil.h"
#include "support/ScopedEnvironment.h"
#include "support/processState.h"

// While it hangs no disk tells how much room it has.
static std::atomic<bool> isDiskHanging = false;

extern "C" int statvfs(const char* path, struct statvfs* facts) noexcept {
  while (isDiskHanging)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  static auto* const ask = reinterpret_cast<int (*)(const char*, struct statvfs*)>(
      ::dlsym(RTLD_NEXT, sizeof(long) == 8 ? "statvfs" : "statvfs64"));
  return ask(path, facts);
}

namespace tessarin {
namespace {

using test::CoreFixture;

class EncodingDriverTest : public CoreFixture {
 protected:
  // Soon after the first thing that is done for a row is told.
  void onceItRuns(const std::function<void()>& act) {
    app.interface.encoding.action.changed.connect([this, act] {
      if (!app.interface.encoding.action.text().empty() && !std::exchange(hasBegun, true))
        loop.runSoon(act);
    });
  }
  bool hasBegun = false;
  // Analysed clips "1.mts", "2.mts" … of 0.4 s.
  void clips(int count) {
    std::vector<std::string> paths;
    for (int number = 1; number <= count; ++number) {
      paths.push_back(folder.file(std::to_string(number) + ".mts"));
      if (number == 1)
        ASSERT_TRUE(test::makeInterlacedClip(paths[0]));
      else
        std::filesystem::copy_file(paths[0], paths.back());
    }
    analyse(paths);
    ASSERT_EQ(app.table().count(), count);
  }

  void chooseAic(int row) {
    app.table().set(row, &Row::choice, {outAic, app.table().row(row).choice.sizeOut, speedKeep});
  }

  std::vector<JobEnd::Kind> kinds() const {
    std::vector<JobEnd::Kind> list;
    for (const JobEnd& end : ended)
      list.push_back(end.kind);
    return list;
  }

  // Resources with this shell script in the place of the export tool; "$7" is the movie.
  std::string resourcesWithExport(const std::string& script) const {
    namespace fs = std::filesystem;
    const std::string own = folder.file("resources");
    fs::create_directories(own + "/tools");
    for (const auto& entry : fs::directory_iterator(test::TestBundle::resourcePath()))
      if (entry.path().filename() != "tools")
        fs::create_symlink(entry.path(), own + "/" + entry.path().filename().string());
    for (const char* same : {"ffmpeg", "joinclips"})
      fs::create_symlink(test::TestBundle::resourcePath() + "/tools/" + same,
                         own + "/tools/" + same);
    const std::string tool = folder.write("resources/tools/movtool", "#!/bin/sh\n" + script);
    fs::permissions(tool, fs::perms::owner_all);
    return own;
  }

  using Kind = JobEnd::Kind;
};

TEST_F(EncodingDriverTest, ABatchConvertsEveryRow) {
  clips(2);
  std::vector<std::string> percents;
  app.interface.encoding.percent.changed.connect(
      [&] { percents.push_back(app.interface.encoding.percent.text()); });
  convert();
  EXPECT_EQ(kinds(), (std::vector<Kind>{Kind::converted, Kind::converted}));
  EXPECT_EQ(mark(0), RowMark::success);
  EXPECT_EQ(mark(1), RowMark::success);
  EXPECT_GT(poidsFile(movie("1.mov"), "k"), 10);
  const auto readMe = readFileStart(movie("2.txt"), 1000);
  ASSERT_TRUE(readMe);
  EXPECT_TRUE(
      readMe->starts_with("format              : Final Cut Pro\nmovie               : ProRes "))
      << *readMe;
  EXPECT_NE(readMe->find("\n   Total speed      : real time / "), std::string::npos) << *readMe;
  EXPECT_EQ(app.interface.batchGoBt.state(), 0);
  EXPECT_EQ(preferences.prefRead("encCurrentProcessingFile"), nullptr);
  EXPECT_EQ(preferences.prefRead("processEncDico"), nullptr);
  EXPECT_EQ(revealed, std::vector<std::string>{folder.file("movies/Tessarin")});
  ASSERT_EQ(alerts.shown.size(), 1u);
  EXPECT_EQ(alerts.shown[0].message, localisationString("D_fin_GUI"));
}

TEST_F(EncodingDriverTest, ABatchLeavesFinishedRowsAndTheirMoviesAlone) {
  clips(2);
  // Of another card, so that its movie would have the name of the first one's.
  const std::string other = folder.file("card2/1.mts");
  std::filesystem::create_directory(folder.file("card2"));
  std::filesystem::copy_file(folder.file("1.mts"), other);
  analyse({other});
  app.table().mark(0, RowMark::success);
  app.table().set(0, &Row::movie, movie("1.mov"));
  folder.write("movies/Tessarin/1.mov", "finished");
  app.table().mark(1, RowMark::failure);
  alerts.answers = {{1, false}, {1, false}};  // replace, if anything is asked
  app.iba_batchGoBt();
  serve();
  EXPECT_EQ(kinds(), (std::vector<Kind>{Kind::converted, Kind::converted}));
  EXPECT_EQ(ended[0].output, movie("2.mov"));
  EXPECT_EQ(ended[1].output, movie("1-2.mov"));
  EXPECT_EQ(readFileStart(movie("1.mov"), 100), "finished");

  // Nothing left to do: the batch ends. Rows that the user names are converted again, and so are
  // those for which he chooses anew.
  ended.clear();
  app.iba_batchGoBt();
  serve();
  EXPECT_TRUE(ended.empty());
  EXPECT_FALSE(app.driver().isBatchRunning());
  alerts.answers = {{1, true}, {1, true}};
  app.driver().convertRows({2});
  serve();
  ASSERT_TRUE(chooseTarget(app.table(), 1, outAic));
  convert();
  ASSERT_EQ(ended.size(), 2u);
  EXPECT_EQ(ended[0].source, other);
  EXPECT_EQ(fileName(ended[1].source), "2.mts");
}

TEST_F(EncodingDriverTest, SeveralRowsAtATimeAreOneBatch) {
  clips(4);
  folder.write("movies/Tessarin/1.mov", "a movie of the user's");
  folder.write("movies/Tessarin/2.mov", "another");
  alerts.answers = {{replaceAnswer}};
  app.setJobs(3);
  std::size_t most = 0;
  double last = 0;
  app.driver().progressed.connect([&] {
    const BatchProgress progress = app.driver().progress();
    most = std::max(most, progress.inHand.size());
    EXPECT_EQ(progress.rows, 4);
    EXPECT_GE(progress.fraction, last);
    last = progress.fraction;
  });
  convert();
  EXPECT_EQ(most, 3u);
  EXPECT_EQ(last, 1);
  EXPECT_EQ(kinds(), std::vector<Kind>(4, Kind::converted));
  EXPECT_EQ(alerts.shown.size(), 2u) << "one question, and the end";
  for (const char* name : {"1.mov", "2.mov", "3.mov", "4.mov"})
    EXPECT_GT(poidsFile(movie(name), "k"), 10) << name;
  EXPECT_EQ(app.driver().progress().rows, 0);
}

TEST_F(EncodingDriverTest, PauseAndStopAreForAllJobs) {
  clips(3);
  app.setJobs(2);
  int begun = 0;
  app.driver().folderBegins.connect([&](const std::string&, const std::string&) {
    if (++begun < 2)
      return;
    loop.runAfter(std::chrono::milliseconds(100), [&] {
      app.interface.encoding.stopBt.select(pauseSegment);
      app.iba_taskStopBt();
      loop.runAfter(std::chrono::milliseconds(1500), [&] {
        EXPECT_TRUE(ended.empty()) << "it would have been over long ago";
        EXPECT_EQ(app.table().inProgressCount(), 2);
        app.table().encBatchRemoveAll(false);
        EXPECT_EQ(app.table().count(), 2);
        app.driver().stop();
      });
    });
  });
  convert();
  EXPECT_EQ(kinds(), (std::vector<Kind>{Kind::stopped, Kind::stopped}));
  EXPECT_EQ(std::filesystem::exists(movie("1.mov")), false);
  EXPECT_TRUE(std::filesystem::is_empty(folder.file("movies/Tessarin")));
}

TEST_F(EncodingDriverTest, ALinkIsReplacedAndNotWhatItPointsTo) {
  clips(1);
  folder.write("other.mov", "precious");
  std::filesystem::create_directories(folder.file("movies/Tessarin"));
  std::filesystem::create_symlink(folder.file("other.mov"), movie("1.mov"));
  std::filesystem::create_symlink(folder.file("victim.txt"), movie("1.txt"));
  alerts.answers = {{1, false}};  // replace
  convert();
  EXPECT_EQ(kinds(), std::vector<Kind>{Kind::converted});
  EXPECT_EQ(readFileStart(folder.file("other.mov"), 100), "precious");
  EXPECT_FALSE(pathExists(folder.file("victim.txt")));
  EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(movie("1.mov"))));
}

TEST_F(EncodingDriverTest, MoviesThatAreThereAreAskedAboutOnceBeforeAnythingIsMade) {
  clips(3);
  folder.write("movies/Tessarin/1.mov", std::string(20000, 'o'));
  folder.write("movies/Tessarin/2.mov", std::string(20000, 'o'));
  const auto question = [this] { return alerts.shown.at(0); };
  preferences.prefWrite(PrefKey::alertEnd, 0);
  std::size_t asked = 0;
  app.driver().jobStarted.connect(
      [&](const std::string&, const std::string&) { asked = alerts.shown.size(); });

  alerts.answers = {{stopBatchAnswer, false}};
  convert();
  EXPECT_TRUE(ended.empty());
  EXPECT_TRUE(app.driver().wasStopped());
  EXPECT_EQ(mark(0), RowMark::waiting);
  EXPECT_EQ(question().message,
            localisationString("D_clash", "", "2", folder.file("movies/Tessarin")));
  EXPECT_EQ(question().informative, "1.mov\n2.mov");

  // A row that was finished, and was to be converted again, still is.
  app.table().mark(2, RowMark::success);
  alerts.shown.clear();
  alerts.answers = {{stopBatchAnswer, false}};
  app.driver().convertRows({0, 2});
  serve();
  EXPECT_EQ(mark(2), RowMark::success);
  app.table().mark(2, RowMark::waiting);

  // What comes to a name later is no part of the answer.
  alerts.shown.clear();
  alerts.answers = {{replaceAnswer, false}, {keepAnswer, false}};
  app.driver().movieFinished.connect([this](const FinishedMovie&) {
    if (!pathExists(movie("3.mov")))
      folder.write("movies/Tessarin/3.mov", std::string(20000, 'o'));
  });
  convert();
  EXPECT_EQ(asked, 1u);
  EXPECT_EQ(kinds(), (std::vector<Kind>{Kind::converted, Kind::converted, Kind::kept}));
  ASSERT_EQ(alerts.shown.size(), 2u);
  EXPECT_EQ(alerts.shown[1].checkBox, localisationString("D_applyToAll"));
  EXPECT_EQ(summaryText(countRows(app.table())), "2 converted, 1 already there and kept");
  EXPECT_EQ(folder.read("movies/Tessarin/3.mov"), std::string(20000, 'o'));
}

TEST_F(EncodingDriverTest, AnAnswerThatComesTooLateTouchesNothing) {
  clips(2);
  alerts.holds = true;
  const auto stopSoon = [this] {
    loop.runAfter(std::chrono::milliseconds(50), [this] { app.driver().stop(); });
  };
  const auto answerLate = [this](const std::function<void(AlertAnswer)>& answer) {
    ASSERT_TRUE(answer);
    answer({replaceAnswer, false});
    test::loopFor(loop, std::chrono::milliseconds(50));
    EXPECT_EQ(readFileStart(movie("1.mov"), 100), "precious");
    EXPECT_EQ(ended.size(), 1u);
  };
  // Later than the start's look at the names.
  app.driver().jobStarted.connect([&](const std::string&, const std::string&) {
    if (!pathExists(movie("1.mov"))) {
      folder.write("movies/Tessarin/1.mov", "precious");
      stopSoon();
    }
  });
  convert();
  EXPECT_EQ(kinds(), std::vector<Kind>{Kind::stopped});
  const auto duringBatch = alerts.takeHeld();
  answerLate(duringBatch);
  stopSoon();
  convert();
  const auto atStart = alerts.takeHeld();
  answerLate(atStart);
  EXPECT_FALSE(app.driver().isBatchRunning());

  // The next batch has questions of its own.
  app.iba_batchGoBt();
  ASSERT_TRUE(test::loopUntil(loop, [this] { return alerts.hasHeld(); }));
  answerLate(duringBatch);
  answerLate(atStart);
  alerts.answers = {{keepAnswer, false}};
  alerts.answerHeld();
  serve();
  EXPECT_EQ(kinds(), (std::vector<Kind>{Kind::stopped, Kind::kept, Kind::converted}));
  EXPECT_EQ(readFileStart(movie("1.mov"), 100), "precious");
}

TEST_F(EncodingDriverTest, ADiskThatIsTooSmallIsToldBeforeAnythingIsMade) {
  clips(1);
  Row row = app.table().row(0);
  row.source.duration = 1e8;
  app.table().set(0, &Row::source, row.source);
  convert();
  ASSERT_EQ(kinds(), std::vector<Kind>{Kind::failed});
  EXPECT_TRUE(contains(ended[0].reason, "MB")) << ended[0].reason;
  ASSERT_FALSE(alerts.shown.empty());
  EXPECT_EQ(alerts.shown[0].message, localisationString("D_go_echec_disque1", "", "1.mts"));
  EXPECT_TRUE(filesBelow(folder.file("movies/Tessarin")).empty());

  // Enough for the copy, and too little for what is made of it.
  const std::string copied = folder.file("copied.mp4");
  ASSERT_TRUE(
      test::makeClip(test::progressivePicture("1280x720", "0.4", "25") + "-c:v mpeg4", copied));
  analyse({copied});
  chooseAic(1);
  row = app.table().row(1);
  const double free = freeDiskSpaceMo(folder.path());
  const float copy = encDstPoidsEstimatif(1, 0, outAic);
  row.source.duration = free / std::sqrt(copy * encDstPoidsEstimatif(1, 0, outNone));
  app.table().set(1, &Row::source, row.source);
  app.driver().convertRows({1});
  serve();
  ASSERT_EQ(kinds(), (std::vector<Kind>{Kind::failed, Kind::failed}));
  EXPECT_EQ(ended[1].reason, localisationString("why_noRoomForExport"));
}

// Between two tools, and between two clips: where there is no process to be stopped.
TEST_F(EncodingDriverTest, NothingIsBegunWhileAnAnalysisHoldsTheBatch) {
  clips(2);
  int begun = 0;
  int held = 0;
  const auto hold = [&] {
    app.driver().suspendForAnalysis();
    loop.runAfter(std::chrono::milliseconds(200), [&, before = begun] {
      held += !test::hasChildren() && begun == before ? 1 : 0;
      app.driver().resumeAfterAnalysis();
    });
  };
  app.driver().jobStarted.connect([&](const std::string&, const std::string&) {
    if (++begun == 1)
      hold();
  });
  app.driver().jobEnded.connect([&](const JobEnd&) {
    if (begun == 1)
      hold();
  });
  convert();
  EXPECT_EQ(held, 2);
  EXPECT_EQ(kinds(), (std::vector<Kind>{Kind::converted, Kind::converted}));
}

// What comes to the movie's name while it is made, and what then becomes of the movie.
TEST_F(EncodingDriverTest, AMovieNeverFollowsOrReplacesWhatCameToItsNameMeanwhile) {
  namespace fs = std::filesystem;
  clips(2);
  folder.write("movies/Tessarin/2.mov", "older");
  folder.write("precious.mov", "precious");
  chooseAic(0);
  std::string planned;
  std::vector<std::string> masters;
  app.driver().jobStarted.connect(
      [&](const std::string&, const std::string& output) { planned = output; });
  app.driver().folderBegins.connect([&](const std::string&, const std::string& own) {
    EXPECT_EQ(parentFolder(own), folder.file("movies/Tessarin"));
    fs::remove(planned);
    fs::create_symlink(folder.file("precious.mov"), planned);
    masters.push_back(masterPathStr(planned));
    std::ofstream(masters.back()) << "the user's";
  });
  app.driver().movieFinished.connect([this](const FinishedMovie& finished) {
    EXPECT_EQ(fs::status(parentFolder(finished.path)).permissions(), fs::perms::owner_all);
  });
  alerts.answers = {{1, false}};  // replace 2.mov
  convert();
  EXPECT_EQ(kinds(), (std::vector<Kind>{Kind::converted, Kind::converted}));
  EXPECT_EQ(folder.read("precious.mov"), "precious");
  const std::string first = ended[0].output;
  ASSERT_TRUE(endsWith(first, "-1-2.mov")) << first;
  EXPECT_TRUE(fs::is_symlink(fs::symlink_status(replaceAll(first, "-1-2.mov", "-1.mov"))))
      << "nobody asked to replace it";
  EXPECT_EQ(ended[1].output, movie("2.mov"));
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(movie("2.mov"))));
  EXPECT_EQ(fs::status(movie("2.mov")).permissions(), fs::status(movie("2.txt")).permissions());
  for (const std::string& master : masters)
    EXPECT_EQ(readFileStart(master, 100), "the user's");
  EXPECT_EQ(filesBelow(folder.file("movies/Tessarin")).size(), 7u)
      << "two movies with their texts, a link, and two that are called masters";
}

TEST_F(EncodingDriverTest, WhatIsThereIsOfOtherClipsWhereOnlyNewOnesAreTaken) {
  clips(1);
  folder.write("movies/Tessarin/1.mov", std::string(50000, 'x'));
  alerts.answers = {{keepAnswer}};
  convert();
  ASSERT_TRUE(app.table().row(0).isKept);
  app.takeOnlyNew(true);
  const auto again = [this] {
    preferences.prefWrite(StateKey::replaceFiles, answerReplace);
    app.driver().convertRows({0});
    serve();
    return fileName(ended.back().output);
  };
  EXPECT_EQ(again(), "1-2.mov") << "the one that was kept is not the row's";
  const auto first = fileState(movie("1-2.mov"));
  EXPECT_EQ(again(), "1-2.mov") << "its own is";
  EXPECT_NE(fileState(movie("1-2.mov")), first);
  // Another program comes first.
  std::filesystem::remove(movie("1-2.mov"));
  app.table().set(0, &Row::movie, std::string());
  app.driver().jobStarted.connect([this](const std::string&, const std::string&) {
    folder.write("movies/Tessarin/1-2.mov", "y");
  });
  EXPECT_EQ(again(), "1-2-2.mov");
  EXPECT_EQ(folder.read("movies/Tessarin/1-2.mov"), "y");
  EXPECT_EQ(folder.read("movies/Tessarin/1.mov"), std::string(50000, 'x'));
}

TEST_F(EncodingDriverTest, AnUnusableDestinationStopsBeforeAnythingIsDone) {
  clips(1);
  app.interface.destination.setText(folder.write("file", "in the way"));
  convert();
  EXPECT_TRUE(ended.empty());
  ASSERT_EQ(alerts.shown.size(), 1u);
  EXPECT_FALSE(app.driver().isBatchRunning());

  // Another user's folder, and one of the system's.
  const std::string foreign = folder.file("foreign");
  std::filesystem::create_directory(foreign);
  if (::chown(foreign.c_str(), 1, 1) != 0)
    return;  // only root can make one
  app.interface.destination.setText(foreign);
  convert();
  EXPECT_TRUE(ended.empty());
  ASSERT_EQ(alerts.shown.size(), 2u);
  EXPECT_EQ(alerts.shown[1].informative, localisationString("why_foreignFolder", "", foreign));
  EXPECT_TRUE(std::filesystem::is_empty(foreign));
  const test::ScopedEnvironment caller("SUDO_UID", "1");
  convert();
  EXPECT_EQ(kinds(), std::vector<Kind>{Kind::converted});
}

TEST_F(EncodingDriverTest, StopRemovesThePartialMovieAndEndsTheBatchWithoutAWord) {
  clips(2);
  folder.write("movies/Tessarin/1.mov", "precious");
  alerts.answers = {{1, false}};  // replace
  app.interface.encoding.action.changed.connect([this] {
    if (!app.interface.encoding.action.text().empty())
      loop.runSoon([this] {
        app.interface.encoding.stopBt.select(stopSegment);
        app.iba_taskStopBt();
      });
  });
  convert();
  EXPECT_EQ(kinds(), std::vector<Kind>{Kind::stopped});
  EXPECT_EQ(mark(0), RowMark::failure);
  EXPECT_EQ(mark(1), RowMark::waiting);
  EXPECT_EQ(readFileStart(movie("1.mov"), 100), "precious") << "there was nothing in its stead";
  EXPECT_EQ(filesBelow(folder.file("movies/Tessarin")), std::vector{movie("1.mov")});
  EXPECT_EQ(alerts.shown.size(), 1u) << "the question";
  EXPECT_TRUE(revealed.empty());
  EXPECT_EQ(preferences.prefRead("processEncDico"), nullptr);
}

TEST_F(EncodingDriverTest, AnExportThatIsStoppedOrFailsLeavesNothing) {
  // As the tool does on file systems where a file needs a name.
  const std::string begins = "touch \"$(dirname \"$7\")/.$(basename \"$7\").partial\"\n";
  for (const bool isStopped : {true, false}) {
    SCOPED_TRACE(isStopped);
    std::filesystem::remove_all(folder.file("resources"));
    const test::TestBundle own(
        resourcesWithExport(begins +
                            (isStopped ? "exec sleep 1000" : "echo movtool: Too bad >&2; exit 1")),
        "en");
    if (app.table().count() == 0)
      clips(1);
    chooseAic(0);
    const std::function<void()> stopOnceItWrites = [&] {
      for (const std::string& path : filesBelow(folder.file("movies/Tessarin")))
        if (endsWith(path, ".partial"))
          return app.driver().stop();
      loop.runAfter(std::chrono::milliseconds(10), stopOnceItWrites);
    };
    if (isStopped)
      stopOnceItWrites();
    ended.clear();
    convert();
    EXPECT_EQ(kinds(), std::vector<Kind>{isStopped ? Kind::stopped : Kind::failed});
    EXPECT_EQ(ended[0].reason, isStopped ? localisationString("D_action_stop") : "Too bad");
    if (!isStopped) {
      ASSERT_GE(alerts.shown.size(), 2u);  // the last tells of the end
      EXPECT_EQ(alerts.shown[alerts.shown.size() - 2].message,
                localisationString("D_go_echec_disque4", "", "1.mts"));
    }
    EXPECT_TRUE(filesBelow(folder.file("movies/Tessarin")).empty());
  }
}

TEST_F(EncodingDriverTest, ADropDuringTheBatchIsAnalysedFirst) {
  clips(1);
  const std::string late = folder.file("late.mts");
  std::filesystem::copy_file(folder.file("1.mts"), late);
  bool dropped = false;
  int endedAtRow = -1;
  app.table().rowAppended.connect([&](int) { endedAtRow = static_cast<int>(ended.size()); });
  // The fixture stops its loop at the end of the analysis; the batch goes on after it.
  onceItRuns([&] {
    dropped = true;
    app.draggedFiles({late});
  });
  convert();
  ASSERT_TRUE(dropped);
  serve();
  EXPECT_EQ(endedAtRow, 0) << "the running encoding was not held";
  EXPECT_EQ(kinds(), (std::vector<Kind>{Kind::converted, Kind::converted}));
}

TEST_F(EncodingDriverTest, ABatchGoesOnInTheOrderThatTheListHasNow) {
  clips(4);
  std::string begun;
  app.driver().jobStarted.connect([&](const std::string& source, const std::string&) {
    begun += withoutExtension(fileName(source));
    // What is in hand goes to the end, and what is wanted first to the front.
    if (begun == "1")
      app.table().arrange({3, 2, 1, 0});
    // What was changed behind its conversion waits for the next batch.
    if (begun == "143")
      app.table().mark(app.table().rowOfSource(folder.file("4.mts")), RowMark::waiting);
  });
  convert();
  EXPECT_EQ(begun, "1432");
  EXPECT_EQ(kinds(), std::vector<Kind>(4, Kind::converted));
  EXPECT_EQ(app.table().sourcePath(3), folder.file("1.mts"));
  EXPECT_EQ(mark(3), RowMark::success);
}

TEST_F(EncodingDriverTest, ABatchMayStartDuringAnAnalysis) {
  clips(1);
  std::filesystem::copy_file(folder.file("1.mts"), folder.file("2.mts"));
  app.draggedFiles({folder.file("2.mts")});
  EXPECT_TRUE(app.interface.batchGoBt.isEnabled());
  app.iba_batchGoBt();
  EXPECT_FALSE(app.interface.batchGoBt.isEnabled());
  serve();
  serve();  // the end of the batch and that of the analysis, whichever comes first
  EXPECT_EQ(mark(0), RowMark::success);
  EXPECT_EQ(app.table().count(), 2);
  EXPECT_TRUE(app.interface.batchGoBt.isEnabled());
}

TEST_F(EncodingDriverTest, APauseCannotBeEndedDuringAnAnalysis) {
  clips(1);
  bool paused = false;
  onceItRuns([&] {
    paused = true;
    auto& control = app.interface.encoding.stopBt;
    control.select(pauseSegment);
    app.iba_taskStopBt();
    app.driver().suspendForAnalysis();
    EXPECT_FALSE(control.isEnabled());
    app.driver().resumeAfterAnalysis();
    EXPECT_TRUE(control.isEnabled());
    EXPECT_FALSE(contains(control.segments()[pauseSegment].image, "btPause")) << "goes on";
    app.driver().stop();
  });
  convert();
  EXPECT_TRUE(paused);
  EXPECT_EQ(kinds(), std::vector<Kind>{Kind::stopped});
}

// Nothing is moved to the movie's name any more, and what was made goes once the disk answers.
TEST_F(EncodingDriverTest, AStopDoesNotWaitForADiskThatHangs) {
  clips(2);
  appDelegate front{{loop, preferences, alerts, {}, {}, "", true}};
  front.interface.destination.setText(folder.file("movies"));
  for (int row = 0; row < 2; ++row)
    front.table().append(app.table().row(row));
  front.driver().jobEnded.connect([this](const JobEnd& end) { ended.push_back(end); });
  front.driver().batchEnded.connect([this] { loop.stop(0); });
  front.driver().folderBegins.connect(
      [](const std::string&, const std::string&) { isDiskHanging = true; });
  const std::string waiting = localisationString("D_disk_waits", "", folder.file("1.mts"),
                                                 front.interface.destination.text());
  front.interface.encoding.action.changed.connect([&] {
    if (front.interface.encoding.action.text() == waiting)
      loop.runSoon([&] {
        EXPECT_FALSE(front.interface.encoding.stopBt.isHidden());
        front.driver().stop();
      });
  });
  front.iba_batchGoBt();
  serve();
  EXPECT_TRUE(isDiskHanging.exchange(false));
  ASSERT_EQ(kinds(), std::vector<Kind>{Kind::stopped});
  EXPECT_EQ(front.table().row(0).reason,
            localisationString("D_stop_waits", "", front.interface.destination.text()));
  EXPECT_EQ(front.table().row(1).mark, RowMark::waiting);
  EXPECT_TRUE(test::loopUntil(
      loop, [this] { return std::filesystem::is_empty(folder.file("movies/Tessarin")); }));
}

TEST_F(EncodingDriverTest, PicturesDecideWhereTheStreamLiesAboutItsFields) {
  const std::string liar = folder.file("liar.mts");
  // Without "-top 1" ffmpeg 5.1 marks these top-first fields as bottom first.
  ASSERT_TRUE(test::makeClip(test::interlacedPicture("720x576", "0.4") +
                                 "-c:v mpeg2video -flags +ildct+ilme -q:v 2 -f mpegts",
                             liar));
  analyse({liar});
  ASSERT_EQ(app.table().count(), 1);
  EXPECT_EQ(app.table().source(0).pictures.fields, Fields::topFirst);
  convert();
  ASSERT_EQ(kinds(), std::vector<Kind>{Kind::converted});
  const auto counts = idetCounts(test::idetReport(movie("liar.mov")));
  ASSERT_TRUE(counts);
  EXPECT_GE(counts->top, 9);
  EXPECT_EQ(counts->bottom, 0);
}

}  // namespace
}  // namespace tessarin
